#include "audiofile/HeaderUpdater.h"

#include <algorithm>

#include "audiofile/FileBytes.h"

namespace orv::audiofile {

HeaderUpdater::HeaderUpdater(FileHandle& file, const Container& container, std::span<const std::uint8_t> head)
    : file_(file), container_(container) {
  const auto soundStart = static_cast<std::size_t>(container.layout().dataStart);
  const auto own = head.first(std::min(head.size(), soundStart));
  image_.assign(own.begin(), own.end());
}

OSStatus HeaderUpdater::write(const Sizes& sizes, std::int64_t tailShift) {
  const State state{sizes.dataBytes, sizes.soundEnd, sizes.formEnd, tailShift};
  if (written_ == state) {
    return noErr;
  }
  written_.reset();
  const std::vector<Patch> patches = container_.sizePatches(sizes);
  const bool together = std::all_of(patches.begin(), patches.end(), [this](const Patch& p) { return isInImage(p); });
  const OSStatus status = together ? writeAtOnce(patches) : writeOneByOne(patches, tailShift);
  if (status == noErr) {
    written_ = state;
  }
  return status;
}

OSStatus HeaderUpdater::writeAtOnce(const std::vector<Patch>& patches) {
  if (patches.empty()) {
    return noErr;
  }
  std::int64_t first = patches.front().offset;
  std::int64_t end = first;
  for (const Patch& patch : patches) {
    std::copy_n(patch.bytes.begin(), patch.length, image_.begin() + patch.offset);
    first = std::min(first, patch.offset);
    end = std::max(end, patch.end());
  }
  return writeAll(file_, first,
                  std::span(image_).subspan(static_cast<std::size_t>(first), static_cast<std::size_t>(end - first)));
}

OSStatus HeaderUpdater::writeOneByOne(const std::vector<Patch>& patches, std::int64_t tailShift) {
  for (const Patch& patch : patches) {
    const bool isInTail = patch.offset >= container_.layout().tailStart;
    const OSStatus status =
        writeAll(file_, patch.offset + (isInTail ? tailShift : 0), std::span(patch.bytes).first(patch.length));
    if (status != noErr) {
      return status;
    }
  }
  return noErr;
}

}  // namespace orv::audiofile
