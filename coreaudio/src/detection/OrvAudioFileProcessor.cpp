#include "OrvCoreAudio/OrvAudioFileProcessor.h"

#include <algorithm>
#include <filesystem>
#include <vector>

#include "OrvCoreAudio/OrvAudioFile.h"
#include "OrvPlatform/Vector.h"
#include "WithoutThrowing.h"

namespace {

constexpr std::uint32_t kChunkBytes = 0x80000;

/// Bytes from `readOffset` to the end frame. The end is formed in 32 bits: past 4 GiB of audio it wraps.
std::int64_t bytesToCopy(std::uint64_t endFrame, std::uint32_t bytesPerFrame, std::int64_t readOffset) {
  const std::uint32_t end = static_cast<std::uint32_t>(endFrame) * bytesPerFrame;
  return static_cast<std::int64_t>(end) - readOffset;
}

bool copyBytes(OrvAudioFile& source, OrvAudioFile& destination, std::int64_t readOffset, std::int64_t remaining,
               OrvProgressDelegate* progress) {
  std::vector<char> buffer(kChunkBytes);
  const auto total = static_cast<float>(remaining);
  while (remaining != 0) {
    auto chunk = static_cast<std::uint32_t>(std::min<std::int64_t>(remaining, kChunkBytes));
    if (!source.read_length_fromOffset(buffer.data(), &chunk, readOffset) || chunk == 0) {
      return false;
    }
    std::uint32_t written = chunk;
    if (!destination.write_length(buffer.data(), &written)) {
      return false;
    }
    if (progress != nullptr) {
      progress->progressUpdate(1.0F - static_cast<float>(remaining) / total);
    }
    remaining -= chunk;
    readOffset += chunk;
  }
  return true;
}

bool copyFrames(OrvProgressDelegate* progress, const std::string& sourcePath, const std::string& destinationPath,
                std::uint64_t fromFrame, std::uint64_t toFrame) {
  const auto source = OrvAudioFile::initWithPath_accessMode(sourcePath, OrvAudioFile::kModeRead);
  source->setUseCache(false);
  source->setUseInternalCache(false);
  if (!source->open()) {
    return false;
  }
  const std::uint64_t end = std::min<std::uint64_t>(toFrame, source->lengthInFrames());
  const auto readOffset = static_cast<std::int64_t>(fromFrame * source->bytesPerFrame());
  const std::int64_t remaining = bytesToCopy(end, source->bytesPerFrame(), readOffset);
  std::error_code ignored;
  // A range that begins past the end can't be read, and a file can't be copied onto itself: the destination, which
  // would be emptied, is left alone.
  if (remaining < 0 || std::filesystem::equivalent(sourcePath, destinationPath, ignored)) {
    return false;
  }
  const auto destination = OrvAudioFile::initWithPath_accessMode(destinationPath, OrvAudioFile::kModeWrite);
  destination->setFileStreamFormat(source->fileStreamFormat());
  destination->setUseCache(false);
  source->setUseInternalCache(false);
  if (!destination->open()) {
    return false;
  }
  const bool wasCopied = copyBytes(*source, *destination, readOffset, remaining, progress);
  return destination->close() && wasCopied;
}

}  // namespace

bool OrvAudioFileProcessor::copyFramesToPath_sourcePath_destinationPath_fromFrame_toFrame(
    const std::shared_ptr<OrvObject>& delegate, const std::optional<std::string>& sourcePath,
    const std::optional<std::string>& destinationPath, std::uint64_t fromFrame, std::uint64_t toFrame) {
  if (!sourcePath || !destinationPath) {
    return false;
  }
  if (fromFrame >= toFrame) {
    return true;
  }
  return withoutThrowing("OrvAudioFileProcessor", false, [&] {
    return copyFrames(dynamic_cast<OrvProgressDelegate*>(delegate.get()), *sourcePath, *destinationPath, fromFrame,
                      toFrame);
  });
}

void OrvAudioFileProcessor::swapBytes_wordLength_length(void* bytes, std::uint32_t wordLength, std::uint64_t length) {
  if (wordLength == 0 || wordLength % 2 != 0) {
    return;
  }
  const std::uint64_t words = length / wordLength;
  switch (wordLength) {
    case 2:
      return orv::simd::swapBytes16(bytes, words);
    case 4:
      return orv::simd::swapBytes32(bytes, words);
    case 8:
      return orv::simd::swapBytes64(bytes, words);
    default:
      break;
  }
  auto* word = static_cast<char*>(bytes);
  for (std::uint64_t i = 0; i < words; ++i, word += wordLength) {
    std::reverse(word, word + wordLength);
  }
}
