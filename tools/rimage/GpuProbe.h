// A look at the OpenGL driver from a process of its own.
#pragma once

#include <optional>
#include <string>

#include "Gpu.h"

/// Describes the OpenGL that a GUI application gets on `platform` and `display` (empty: the one of the
/// environment). Nothing, with a `reason`, when there is none that the module can use: no display, no OpenGL,
/// or only a core context.
std::optional<GpuDescription> ProbeGpu(const std::string& platform, const std::string& display,
                                       std::string& reason);
