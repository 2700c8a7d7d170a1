#pragma once

#include <cstdint>
#include <span>

#include "OrvPlatform/FileManager.h"

namespace orv::audiofile {

/// Writes all of `bytes` at `offset`; anything less is a failure.
OSStatus writeAll(FileHandle& file, std::int64_t offset, std::span<const std::uint8_t> bytes);

/// Reads all of `bytes` from `offset` on; anything less is a failure.
OSStatus readAll(FileHandle& file, std::int64_t offset, std::span<std::uint8_t> bytes);

/// Copies `length` bytes inside a file, in pieces of bounded size. The two places must not overlap.
OSStatus copyInside(FileHandle& file, std::int64_t from, std::int64_t to, std::int64_t length);

}  // namespace orv::audiofile
