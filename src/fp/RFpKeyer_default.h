// The keyer node on the processor.
#pragma once

#include "fp/RFpKeyer.h"
#include "fp/RFpKeyerParameters.h"

/// Keeps the parameters, derives what programs compute with, and keys pixel memory: the result is RGBA, made
/// from any layout of pixels. What the masks cover, and in difference keying what only one of the two images
/// covers, becomes transparent black.
class RIMAGE_API RFpKeyer_default : public RFpKeyer {
 public:
  unsigned GetChangeCount() const override;
  int GetInputCount() const override;
  int GetStageCount() const override;
  int GetRequirementFlags(int stage) const override;
  int GetInputRequirement(int stage) const override;
  int GetNextIndex(int stage, int index) const override;
  int Bind(RFpContext* context, int stage, int form) override;
  /// An image without memory counts as empty when pixel memory is keyed.
  void Draw(RFpContext* context, int stage, int form, int width, int height) override;
  void Unbind(RFpContext* context, int stage, int form) override;

  int SetMode(int mode) override;
  int GetMode() const override;
  int SetOutput(int output) override;
  int GetOutput() const override;
  bool SetInvertMatte(bool invertMatte) override;
  bool GetInvertMatte() const override;
  float SetKey(int component, float value) override;
  float GetKey(int component) const override;
  float SetThreshold(float threshold) override;
  float GetThreshold() const override;
  float SetSoftness(float softness) override;
  float GetSoftness() const override;
  float SetSuppression(float suppression) override;
  float GetSuppression() const override;
  float SetMask(int edge, float fraction) override;
  float GetMask(int edge) const override;

 protected:
  /// Brings the parameters up to date when a setting has changed since the last time.
  void Derive();
  ///@{
  /// Returns what the node holds, and what was derived from it last; borrowed.
  const RFpKeyerSettings& GetSettings() const { return mSettings; }
  const RFpKeyerParameters& GetParameters() const { return mParameters; }
  ///@}

 private:
  void DrawMemory(const RFpContext& context, int width, int height) const;
  void DrawOpenGL(const RFpContext* context, int form, int width, int height) const;

  RFpKeyerParameters mParameters{};
  RFpKeyerSettings mSettings;
  unsigned mChangeCount = 0;
  unsigned mBuiltCount = 0xFFFFFFFF;
};
