#include "dds/blocks/BlockKernels.h"

namespace rblocks {

bool HasAvx2() {
#if defined(__x86_64__)
  return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi2");
#else
  return false;
#endif
}

const Kernels& Best() {
  static const Kernels& best = HasAvx2() ? kAvx2 : kPortable;
  return best;
}

}  // namespace rblocks
