// The compositor's programs.
#pragma once

#include "stereo/RStereoState.h"

/// Makes the programs of a mode and stores the mode. A failure is shown as a warning with the runtime's
/// reason; true when there was none that keeps the mode from being drawn. Modes that need no programs make no
/// call of Cg.
bool RStereoSetUp(RStereoState& state, std::uint32_t mode);

/// Destroys the programs and their context.
void RStereoRelease(RStereoState& state);
