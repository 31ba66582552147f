#include "rbaselib/RArrayHelper.h"

#include <algorithm>
#include <limits>
#include <new>

#include "rbaselib/RBaseAllocator.h"

namespace {

void** Elements(const RArrayHelper::Header* array) {
  return reinterpret_cast<void**>(const_cast<RArrayHelper::Header*>(array) + 1);
}
static_assert(sizeof(RArrayHelper::Header) % alignof(void*) == 0);

// Returns a new array with the elements of `array` and room for `capacity`, which is not below their number.
RArrayHelper::Header* CopyWithCapacity(const RArrayHelper::Header* array, std::int32_t capacity) {
  const std::int32_t count = RArrayHelper::GetCount(array);
  const std::size_t bytes = sizeof(RArrayHelper::Header) + static_cast<std::size_t>(capacity) * sizeof(void*);
  auto* copy = new (RBaseAllocator::Allocate(bytes)) RArrayHelper::Header{count, capacity};
  if (array) std::copy_n(Elements(array), count, Elements(copy));
  return copy;
}

}  // namespace

std::int32_t RArrayHelper::GetNextArraySize(std::int32_t capacity, std::int32_t needed) {
  const std::int64_t grown = std::int64_t{capacity} + capacity / 2;
  const auto wanted = std::max<std::int64_t>({grown, needed, 4});
  return static_cast<std::int32_t>(std::min<std::int64_t>(wanted, std::numeric_limits<std::int32_t>::max()));
}

void* RArrayHelper::GetAt(const Header* array, std::int32_t index) {
  return index >= 0 && index < GetCount(array) ? Elements(array)[index] : nullptr;
}

bool RArrayHelper::InsertAt(Header*& array, std::int32_t index, void* element) {
  const std::int32_t count = GetCount(array);
  if (index < 0 || index > count || count == std::numeric_limits<std::int32_t>::max()) return false;
  if (!array || count == array->capacity) {
    Header* grown = CopyWithCapacity(array, GetNextArraySize(count, count + 1));
    Free(array);
    array = grown;
  }
  void** elements = Elements(array);
  std::move_backward(elements + index, elements + count, elements + count + 1);
  elements[index] = element;
  ++array->count;
  return true;
}

bool RArrayHelper::SetAt(Header* array, std::int32_t index, void* element) {
  if (index < 0 || index >= GetCount(array)) return false;
  Elements(array)[index] = element;
  return true;
}

bool RArrayHelper::RemoveAt(Header* array, std::int32_t index) {
  const std::int32_t count = GetCount(array);
  if (index < 0 || index >= count) return false;
  void** elements = Elements(array);
  std::move(elements + index + 1, elements + count, elements + index);
  --array->count;
  return true;
}

RArrayHelper::Header* RArrayHelper::Copy(const Header* array) {
  return GetCount(array) == 0 ? nullptr : CopyWithCapacity(array, array->count);
}

void RArrayHelper::Clear(Header* array) {
  if (array) array->count = 0;
}

void RArrayHelper::Free(Header*& array) {
  RBaseAllocator::Free(array);
  array = nullptr;
}
