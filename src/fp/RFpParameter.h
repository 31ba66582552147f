// The parameters of nodes.
#pragma once

/// Stores `value` in `held` and counts a change, unless it is held already. Returns the value now held.
template <class T>
T RFpAssign(T& held, T value, unsigned& changeCount) {
  if (held == value) return held;
  held = value;
  ++changeCount;
  return held;
}

/// Returns `value` within its range; NaN becomes the least value.
inline float RFpClamp(float value, float least, float most) {
  if (!(value > least)) return least;
  return value < most ? value : most;
}
