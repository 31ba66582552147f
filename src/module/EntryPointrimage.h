// The module's entry point.
#pragma once

#include "image/RImageExport.h"
#include "rbaselib/RDllOperation.h"

/// Called by the host with the operations of its module protocol. On `kDllStart` the module files its
/// effects, readers and writers in the host's factory registry; every other operation does nothing.
extern "C" RIMAGE_API void EntryPointrimage(kDllOperation operation);
