// The host's narrow string.
#pragma once

#include <string>
#include <utility>

#include "rbaselib/RBaseLibExport.h"

/// A narrow string in UTF-8, which owns its characters. A null pointer is taken as the empty string. Strings
/// compare by their bytes, whatever the locale.
class RBASELIB_API RString {
 public:
  /// The empty string.
  RString() = default;
  ///@{
  /// Copies the text.
  // NOLINTNEXTLINE(google-explicit-constructor): the host's functions take texts where a string is asked for.
  RString(const char* text) : mText(text ? text : "") {}
  explicit RString(std::string text) : mText(std::move(text)) {}
  ///@}

  ///@{
  /// Returns the characters, terminated by zero; borrowed until the string changes. Never null.
  const char* GetChars() const { return mText.c_str(); }
  // NOLINTNEXTLINE(google-explicit-constructor): the host's functions take strings where a text is asked for.
  operator const char*() const { return mText.c_str(); }
  ///@}

  /// Returns the number of bytes.
  int GetLength() const { return static_cast<int>(mText.size()); }
  bool IsEmpty() const { return mText.empty(); }  ///< whether there is no character
  void Empty() { mText.clear(); }                 ///< takes all characters away

  /// Whether both have the same bytes.
  friend bool operator==(const RString& a, const RString& b) { return a.mText == b.mText; }
  /// A null pointer is no string, and so equal to none.
  friend bool operator==(const RString& a, const char* b) { return b && a.mText == b; }
  /// Whether `a` stands before `b`, by their bytes as unsigned numbers.
  friend bool operator<(const RString& a, const RString& b) { return a.mText < b.mText; }

 private:
  std::string mText;
};
