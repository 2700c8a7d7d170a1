#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "OrvCoreAudio/OrvAudioConverter.h"
#include "OrvCoreAudio/OrvAudioFile.h"
#include "OrvCoreAudio/OrvAudioStreamBasicDescription.h"
#include "recording/OrvCaptureQueue.h"

/// Converts captured bytes and appends them to a file.
///
/// Capture buffers are cut at bytes, wherever they happen to be full; the part of a frame at the end of one is put in
/// front of the next.
///
/// One thread at a time.
class OrvCaptureWriter {
 public:
  using Format = std::shared_ptr<OrvAudioStreamBasicDescription>;

  /// Where the formats can't be converted, what is captured goes into the file as it is.
  void setFormats(const Format& source, const Format& destination);
  bool converts() const { return converter_ != nullptr; }

  /// Bytes that a buffer is converted to at most.
  std::uint32_t convertedSize() const { return static_cast<std::uint32_t>(converted_.size()); }
  /// As `convertedSize`, of `bytes` bytes that were captured.
  std::uint32_t convertedSizeOf(std::uint32_t bytes) const { return converter_->calculateOutputBufferSize(bytes); }

  /// Converts the whole frames of a buffer, into `room` bytes at most, and appends them to the file. A conversion that
  /// fails loses them. False when the file does not take everything.
  bool save(OrvCaptureBuffer& buffer, std::uint32_t room, OrvAudioFile& file);
  /// Appends the bytes as they are.
  bool saveUnconverted(const std::byte* bytes, std::uint32_t length, OrvAudioFile& file);
  /// Appends what the resampler still holds, as at the end of the stream. False when the file does not take it.
  bool saveEnd(OrvAudioFile& file);

 private:
  std::shared_ptr<OrvAudioConverter> converter_;
  std::vector<std::byte> converted_;
  std::uint32_t frameSize_ = 0;                                // bytes of a captured frame, 0: any number
  std::array<std::byte, OrvCaptureBuffer::kHeadroom> rest_{};  // of a frame
  std::uint32_t restSize_ = 0;
};
