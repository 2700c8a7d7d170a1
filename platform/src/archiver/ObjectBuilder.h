#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "OrvPlatform/Archiver.h"

namespace orv::archiver {

/// The object that `cbor`, exactly one item of bounded depth, encodes. `budget`: what it may cost in memory.
/// `*problem` says why there is none. Throws what the makers and the standard library throw.
std::optional<ArchiveValue> buildObject(std::span<const std::uint8_t> cbor, ArchiveForm form,
                                        const RecordMakers& makers, std::size_t budget, std::string* problem);

}  // namespace orv::archiver
