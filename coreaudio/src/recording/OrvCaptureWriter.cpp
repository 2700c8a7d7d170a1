#include "recording/OrvCaptureWriter.h"

#include <algorithm>
#include <cstring>
#include <utility>

void OrvCaptureWriter::setFormats(const Format& source, const Format& destination) {
  converter_ = nullptr;
  restSize_ = 0;
  auto converter = OrvAudioConverter::initWithSourceFormat_destinationFormat(source, destination);
  frameSize_ = converter != nullptr ? source->bytesPerFrame() : 0;
  if (frameSize_ == 0 || frameSize_ > OrvCaptureBuffer::kHeadroom) {
    return;
  }
  // A buffer may be preceded by all of a frame but its last byte.
  const std::uint32_t most = (OrvCaptureQueue::kBufferSize / frameSize_ + 1) * frameSize_;
  converted_.resize(converter->calculateOutputBufferSize(most));
  converter_ = std::move(converter);
}

bool OrvCaptureWriter::save(OrvCaptureBuffer& buffer, std::uint32_t room, OrvAudioFile& file) {
  std::byte* start = buffer.data() - restSize_;
  std::memcpy(start, rest_.data(), restSize_);
  const std::uint32_t held = restSize_ + buffer.count;
  restSize_ = held % frameSize_;
  const std::uint32_t whole = held - restSize_;
  std::memcpy(rest_.data(), start + whole, restSize_);
  if (const auto odd = reinterpret_cast<std::uintptr_t>(start) % alignof(double); odd != 0) {
    std::memmove(start - odd, start, whole);
    start -= odd;
  }
  std::uint32_t produced = std::min(room, convertedSize());
  if (whole == 0 || converter_->convertBuffer_inputBufferSize_outputBuffer_outputBufferSize(
                        start, whole, converted_.data(), &produced) != noErr) {
    return true;
  }
  return saveUnconverted(converted_.data(), produced, file);
}

bool OrvCaptureWriter::saveUnconverted(const std::byte* bytes, std::uint32_t length, OrvAudioFile& file) {
  if (length == 0) {
    return true;
  }
  std::uint32_t written = length;
  return file.write_length(bytes, &written) && written == length;
}

bool OrvCaptureWriter::saveEnd(OrvAudioFile& file) {
  while (converter_ != nullptr) {
    std::uint32_t produced = convertedSize();
    if (converter_->drainIntoBuffer_outputBufferSize(converted_.data(), &produced) != noErr || produced == 0) {
      break;
    }
    if (!saveUnconverted(converted_.data(), produced, file)) {
      return false;
    }
  }
  return true;
}
