// The driver shim of the tests, in development builds.
#pragma once

#include "CommandLineFwd.h"

/// Adds --gl-shim NAME, by which a driver with other extensions is played, where this build has the shim. It
/// is a library that must be there before the driver, so the option starts the tool anew, with the same
/// arguments.
void AddDriverShimOption(CLI::App& app, char** arguments);
