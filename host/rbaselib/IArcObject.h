// The record that a persistent object is stored into and retrieved from.
#pragma once

#include "rbaselib/IObject.h"

class RArc;

/// One record of an archive, as the host hands it to `IArcStorable`. The host owns it, and keeps it alive for
/// the call.
struct RBASELIB_API IArcObject : IObject {
  /// Returns the archive that reads and writes this record's fields, borrowed; never null.
  virtual RArc* GetArc() = 0;

 protected:
  ~IArcObject() = default;
};
