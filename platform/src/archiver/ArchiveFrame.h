#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "OrvPlatform/Archiver.h"

namespace orv::archiver {

/// What surrounds the object of an archive: a name, a checksum, and filler on both sides.
struct ArchiveFrame {
  ArchiveForm form = ArchiveForm::sequential;
  std::span<const std::uint8_t> object;  ///< CBOR, inside the archive's bytes
  std::size_t zerosBehind = 0;           ///< filler behind the object
};

/// Bytes of a frame with no filler at all.
inline constexpr std::size_t kFrameBytes = 22;

/// Puts an object into a frame that begins with the filler `front`.
ArchiveBytes makeFrame(const ArchiveFrame& frame, std::span<const std::uint8_t> front);

/// Finds the object in an archive. `*problem` says why there is none.
std::optional<ArchiveFrame> readFrame(std::span<const std::uint8_t> bytes, const char** problem);

}  // namespace orv::archiver
