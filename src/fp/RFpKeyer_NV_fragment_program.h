// The keyer node on NVIDIA's fragment programs.
#pragma once

#include <memory>

#include "fp/RFpKeyer_default.h"
#include "rgl/QOpenGLExtension_NV_fragment_program.h"
#include "rgl/QOpenGLExtension_NV_vertex_program.h"

class RFpNVPrograms;

/// A variant with twelve programs, one for every mode, output and inversion. Needs the extension in the
/// context that is current when it is made; `Bind` fails without its functions.
class RIMAGE_API RFpKeyer_NV_fragment_program : public RFpKeyer_default,
                                                public QOpenGLExtension_NV_vertex_program,
                                                public QOpenGLExtension_NV_fragment_program {
 public:
  RFpKeyer_NV_fragment_program();
  ~RFpKeyer_NV_fragment_program() override;

  int GetRequirementFlags(int stage) const override;
  int Bind(RFpContext* context, int stage, int form) override;
  void Unbind(RFpContext* context, int stage, int form) override;

 private:
  std::unique_ptr<RFpNVPrograms> mPrograms;
};
