// Ownership of OpenGL display lists.
#pragma once

#include <GL/gl.h>

#include <utility>

/// Owns a run of display lists; released with glDeleteLists on whatever context is current then.
class RFpDisplayLists {
 public:
  /// Makes `count` empty lists in the current context.
  explicit RFpDisplayLists(int count) : mFirst(glGenLists(count)), mCount(count) {}
  ~RFpDisplayLists() {
    if (mFirst != 0) glDeleteLists(mFirst, mCount);
  }
  ///@{
  /// Hands the lists over.
  RFpDisplayLists(RFpDisplayLists&& other) noexcept
      : mFirst(std::exchange(other.mFirst, 0)), mCount(other.mCount) {}
  RFpDisplayLists& operator=(RFpDisplayLists&& other) noexcept {
    std::swap(mFirst, other.mFirst);
    std::swap(mCount, other.mCount);
    return *this;
  }
  ///@}

  /// Returns the name of list `index`, or 0 when the driver gave none.
  GLuint GetName(int index) const { return mFirst == 0 ? 0 : mFirst + static_cast<GLuint>(index); }

 private:
  GLuint mFirst;
  GLsizei mCount;
};
