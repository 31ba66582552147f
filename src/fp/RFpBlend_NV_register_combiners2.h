// The blend node on NVIDIA's register combiners; switched off when the module is built.
#pragma once

#include <optional>

#include "fp/RFpBlend_default.h"
#include "fp/RFpCombinerSetup.h"
#include "fp/RFpDisplayLists.h"

/// A variant that keeps its combiners in a display list. The set-up carries the constant colour and hands the
/// texture through; there is none when the hardware has fewer than 8 general combiners, and `Bind` then
/// fails. Needs the extension in the context that is current when it is made.
class RIMAGE_API RFpBlend_NV_register_combiners2 : public RFpBlend_default {
 public:
  RFpBlend_NV_register_combiners2();
  ~RFpBlend_NV_register_combiners2() override;

  int GetRequirementFlags(int stage) const override;
  int Bind(RFpContext* context, int stage, int form) override;
  void Draw(RFpContext* context, int stage, int form, int width, int height) override;
  void Unbind(RFpContext* context, int stage, int form) override;

 private:
  bool Rebuild();

  RFpCombinerFunctions mFunctions;
  std::optional<RFpCombinerSetup> mSetup;
  RFpDisplayLists mList;
  unsigned mListCount = 0xFFFFFFFF;  // the change count that the list was built for
};
