// Messages to the person at the host.
#pragma once

#include "rbaselib/RBaseLibExport.h"

/// Shows messages. The base prints to standard error; a host replaces the main handler by its own.
class RBASELIB_API RMessageHandler {
 public:
  virtual ~RMessageHandler();
  /// Shows a warning with one button, whose label is `button`. Null counts as the empty text. The base prints
  /// "Warning: TITLE: TEXT"; there is nothing to press.
  virtual void DisplayWarning(const char* title, const char* text, const char* button);
};

/// Returns the main handler, borrowed; never null.
RBASELIB_API RMessageHandler* GetMainMessageHandler();
/// Replaces the main handler, which the caller keeps alive; null brings the printing one back. Returns the
/// one before.
RBASELIB_API RMessageHandler* SetMainMessageHandler(RMessageHandler* handler);
