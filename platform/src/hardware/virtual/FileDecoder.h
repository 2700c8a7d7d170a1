#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "OrvPlatform/AudioConverter.h"
#include "OrvPlatform/AudioFile.h"

namespace orv::virtualhardware {

/// One audio file as interleaved floats at a given rate, with a given number of channels: mono is heard on all of them,
/// of other files channels that the file lacks are silent. At the file's own rate samples of up to 24 bits and floats
/// arrive exactly. One thread at a time.
class FileDecoder {
 public:
  /// Null, and one line in `*problem`, when the file can't be opened or its format can't be converted.
  static std::unique_ptr<FileDecoder> open(const std::string& path, double rate, std::uint32_t channels,
                                           std::string* problem);

  /// Frames a second in the file.
  double fileRate() const { return session_->format().mSampleRate; }
  /// Goes to a frame of the file, before the first `next`.
  void seek(std::int64_t frame);
  /// The next frames; empty at the end. After a read error too, with one line in `*problem`.
  const std::vector<float>& next(std::string* problem);

 private:
  FileDecoder(std::unique_ptr<AudioFileSession> session, std::unique_ptr<Converter> converter,
              std::uint32_t convertedChannels, std::uint32_t channels);

  std::size_t readPackets(std::string* problem);
  void convert(std::uint32_t bytes, std::string* problem);
  void drain();
  void spread(std::size_t samples);

  const std::unique_ptr<AudioFileSession> session_;
  const std::unique_ptr<Converter> converter_;
  const std::uint32_t convertedChannels_;  // 1, or the channels wanted
  const std::uint32_t channels_;
  std::int64_t position_ = 0;  // bytes
  bool isDrained_ = false;
  std::vector<std::byte> packets_;
  std::vector<float> converted_;
  std::vector<float> frames_;
};

}  // namespace orv::virtualhardware
