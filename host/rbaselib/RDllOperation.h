// The module protocol of the host.
#pragma once

/// What the host asks of a module's entry point. What a module has registered stays listed when it stops, and
/// must not be used once it is unloaded.
enum kDllOperation : int {
  kDllStart = 0,       ///< the module was loaded: register everything
  kDllStop = 1,        ///< the module is about to be unloaded: its objects are gone
  kDllHostReady = 2,   ///< all modules are loaded
  kDllHostClosing = 3  ///< the host is about to end
};
