#pragma once

#include <cstdlib>
#include <cstring>
#include <type_traits>

/// A `malloc`ed copy of a platform record for a caller who frees it with `std::free`; null when there is no memory.
template <typename Record>
Record* heapCopy(const Record& record) {
  static_assert(std::is_trivially_copyable_v<Record>);
  void* const block = std::malloc(sizeof record);
  if (block != nullptr) {
    std::memcpy(block, &record, sizeof record);
  }
  return static_cast<Record*>(block);
}
