// Messages to the person at the host.
#pragma once

#include "rbaselib/RBaseLibExport.h"

/// Shows messages. The base prints to standard error; a host replaces the main handler by its own. The module
/// tells failures by its results; only the stereo compositor, whose drawing has none, shows here what went
/// wrong with Cg, on the thread that draws.
class RBASELIB_API RMessageHandler {
 public:
  virtual ~RMessageHandler();
  /// Shows a warning with one button, whose label is `button`. Null counts as the empty text. The base prints
  /// "Warning: TITLE: TEXT"; there is nothing to press. The texts are borrowed for the call, which may wait
  /// for the person or return at once.
  virtual void DisplayWarning(const char* title, const char* text, const char* button);
};

/// Returns the main handler, borrowed; never null. Any thread may ask.
RBASELIB_API RMessageHandler* GetMainMessageHandler();
/// Replaces the main handler, which the caller keeps alive until it is replaced; null brings the printing one
/// back. Returns the one before, borrowed, so that it can be put back.
RBASELIB_API RMessageHandler* SetMainMessageHandler(RMessageHandler* handler);
