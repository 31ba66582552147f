// A driver shim: extensions of other drivers, carried out on the one that is there.
//
// The environment variable RIMAGE_GL_SHIM names the kind of driver that is played: "nv" has fragment
// programs, "rc" register combiners, "sgi" a colour matrix, "ati" fragment shaders within the limits of their
// hardware, "plain" none of these. Extensions of the other kinds are hidden, whatever the driver has. Without
// the variable the driver is left as it is.
#pragma once

#include <string>
#include <string_view>

namespace test::shim {

/// Returns the function that carries out an entry point in place of the driver's, or null when the driver's
/// own does.
void* EntryPoint(std::string_view name);

/// Returns the value of RIMAGE_GL_SHIM, empty when there is no shim. A value that names no shim ends the
/// program.
const std::string& Name();

/// Drops what is kept for a context that is being destroyed.
void ForgetContext(void* context);

}  // namespace test::shim
