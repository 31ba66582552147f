// The order of virtual functions is an interface between separately built modules.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace test {

/// Returns the slot of a virtual member function in the table of the class that the pointer names, from 0; -1
/// when the function is not virtual. The layout of member pointers is that of the Itanium C++ ABI (x86-64): a
/// virtual function is 1 plus the byte offset of its slot.
template <class Member>
int VirtualSlot(Member member) {
  static_assert(sizeof(Member) == 2 * sizeof(std::ptrdiff_t), "a pointer to a member function is expected");
  std::ptrdiff_t word = 0;
  std::memcpy(&word, &member, sizeof(word));
  return word % 2 == 1 ? static_cast<int>((word - 1) / static_cast<std::ptrdiff_t>(sizeof(void*))) : -1;
}

}  // namespace test
