// Settings of the colour correction drawn at random.
#pragma once

#include "support/CorrectionFormula.h"
#include "support/Random.h"

namespace test {

/// Which settings are drawn; the others stay neutral.
enum class CorrectionFamily { kPoints, kGlobal, kAllGlobal, kGamma, kZones, kEverything };
inline constexpr CorrectionFamily kCorrectionFamilies[] = {
    CorrectionFamily::kPoints, CorrectionFamily::kGlobal, CorrectionFamily::kAllGlobal,
    CorrectionFamily::kGamma,  CorrectionFamily::kZones,  CorrectionFamily::kEverything};

const char* NameOf(CorrectionFamily family);

/// Draws settings over the ranges that the operator declares, a white at least 0.1 above its black.
CorrectionSettings RandomCorrection(CorrectionFamily family, Random& random);

}  // namespace test
