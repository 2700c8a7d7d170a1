#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "OrvCoreAudio/OrvAudioProcessor.h"
#include "OrvPlatform/AudioConverter.h"
#include "OrvPlatform/AudioUnit.h"
#include "playback/FileFeed.h"
#include "playback/LiveValue.h"

/// What is known of the file that plays, and the room in which its frames become floats.
class FilePlaybackInfo {
 public:
  /// Null where the format can't be made into floats, or has no frames of a fixed size.
  static std::shared_ptr<FilePlaybackInfo> make(AudioFileID file, const AudioStreamBasicDescription& format);
  FilePlaybackInfo() = default;
  FilePlaybackInfo(const FilePlaybackInfo&) = delete;
  FilePlaybackInfo& operator=(const FilePlaybackInfo&) = delete;
  ~FilePlaybackInfo();

  AudioFileID mAudioFileId = nullptr;
  AudioStreamBasicDescription mSourceFormat{};
  AudioStreamBasicDescription floatFormat{};

  // Of the thread that renders. One slice at most.
  AudioConverterRef mAudioConverter = nullptr;
  std::vector<std::byte> raw;
  std::vector<float> mBuffer;
};

/// All that reading the file in a cycle works with.
struct GraphSource {
  std::shared_ptr<FilePlaybackInfo> info;
  std::shared_ptr<FileFeed> feed;  ///< null while the position moves: silence
  std::shared_ptr<OrvAudioProcessor> processor;
  std::uint32_t playOut = 0;  ///< frame
  bool isExact = false;       ///< nothing behind playOut is played
  std::uint64_t play = 0;     ///< counts calls that began to play

  /// Makes floats of up to `frames` frames, processes them, and leaves them in `heard`. Returns what `supply` says.
  /// Real-time safe where the processor is.
  struct Supplied {
    std::uint32_t frames = 0;
    OSStatus status = noErr;
    bool isAtEnd = false;  ///< of the file or the range: the caller stops
    bool isLate = false;   ///< the disk
  };
  Supplied supply(float* heard, std::uint32_t frames, bool isStopped) const noexcept;

 private:
  void decode(float* heard, std::uint32_t frames) const noexcept;
};

class GraphSources : public LiveValue<GraphSource> {
 public:
  using LiveValue::LiveValue;
};
