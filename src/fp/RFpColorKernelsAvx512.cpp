// The inner loops of the colour correction for processors with AVX-512. This file alone is compiled for them,
// so everything in it is internal.
#include "fp/RFpAvx512Pixels.h"
#include "fp/RFpColorLoops.h"

const RFpColorKernels kAvx512ColorKernels = {.applyMatrix = RFpColorLoops<RFpAvx512Lanes>::ApplyMatrix,
                                             .applyZones = RFpColorLoops<RFpAvx512Lanes>::ApplyZones};
