#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "OrvPlatform/Archiver.h"

namespace orv::archiver {

/// What an array in an archive is, told by its first element. A dictionary is a map; what needs no telling (nothing,
/// truth values, texts) stands by itself.
enum class Kind : std::uint8_t { array, int32, uint32, int64, uint64, float32, float64, record };
inline constexpr Kind kLastKind = Kind::record;

struct EncodedObject {
  std::vector<std::uint8_t> cbor;
  std::size_t cost = 0;  ///< of the object in memory
};

/// Throws `std::length_error` when the object nests too deep.
EncodedObject encodeObject(const ArchiveValue& object, ArchiveForm form);

}  // namespace orv::archiver
