// Fragment programs of GL_NV_fragment_program in the language of GL_ARB_fragment_program.
#pragma once

#include <string>

#include "support/shim/NVProgram.h"

namespace test::shim {

/// Returns the text of a program that computes the same. Parameter i is local parameter i.
std::string TranslateNVProgram(const NVProgram& program);

}  // namespace test::shim
