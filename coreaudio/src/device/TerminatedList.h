#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "device/PropertyBlock.h"

/// The numbers of a property and a 0 behind the last, in a block that the caller frees with `std::free`; only the 0
/// when there is no value; null when there is no memory.
std::uint32_t* terminatedList(const PropertyBlock& block);

/// Such a block, to walk along.
class TerminatedList {
 public:
  explicit TerminatedList(std::uint32_t* block) : block_(block, std::free) {}
  /// Requires: no number before `index` is 0.
  std::uint32_t at(std::size_t index) const { return block_ ? block_.get()[index] : 0; }

 private:
  std::unique_ptr<std::uint32_t, decltype(&std::free)> block_;
};
