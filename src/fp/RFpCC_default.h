// The colour-correction node on the processor.
#pragma once

#include <array>

#include "fp/RFpCC.h"
#include "fp/RFpColorMatrix.h"

/// Keeps the parameters, composes the matrices, and corrects pixel memory: the result is RGBA, made from any
/// layout of pixels.
class RIMAGE_API RFpCC_default : public RFpCC {
 public:
  unsigned GetChangeCount() const override;
  int GetInputCount() const override;
  int GetStageCount() const override;
  int GetRequirementFlags(int stage) const override;
  int GetInputRequirement(int stage) const override;
  int GetNextIndex(int stage, int index) const override;
  /// Fails when pixel memory is to be corrected and one of the two images has none.
  int Bind(RFpContext* context, int stage, int form) override;
  void Draw(RFpContext* context, int stage, int form, int width, int height) override;
  void Unbind(RFpContext* context, int stage, int form) override;

  bool SetTransparency(bool transparency) override;
  bool GetTransparency() const override;
  bool SetNegative(bool negative) override;
  bool GetNegative() const override;
  float SetBlack(int component, float value) override;
  float GetBlack(int component) const override;
  float SetWhite(int component, float value) override;
  float GetWhite(int component) const override;
  bool SetColorPoints(bool colorPoints) override;
  bool GetColorPoints() const override;
  float SetMidPoint(float midPoint) override;
  float GetMidPoint() const override;
  float SetGamma(float gamma) override;
  float GetGamma() const override;
  float SetZoneHue(int zone, float degrees) override;
  float GetZoneHue(int zone) const override;
  float SetZoneOffset(int zone, int component, float value) override;
  float GetZoneOffset(int zone, int component) const override;
  float SetZoneGain(int zone, int component, float value) override;
  float GetZoneGain(int zone, int component) const override;
  float SetZoneSaturation(int zone, float saturation) override;
  float GetZoneSaturation(int zone) const override;

  /// Returns how many settings of the zones 1 to 3 are away from neutral, and one more for the gamma.
  int GetZoneCount() const { return mZoneCount; }

 protected:
  /// Brings the matrices up to date when a parameter has changed since the last time.
  void Derive();
  /// Whether three matrices are needed instead of one.
  bool UsesZones() const { return mZoneCount != 0; }
  ///@{
  /// Returns what was derived last, borrowed: the one matrix, a zone's (0 shadows, 1 midtones, 2 highlights),
  /// and the settings.
  const RFpColorMatrix& GetMatrix() const { return mMatrix; }
  const RFpColorMatrix& GetZoneMatrix(int zone) const {
    return mZoneMatrices[static_cast<std::size_t>(zone)];
  }
  const RFpColorSettings& GetSettings() const { return mSettings; }
  ///@}
  /// Returns the least alpha of the result: 1 when transparency is off.
  float GetAlphaFloor() const { return mSettings.transparency ? 0.0F : 1.0F; }

 private:
  float AssignZoneValue(int zone, float& held, float value, float neutral);
  void DrawMemory(const RFpContext& context, int width, int height) const;

  RFpColorMatrix mMatrix{};
  std::array<RFpColorMatrix, 3> mZoneMatrices{};
  RFpColorSettings mSettings;
  int mZoneCount = 0;
  unsigned mChangeCount = 0;
  unsigned mBuiltCount = 0xFFFFFFFF;
};
