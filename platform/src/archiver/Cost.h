#pragma once

#include <cstddef>

#include "OrvPlatform/ArchiveValue.h"

/// What an object takes in memory, estimated from above. Short bytes can stand for much memory: an empty dictionary is
/// one byte. An archive is therefore long enough for what it holds, with filler where it must be, and one that is not
/// is refused while it is read.
namespace orv::archiver {

inline constexpr std::size_t kValueCost = sizeof(ArchiveValue);
inline constexpr std::size_t kTextCost = 80;  ///< beside its characters
inline constexpr std::size_t kArrayCost = 64;
inline constexpr std::size_t kDictionaryCost = 112;
inline constexpr std::size_t kEntryCost = 128;   ///< beside its key's characters
inline constexpr std::size_t kRecordCost = 384;  ///< beside its fields

/// Bytes of memory that each byte of an archive may stand for, and those that need no bytes.
inline constexpr std::size_t kCostPerByte = 32;
inline constexpr std::size_t kFreeCost = 4096;

/// What an archive of `length` bytes may cost.
constexpr std::size_t budgetOf(std::size_t length) {
  return kFreeCost + kCostPerByte * length;
}

/// Bytes that an archive must have at least for its object to cost `cost`.
constexpr std::size_t lengthFor(std::size_t cost) {
  return cost <= kFreeCost ? 0 : (cost - kFreeCost + kCostPerByte - 1) / kCostPerByte;
}

}  // namespace orv::archiver
