// The host's narrow string.
#pragma once

#include <cstring>
#include <string>
#include <string_view>

#include "rbaselib/RBaseLibExport.h"

/// A narrow string in UTF-8. A null pointer is taken as the empty string.
class RBASELIB_API RString {
 public:
  RString() = default;
  RString(const char* text)
      : mText(text ? text : "") {}  // NOLINT(google-explicit-constructor): host contract
  explicit RString(std::string text) : mText(std::move(text)) {}

  /// Returns the characters, terminated by zero; borrowed until the string changes. Never null.
  const char* GetChars() const { return mText.c_str(); }
  operator const char*() const {
    return mText.c_str();
  }  // NOLINT(google-explicit-constructor): host contract

  int GetLength() const { return static_cast<int>(mText.size()); }
  bool IsEmpty() const { return mText.empty(); }
  void Empty() { mText.clear(); }

  friend bool operator==(const RString& a, const RString& b) { return a.mText == b.mText; }
  friend bool operator==(const RString& a, const char* b) { return b && a.mText == b; }
  friend bool operator<(const RString& a, const RString& b) { return a.mText < b.mText; }

 private:
  std::string mText;
};
