#include "detection/boundaries/FloatReader.h"

#include <algorithm>
#include <bit>

#include "OrvPlatform/Status.h"

namespace orv::boundaries {
namespace {

/// Bytes of a read: enough to make its fixed cost small, few enough to stay in a processor's cache.
constexpr std::uint32_t kReadBytes = 256 * 1024;

std::shared_ptr<OrvAudioStreamBasicDescription> nativeFloat(const OrvAudioStreamBasicDescription& source) {
  AudioStreamBasicDescription record{};
  record.mSampleRate = source.sampleRate();
  record.mFormatID = kAudioFormatLinearPCM;
  record.mFormatFlags = kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked |
                        (std::endian::native == std::endian::big ? kAudioFormatFlagIsBigEndian : 0);
  record.mChannelsPerFrame = source.channelsPerFrame();
  record.mBitsPerChannel = 32;
  record.mBytesPerFrame = source.channelsPerFrame() * static_cast<std::uint32_t>(sizeof(float));
  record.mBytesPerPacket = record.mBytesPerFrame;
  record.mFramesPerPacket = 1;
  return OrvAudioStreamBasicDescription::initWithAudioStreamBasicDescription(&record);
}

}  // namespace

FloatReader::FloatReader(OrvAudioFile& file)
    : file_(file), channels_(file.channelsPerFrame()), bytesPerFrame_(file.bytesPerFrame()) {
  if (channels_ == 0 || bytesPerFrame_ == 0) {
    problem_ = "unsupported data format";
    return;
  }
  lengthInFrames_ = file.lengthInBytes() / bytesPerFrame_;
  const auto format = file.fileStreamFormat();
  converter_ = OrvAudioConverter::initWithSourceFormat_destinationFormat(format, nativeFloat(*format));
  if (!converter_) {
    problem_ = "unsupported data format";
  }
}

std::uint32_t FloatReader::read(std::uint64_t firstFrame, std::uint32_t count, float* frames) {
  if (!problem_.empty() || firstFrame >= lengthInFrames_) {
    return 0;
  }
  count = static_cast<std::uint32_t>(std::min<std::uint64_t>(count, lengthInFrames_ - firstFrame));
  const bool isHeld = firstFrame >= firstHeld_ && firstFrame + count <= firstHeld_ + held_;
  if (!isHeld && !fill(firstFrame, count)) {
    return 0;
  }
  count = static_cast<std::uint32_t>(std::min<std::uint64_t>(count, firstHeld_ + held_ - firstFrame));
  auto produced = static_cast<std::uint32_t>(std::size_t{count} * channels_ * sizeof(float));
  const OSStatus status = converter_->convertBuffer_inputBufferSize_outputBuffer_outputBufferSize(
      bytes_.data() + (firstFrame - firstHeld_) * bytesPerFrame_, count * bytesPerFrame_, frames, &produced);
  if (status != noErr) {
    problem_ = describeStatus(status);
    return 0;
  }
  return count;
}

/// Reads a whole number of times `count` frames.
bool FloatReader::fill(std::uint64_t firstFrame, std::uint32_t count) {
  const std::uint32_t times = std::max<std::uint32_t>(kReadBytes / (count * bytesPerFrame_), 1);
  bytes_.resize(std::size_t{times} * count * bytesPerFrame_);
  auto length = static_cast<std::uint32_t>(
      std::min<std::uint64_t>(bytes_.size(), (lengthInFrames_ - firstFrame) * bytesPerFrame_));
  held_ = 0;
  if (!file_.read_length_fromOffset(bytes_.data(), &length, static_cast<std::int64_t>(firstFrame * bytesPerFrame_))) {
    problem_ = file_.lastProblem();
    return false;
  }
  firstHeld_ = firstFrame;
  held_ = length / bytesPerFrame_;
  return held_ > 0;
}

}  // namespace orv::boundaries
