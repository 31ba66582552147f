// Order of C strings by their characters.
#pragma once

#include <cstring>

#include "rbaselib/RBaseLibExport.h"

/// Orders C strings by their characters, not by their addresses. Neither may be null.
struct RBASELIB_API RCharPointerLessCompare {
  bool operator()(const char* a, const char* b) const { return std::strcmp(a, b) < 0; }
};
