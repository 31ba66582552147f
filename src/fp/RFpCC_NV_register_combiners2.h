// The colour-correction node on NVIDIA's register combiners.
#pragma once

#include <array>

#include "fp/RFpCC_default.h"
#include "fp/RFpCombinerSetup.h"
#include "fp/RFpDisplayLists.h"

/// A variant that keeps its combiners in display lists. One matrix takes one draw. Three zones take three
/// stages, whose results add up in the target. Needs the extension in the context that is current when it is
/// made; with fewer than 8 general combiners `Bind` fails.
class RIMAGE_API RFpCC_NV_register_combiners2 : public RFpCC_default {
 public:
  RFpCC_NV_register_combiners2();
  ~RFpCC_NV_register_combiners2() override;

  int GetStageCount() const override;
  int GetRequirementFlags(int stage) const override;
  int Bind(RFpContext* context, int stage, int form) override;
  void Draw(RFpContext* context, int stage, int form, int width, int height) override;
  void Unbind(RFpContext* context, int stage, int form) override;

 private:
  void Rebuild();
  void Compile(int list, const RFpCombinerSetup& setup) const;

  RFpCombinerFunctions mFunctions;
  bool mUsable = false;
  RFpDisplayLists mLists;
  std::array<RFpCombinerSetup, 4> mSetups;  // of the one matrix, and of the zones
  std::array<float, 3> mScales{1, 1, 1};    // that the zones' results are to be multiplied by
  unsigned mListCount = 0xFFFFFFFF;         // the change count that the lists were built for
};
