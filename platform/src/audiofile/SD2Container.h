#pragma once

#include <memory>
#include <string>
#include <vector>

#include "audiofile/Container.h"

namespace orv::audiofile {

/// Sound Designer II: a file of sound and nothing else, whose companion says how the sound is stored. Its length says
/// how much there is, so that a file that grows has no header to follow.
class SD2Container final : public Container {
 public:
  /// `fileSize`: of the sound.
  SD2Container(const PCMFormat& format, std::int64_t fileSize);

  /// Whether the name of file `path` says that it is one.
  static bool isName(const std::string& path);

  AudioFileTypeID type() const override { return kAudioFileSoundDesigner2Type; }
  ByteOrder chunkOrder() const override { return ByteOrder::big; }
  bool canSay(const Sizes&) const override { return true; }
  std::vector<Patch> sizePatches(const Sizes&) const override { return {}; }
};

}  // namespace orv::audiofile
