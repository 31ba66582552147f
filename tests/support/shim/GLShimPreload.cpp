// The driver shim as a library of its own, to be loaded before the driver: it brings the entry points of the
// tests to any program.
#include <cstdio>

#include "support/GLInterposer.h"

namespace test {

void FailWith(const std::string& message) { std::fprintf(stderr, "%s\n", message.c_str()); }

}  // namespace test
