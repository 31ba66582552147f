// The colour matrices of the colour correction.
#pragma once

#include <array>

/// The weights of red, green and blue in the luminance.
inline constexpr std::array<double, 3> kFpLuminance = {0.3086, 0.6094, 0.0820};

/// Column k holds what input channel k (red, green, blue, alpha) contributes to each output channel. An
/// offset is a contribution of alpha, which is 1 in an opaque image.
struct RFpColorMatrix {
  std::array<std::array<float, 4>, 4> columns;  ///< by input channel, then output channel

  /// Whether all coefficients are equal.
  friend bool operator==(const RFpColorMatrix&, const RFpColorMatrix&) = default;
};

/// A colour matrix while it is composed, in double precision. It starts as the identity, and every call is
/// applied after what is there. Alpha is never touched.
class RFpColorTransform {
 public:
  ///@{
  /// Multiplies the colours, or adds shares of alpha to them.
  RFpColorTransform& Scale(double red, double green, double blue);
  RFpColorTransform& Offset(double red, double green, double blue);
  ///@}
  /// Moves the colours towards their luminance (0), or away from it (above 1).
  RFpColorTransform& Saturate(double saturation);
  /// Turns the colours about the grey axis, keeping their luminance.
  RFpColorTransform& RotateHue(double degrees);
  /// Applies another transform.
  RFpColorTransform& Apply(const RFpColorTransform& next);

  /// Returns the matrix in single precision.
  RFpColorMatrix Round() const;

 private:
  std::array<std::array<double, 4>, 4> mColumns{{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};
};

/// The settings of one zone; component 0 of a vector stands for all colours, 1 to 3 for red, green, blue.
struct RFpColorZone {
  ///@{
  /// Brightness and contrast, then each colour's own.
  std::array<float, 4> offset{0, 0, 0, 0};
  std::array<float, 4> gain{1, 1, 1, 1};
  ///@}
  float saturation = 1;  ///< 0 is grey
  float hue = 0;         ///< degrees
};

/// The zones, by which settings are counted.
enum kFpColorZone : int {
  kFpZoneGlobal = 0,
  kFpZoneShadows = 1,
  kFpZoneMidtones = 2,
  kFpZoneHighlights = 3,
  kFpZoneCount = 4,
};

/// What a colour correction is made of.
struct RFpColorSettings {
  std::array<RFpColorZone, kFpZoneCount> zones;  ///< by `kFpColorZone`
  bool colorPoints = false;                      ///< whether black and white count
  ///@{
  /// The values that become 0 and 1.
  std::array<float, 3> black{0, 0, 0};
  std::array<float, 3> white{1, 1, 1};
  ///@}
  bool transparency = false;  ///< whether alpha counts
  bool negative = false;      ///< whether the result is inverted
  float midPoint = 0.5F;      ///< the luminance between shadows and highlights
  float gamma = 1;            ///< of the tonal curve
};

/// A tonal curve's piece: scale x value + offset.
struct RFpZoneLine {
  ///@{
  /// A coefficient of the line.
  double scale;
  double offset;
  ///@}
};

/// Returns the lines of shadows, midtones and highlights that together follow value^(1 / gamma): each
/// weighted as the correction weights its zones, they sum up to the curve. All are the identity when gamma
/// is 1.
std::array<RFpZoneLine, 3> RFpZoneLines(double gamma, double midPoint);

/// Returns the matrix of one zone's settings: hue, contrast, brightness, saturation, gain, offset, and the
/// negative when it is asked for.
RFpColorTransform RFpZoneCorrection(const RFpColorZone& zone, bool negative);
/// Returns the matrix of the black and white points. A white that equals its black makes a hard edge, with
/// the slope of one step in 256.
RFpColorTransform RFpPointsCorrection(const RFpColorSettings& settings);

/// Returns the one matrix of settings that leave the zones alone.
RFpColorMatrix RFpGlobalMatrix(const RFpColorSettings& settings);
/// Returns the matrices of shadows, midtones and highlights.
std::array<RFpColorMatrix, 3> RFpZoneMatrices(const RFpColorSettings& settings);
/// Returns the vector whose product with a colour is the luminance over the mid point.
std::array<float, 4> RFpLuminanceOverMidPoint(float midPoint);
