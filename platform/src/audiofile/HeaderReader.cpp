#include "audiofile/HeaderReader.h"

namespace orv::audiofile {

HeaderReader::HeaderReader(FileHandle& file) : file_(file), fileSize_(file.size()) {
  if (fileSize_ < 0) {
    fileSize_ = 0;
    status_ = kInputOutputErrorStatus;
    return;
  }
  headLength_ = load(0, head_);
}

std::span<const std::uint8_t> HeaderReader::bytes(std::int64_t offset, std::size_t length) {
  if (offset < 0 || length > kLongestPiece || offset > fileSize_ ||
      static_cast<std::int64_t>(length) > fileSize_ - offset) {
    return {};
  }
  const std::int64_t end = offset + static_cast<std::int64_t>(length);
  if (end <= static_cast<std::int64_t>(headLength_)) {
    return {head_.data() + offset, length};
  }
  if (offset < windowStart_ || end > windowStart_ + static_cast<std::int64_t>(windowLength_)) {
    windowStart_ = offset;
    windowLength_ = load(offset, window_);
  }
  if (length > windowLength_ - static_cast<std::size_t>(offset - windowStart_)) {
    return {};
  }
  return {window_.data() + (offset - windowStart_), length};
}

std::size_t HeaderReader::load(std::int64_t offset, std::span<std::uint8_t> block) {
  std::size_t moved = 0;
  const OSStatus status = file_.readAt(offset, block.data(), block.size(), &moved);
  if (status != noErr && status != kEndOfFileStatus) {
    status_ = status;
    return 0;
  }
  return moved;
}

}  // namespace orv::audiofile
