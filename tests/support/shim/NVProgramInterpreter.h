// Runs fragment programs of GL_NV_fragment_program on the processor.
#pragma once

#include <array>
#include <functional>
#include <vector>

#include "support/shim/NVProgram.h"

namespace test::shim {

using NVVector = std::array<float, 4>;

/// What a program sees of a fragment.
struct NVFragment {
  std::vector<NVVector> parameters;                    ///< in the order of their declarations
  std::array<NVVector, 12> inputs{};                   ///< by index
  std::function<NVVector(int unit, NVVector)> sample;  ///< reads a texture
  NVVector color{};                                    ///< the output before the program runs
};

/// Returns the output colour. Temporaries start at zero and condition codes at "equal".
NVVector RunNVProgram(const NVProgram& program, const NVFragment& fragment);

}  // namespace test::shim
