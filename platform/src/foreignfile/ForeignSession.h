#pragma once

#include <memory>
#include <mutex>

#include "OrvPlatform/AudioFile.h"
#include "foreignfile/FrameReader.h"

namespace orv::foreignfile {

/// An open file of another program. Reads may run beside each other, and wait for each other.
class ForeignSession final : public AudioFileSession {
 public:
  ForeignSession(const Presentation& presentation, std::unique_ptr<FrameReader> reader);

  AudioFileTypeID fileType() const override { return type_; }
  const AudioStreamBasicDescription& format() const override { return format_; }
  std::int64_t dataByteCount() const override { return byteCount_; }
  bool isOptimized() const override { return true; }
  OSStatus readBytes(std::int64_t start, std::uint32_t* count, void* buffer) override;
  OSStatus writeBytes(std::int64_t start, std::uint32_t* count, const void* buffer) override;
  OSStatus updateSizes() override;
  OSStatus close() override;

 private:
  const AudioFileTypeID type_;
  const AudioStreamBasicDescription format_;
  const std::int64_t byteCount_;
  std::mutex mutex_;
  std::unique_ptr<FrameReader> reader_;  // guarded by mutex_; null once closed
};

}  // namespace orv::foreignfile
