// The colour-correction node on NVIDIA's fragment programs.
#pragma once

#include <memory>

#include "fp/RFpCC_default.h"
#include "rgl/QOpenGLExtension_NV_fragment_program.h"
#include "rgl/QOpenGLExtension_NV_vertex_program.h"

class RFpNVPrograms;

/// A variant with two programs, one for one matrix and one for three zones. Needs the extension in the
/// context that is current when it is made; `Bind` fails without its functions.
class RIMAGE_API RFpCC_NV_fragment_program : public RFpCC_default,
                                             public QOpenGLExtension_NV_vertex_program,
                                             public QOpenGLExtension_NV_fragment_program {
 public:
  RFpCC_NV_fragment_program();
  ~RFpCC_NV_fragment_program() override;

  int GetRequirementFlags(int stage) const override;
  int Bind(RFpContext* context, int stage, int form) override;
  void Unbind(RFpContext* context, int stage, int form) override;

 private:
  void SendMatrix(unsigned program, const char* const* names, const RFpColorMatrix& matrix) const;
  void SendOneMatrix(unsigned program) const;
  void SendZones(unsigned program) const;

  std::unique_ptr<RFpNVPrograms> mPrograms;
};
