// The one bounds-checked reader of file bytes.
#pragma once

#include <algorithm>
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <type_traits>

/// Reads numbers and bytes from a span that it borrows. The byte order is in the name of the operation. A
/// read that does not fit returns false and leaves its target and the position as they were.
class RByteReader {
 public:
  /// Starts at the first byte; the bytes must outlive the reader.
  explicit RByteReader(std::span<const unsigned char> bytes) : mBytes(bytes) {}

  ///@{
  /// In bytes: of the span, before the position, behind it.
  std::size_t Size() const { return mBytes.size(); }
  std::size_t Position() const { return mPosition; }
  std::size_t Remaining() const { return mBytes.size() - mPosition; }
  ///@}

  /// Reads a number whose most significant byte comes first.
  template <class T>
  requires std::integral<T> || std::floating_point<T>
  [[nodiscard]] bool Big(T& value) { return Number<std::endian::big>(value); }
  /// Reads a number whose least significant byte comes first.
  template <class T>
  requires std::integral<T> || std::floating_point<T>
  [[nodiscard]] bool Little(T& value) { return Number<std::endian::little>(value); }

  /// Copies exactly `size` bytes.
  [[nodiscard]] bool Bytes(void* destination, std::size_t size) {
    std::span<const unsigned char> view;
    if (!View(size, view)) return false;
    if (size) std::memcpy(destination, view.data(), size);
    return true;
  }
  /// Lends exactly `size` bytes without copying them.
  [[nodiscard]] bool View(std::size_t size, std::span<const unsigned char>& view) {
    if (size > Remaining()) return false;
    view = mBytes.subspan(mPosition, size);
    mPosition += size;
    return true;
  }
  /// Lends up to `size` bytes: all that are left when there are fewer.
  std::span<const unsigned char> ViewUpTo(std::size_t size) {
    const auto view = mBytes.subspan(mPosition, std::min(size, Remaining()));
    mPosition += view.size();
    return view;
  }
  /// Moves on by `size` bytes.
  [[nodiscard]] bool Skip(std::uint64_t size) {
    if (size > Remaining()) return false;
    mPosition += static_cast<std::size_t>(size);
    return true;
  }
  /// Moves to a position; the end is one.
  [[nodiscard]] bool Seek(std::uint64_t position) {
    if (position > mBytes.size()) return false;
    mPosition = static_cast<std::size_t>(position);
    return true;
  }

 private:
  template <std::endian kOrder, class T>
  bool Number(T& value) {
    std::span<const unsigned char> view;
    if (!View(sizeof(T), view)) return false;
    unsigned char bytes[sizeof(T)];
    std::memcpy(bytes, view.data(), sizeof(T));
    if constexpr (kOrder != std::endian::native) std::reverse(bytes, bytes + sizeof(T));
    std::memcpy(&value, bytes, sizeof(T));
    return true;
  }

  std::span<const unsigned char> mBytes;
  std::size_t mPosition = 0;
};
