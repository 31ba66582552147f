// The options of one stream operation.
#pragma once

#include "rbaselib/RString.h"

/// What a caller asks of a stream when it opens or creates a file. A stream takes no notice of what its
/// format does not have.
struct RBASELIB_API RStreamOptions {
  int quality = -1;     ///< 0 to 100; -1 leaves the choice to the format
  int compression = 0;  ///< format-specific level; 0 is the format's lowest
  RString text;         ///< text to store in the file, where the format can
};
