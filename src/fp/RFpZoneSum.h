// Adding up the zones of a colour correction in the target.
#pragma once

#include <array>

/// Adds the results of three zones, numbers of -1..1 that are to be multiplied by a scale each, in a target
/// of floats, drawn by hardware whose output is 0..1: what is drawn is (result + 1) / 2. The target starts at
/// minus the sum of the scales, which is what the ones add up to. The alpha of the first zone stays.
///
/// Needs blend and clear colours beyond 0..1, which every driver has that draws into floats. What is drawn is
/// clamped to 0..1 before it is blended: register combiners keep to their narrow ranges only where colours
/// are clamped, which is not so by itself where the target is of floats.
class RFpZoneSum {
 public:
  /// Prepares for drawing zone `stage`; zone 0 clears the target.
  RFpZoneSum(int stage, const std::array<float, 3>& scales);
  /// Switches the blending off, and the clamping for targets of floats.
  ~RFpZoneSum();
  RFpZoneSum(const RFpZoneSum&) = delete;
  RFpZoneSum& operator=(const RFpZoneSum&) = delete;
};
