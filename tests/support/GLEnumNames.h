// Names of OpenGL enumerants in recorded calls.
#pragma once

#include <string>

namespace test {

/// Returns the name of an enumerant, or its value in hexadecimal when the table has none.
std::string GLEnumName(unsigned value);
/// The same for the small numbers: GL_ZERO and GL_ONE as blend factors, GL_QUADS as a drawing primitive.
std::string GLBlendFactorName(unsigned value);
std::string GLPrimitiveName(unsigned value);

}  // namespace test
