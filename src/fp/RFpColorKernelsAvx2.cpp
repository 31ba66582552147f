// The inner loops of the colour correction for processors with AVX2. This file alone is compiled for them, so
// everything in it is internal.
#include "fp/RFpAvx2Pixels.h"
#include "fp/RFpColorLoops.h"

const RFpColorKernels kAvx2ColorKernels = {.applyMatrix = RFpColorLoops<RFpAvx2Lanes>::ApplyMatrix,
                                           .applyZones = RFpColorLoops<RFpAvx2Lanes>::ApplyZones};
