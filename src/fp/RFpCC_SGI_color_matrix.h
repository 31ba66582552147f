// The colour-correction node on OpenGL's colour matrix.
#pragma once

#include "fp/RFpCC_default.h"

/// A variant that lets pixel transfers multiply colours, as long as one matrix suffices; zones are left to
/// the processor.
class RIMAGE_API RFpCC_SGI_color_matrix : public RFpCC_default {
 public:
  int GetRequirementFlags(int stage) const override;
  int Bind(RFpContext* context, int stage, int form) override;
  void Draw(RFpContext* context, int stage, int form, int width, int height) override;
  void Unbind(RFpContext* context, int stage, int form) override;
};
