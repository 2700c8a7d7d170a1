#include "detection/BlockReader.h"

#include <algorithm>
#include <bit>

namespace orv {
namespace {

constexpr std::uint32_t kBytesPerSample = 2;

/// Bytes of a group: enough to make the read's fixed cost small, few enough to stay in a processor's cache.
constexpr std::uint32_t kGroupBytes = 256 * 1024;

std::uint32_t groupFrames(std::uint32_t framesPerBlock, std::uint32_t bytesPerFrame) {
  const std::uint64_t bytesPerBlock = std::max<std::uint64_t>(std::uint64_t{framesPerBlock} * bytesPerFrame, 1);
  const auto blocks = static_cast<std::uint32_t>(std::max<std::uint64_t>(kGroupBytes / bytesPerBlock, 1));
  return framesPerBlock * blocks;
}

bool holdsPlain16BitSamples(const OrvAudioStreamBasicDescription& format) {
  return format.isSignedInteger() && !format.isFloat() &&
         format.bytesPerFrame() == format.channelsPerFrame() * kBytesPerSample;
}

std::shared_ptr<OrvAudioStreamBasicDescription> analysisFormat(const OrvAudioStreamBasicDescription& source) {
  auto format = OrvAudioStreamBasicDescription::defaultStandardFileFormat();
  format->setSampleRate(source.sampleRate());
  format->setFormatFlags(kAudioFormatFlagIsSignedInteger | kAudioFormatFlagIsPacked |
                         (std::endian::native == std::endian::big ? kAudioFormatFlagIsBigEndian : 0));
  format->setChannelsPerFrame(source.channelsPerFrame());
  format->setBytesPerFrame(source.channelsPerFrame() * kBytesPerSample);
  format->setBytesPerPacket(format->bytesPerFrame());
  return format;
}

}  // namespace

BlockReader::BlockReader(OrvAudioFile& file, std::uint32_t framesPerBlock)
    : file_(file),
      channels_(file.channelsPerFrame()),
      framesPerGroup_(groupFrames(framesPerBlock, file.bytesPerFrame())),
      bytes_(std::size_t{framesPerGroup_} * file.bytesPerFrame()) {
  const auto format = file.fileStreamFormat();
  if (holdsPlain16BitSamples(*format)) {
    const bool isNative = format->isBigEndian() == (std::endian::native == std::endian::big);
    order_ = isNative ? simd::SampleOrder::native : simd::SampleOrder::swapped;
    return;
  }
  converter_ = OrvAudioConverter::initWithSourceFormat_destinationFormat(format, analysisFormat(*format));
  if (!converter_) {
    problem_ = "unsupported data format";
    return;
  }
  converted_.resize(std::size_t{framesPerGroup_} * channels_ * kBytesPerSample);
}

BlockReader::Group BlockReader::next() {
  auto length = static_cast<std::uint32_t>(bytes_.size());
  if (!file_.read_length_fromOffset(bytes_.data(), &length, offset_)) {
    if (file_.lastStatus() != kEndOfFileStatus) {
      problem_ = file_.lastProblem();
    }
    return {};
  }
  offset_ += length;
  const std::uint32_t frames = length / file_.bytesPerFrame();
  if (!converter_) {
    return {reinterpret_cast<const std::int16_t*>(bytes_.data()), frames};
  }
  auto produced = static_cast<std::uint32_t>(converted_.size());
  const OSStatus status = converter_->convertBuffer_inputBufferSize_outputBuffer_outputBufferSize(
      bytes_.data(), frames * file_.bytesPerFrame(), converted_.data(), &produced);
  if (status != noErr) {
    problem_ = describeStatus(status);
    return {};
  }
  return {reinterpret_cast<const std::int16_t*>(converted_.data()), produced / (channels_ * kBytesPerSample)};
}

}  // namespace orv
