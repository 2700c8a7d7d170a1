#include "device/TerminatedList.h"

std::uint32_t* terminatedList(const PropertyBlock& block) {
  const std::size_t bytes = block.size() / sizeof(std::uint32_t) * sizeof(std::uint32_t);
  auto* const list = static_cast<std::uint32_t*>(std::calloc(1, bytes + sizeof(std::uint32_t)));
  if (list != nullptr && bytes > 0) {
    std::memcpy(list, block.bytes(), bytes);
  }
  return list;
}
