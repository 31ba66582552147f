// The module protocol of the host.
#pragma once

/// What the host asks of a module's entry point.
enum kDllOperation : int {
  kDllStart = 0,       ///< the module was loaded: register everything
  kDllStop = 1,        ///< the module is about to be unloaded
  kDllHostReady = 2,   ///< all modules are loaded
  kDllHostClosing = 3  ///< the host is about to end
};
