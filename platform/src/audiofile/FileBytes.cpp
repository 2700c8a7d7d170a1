#include "audiofile/FileBytes.h"

#include <algorithm>
#include <vector>

namespace orv::audiofile {
namespace {

constexpr std::int64_t kLongestCopy = std::int64_t{1} << 18;

}  // namespace

OSStatus writeAll(FileHandle& file, std::int64_t offset, std::span<const std::uint8_t> bytes) {
  std::size_t moved = 0;
  const OSStatus status = file.writeAt(offset, bytes.data(), bytes.size(), &moved);
  return status == noErr && moved != bytes.size() ? kInputOutputErrorStatus : status;
}

OSStatus readAll(FileHandle& file, std::int64_t offset, std::span<std::uint8_t> bytes) {
  std::size_t moved = 0;
  const OSStatus status = file.readAt(offset, bytes.data(), bytes.size(), &moved);
  return status == noErr && moved != bytes.size() ? kInputOutputErrorStatus : status;
}

OSStatus copyInside(FileHandle& file, std::int64_t from, std::int64_t to, std::int64_t length) {
  std::vector<std::uint8_t> buffer(static_cast<std::size_t>(std::clamp<std::int64_t>(length, 0, kLongestCopy)));
  OSStatus status = noErr;
  for (std::int64_t done = 0; status == noErr && done < length;) {
    const auto piece = std::span(buffer).first(static_cast<std::size_t>(std::min(length - done, kLongestCopy)));
    status = readAll(file, from + done, piece);
    if (status == noErr) {
      status = writeAll(file, to + done, piece);
    }
    done += static_cast<std::int64_t>(piece.size());
  }
  return status;
}

}  // namespace orv::audiofile
