#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "OrvPlatform/FileManager.h"
#include "audiofile/Container.h"

namespace orv::audiofile {

/// Makes the header of an open file say the sizes in it.
class HeaderUpdater {
 public:
  /// `head`: the first bytes of the file. File and container must outlive the object.
  HeaderUpdater(FileHandle& file, const Container& container, std::span<const std::uint8_t> head);

  /// `tailShift`: how far the tail has moved since the file was opened, for what of the header lies in it. In the usual
  /// file, whose sizes lie together in its first 4 KiB, this is one single write. Writes nothing when the header says
  /// it already.
  OSStatus write(const Sizes& sizes, std::int64_t tailShift);

 private:
  struct State {
    std::int64_t dataBytes, soundEnd, formEnd, tailShift;
    bool operator==(const State&) const = default;
  };

  bool isInImage(const Patch& patch) const { return patch.end() <= static_cast<std::int64_t>(image_.size()); }
  OSStatus writeAtOnce(const std::vector<Patch>& patches);
  OSStatus writeOneByOne(const std::vector<Patch>& patches, std::int64_t tailShift);

  FileHandle& file_;
  const Container& container_;
  std::vector<std::uint8_t> image_;  // of the header, as far as it lies before the sound and in the head
  std::optional<State> written_;     // by the last write, none when that failed
};

}  // namespace orv::audiofile
