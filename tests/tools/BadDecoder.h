// A decoder that goes wrong.
#pragma once

#include "ToolRunner.h"

namespace test {

/// Surroundings in which PNG pictures make the tool "abort" with a message, "crash", "hang", "overrun" a row,
/// "spin" or take "memory" when they are read, "beg" for more memory than there is behind their headers, or
/// "crash-writing" when they are written. The sanitizer would make another end of a crash.
inline ToolSettings GoingWrong(const char* mode) {
  return {
      .environment = {{"LD_PRELOAD", RIMAGE_BAD_DECODER},
                      {"BAD_DECODER", mode},
                      {"ASAN_OPTIONS",
                       "verify_asan_link_order=0:handle_segv=0:allocator_may_return_null=1:detect_leaks=0"}}};
}

}  // namespace test
