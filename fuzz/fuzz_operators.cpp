// Graphs of operators in memory.
#include "OperatorSequence.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  RunOperatorSequence(data, size, OperatorPlace::kMemory);
  return 0;
}
