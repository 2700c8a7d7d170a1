#include "OrvPlatform/FileManager.h"

namespace orv {

FileHandle::~FileHandle() = default;

OSStatus FileHandle::read(void* buffer, std::size_t length, std::size_t* moved) {
  const OSStatus status = readAt(offset_, buffer, length, moved);
  offset_ += static_cast<std::int64_t>(*moved);
  return status;
}

OSStatus FileHandle::write(const void* buffer, std::size_t length, std::size_t* moved) {
  const OSStatus status = writeAt(offset_, buffer, length, moved);
  offset_ += static_cast<std::int64_t>(*moved);
  return status;
}

}  // namespace orv
