// Order of C strings by their characters.
#pragma once

#include <cstring>

#include "rbaselib/RBaseLibExport.h"

/// Orders C strings by their characters, not by their addresses. Null comes before every string.
struct RBASELIB_API RCharPointerLessCompare {
  /// Returns whether `a` stands before `b`.
  bool operator()(const char* a, const char* b) const {
    if (!a || !b) return !a && b;
    return std::strcmp(a, b) < 0;
  }
};
