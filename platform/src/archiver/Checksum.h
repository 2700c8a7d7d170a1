#pragma once

#include <cstdint>
#include <span>

namespace orv::archiver {

/// CRC-32 as in ISO 3309 and zip files: polynomial 0x04C11DB7, bits reflected, begun and ended with all ones. To go on
/// with more bytes hand over what the call before returned.
std::uint32_t checksum(std::span<const std::uint8_t> bytes, std::uint32_t before = 0);

}  // namespace orv::archiver
