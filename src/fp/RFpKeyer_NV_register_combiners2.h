// The keyer node on NVIDIA's register combiners.
#pragma once

#include "fp/RFpCombinerSetup.h"
#include "fp/RFpKeyer_default.h"

/// A variant that computes the formulas within the combiners' range of -1..1, in at most eight stages. Needs
/// the extension in the context that is current when it is made; with fewer than 8 general combiners `Bind`
/// fails.
class RIMAGE_API RFpKeyer_NV_register_combiners2 : public RFpKeyer_default {
 public:
  RFpKeyer_NV_register_combiners2();
  ~RFpKeyer_NV_register_combiners2() override;

  int GetRequirementFlags(int stage) const override;
  int Bind(RFpContext* context, int stage, int form) override;
  void Unbind(RFpContext* context, int stage, int form) override;

 private:
  RFpCombinerFunctions mFunctions;
  bool mUsable = false;
  RFpCombinerSetup mSetup;
  unsigned mSetupCount = 0xFFFFFFFF;  // the change count that the set-up was made for
};
