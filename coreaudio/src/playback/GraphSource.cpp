#include "playback/GraphSource.h"

#include <algorithm>
#include <cstring>

namespace {

void silence(float* samples, std::size_t count) noexcept {
  std::fill_n(samples, count, 0.0F);
}

}  // namespace

std::shared_ptr<FilePlaybackInfo> FilePlaybackInfo::make(AudioFileID file, const AudioStreamBasicDescription& format) {
  if (file == nullptr || format.mBytesPerFrame == 0 || format.mChannelsPerFrame == 0 || format.mSampleRate <= 0) {
    return nullptr;
  }
  auto info = std::make_shared<FilePlaybackInfo>();
  info->mAudioFileId = file;
  info->mSourceFormat = format;
  info->floatFormat = format;
  info->floatFormat.mFormatFlags = kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked;
  info->floatFormat.mFormatID = kAudioFormatLinearPCM;
  info->floatFormat.mBitsPerChannel = 32;
  info->floatFormat.mBytesPerFrame = format.mChannelsPerFrame * static_cast<std::uint32_t>(sizeof(float));
  info->floatFormat.mBytesPerPacket = info->floatFormat.mBytesPerFrame;
  info->floatFormat.mFramesPerPacket = 1;
  if (AudioConverterNew(&info->mSourceFormat, &info->floatFormat, &info->mAudioConverter) != noErr) {
    return nullptr;
  }
  info->raw.resize(std::size_t{kMostFramesPerSlice} * format.mBytesPerFrame);
  info->mBuffer.resize(std::size_t{kMostFramesPerSlice} * format.mChannelsPerFrame);
  return info;
}

FilePlaybackInfo::~FilePlaybackInfo() {
  if (mAudioConverter != nullptr) {
    AudioConverterDispose(mAudioConverter);
  }
}

GraphSource::Supplied GraphSource::supply(float* heard, std::uint32_t frames, bool isStopped) const noexcept {
  const std::uint32_t channels = info->mSourceFormat.mChannelsPerFrame;
  if (feed == nullptr) {
    silence(heard, std::size_t{frames} * channels);
    return {frames, noErr, false};
  }
  const std::uint32_t position = feed->position();
  const bool isBehindRange = position >= playOut;
  const std::uint32_t wanted = !isExact ? frames : isBehindRange ? 0 : std::min(frames, playOut - position);
  // Asked before the frames: what comes in between counts as late.
  const bool hasEnded = feed->hasEnded();
  const std::uint32_t count = feed->peek(info->raw.data(), wanted);
  decode(heard, count);
  Supplied supplied{count, noErr, isBehindRange};
  if (count < wanted && !hasEnded) {
    // The disk is late: silence, and the frame that was due comes next.
    silence(heard + std::size_t{count} * channels, std::size_t{frames - count} * channels);
    supplied.frames = frames;
    supplied.isLate = true;
  } else if (count == 0) {
    supplied.status = kEndOfFileStatus;
    supplied.isAtEnd = true;
  }
  if (!isStopped && !supplied.isAtEnd) {
    feed->advance(count);
  }
  return supplied;
}

void GraphSource::decode(float* heard, std::uint32_t frames) const noexcept {
  const std::uint32_t channels = info->mSourceFormat.mChannelsPerFrame;
  const std::uint32_t frameBytes = info->mSourceFormat.mBytesPerFrame;
  const auto floatBytes = static_cast<std::uint32_t>(info->mBuffer.size() * sizeof(float));
  float* const converted = info->mBuffer.data();
  std::uint32_t size = floatBytes;
  if (frames == 0) {
    return;
  }
  if (AudioConverterConvertBuffer(info->mAudioConverter, frames * frameBytes, info->raw.data(), &size, converted) !=
      noErr) {
    silence(converted, std::size_t{frames} * channels);
    size = floatBytes;
  }
  std::uint32_t done = 0;
  if (processor != nullptr) {
    // The size of the floats by that of a frame of the file: so counted, a file of 64-bit samples has only half of each
    // slice processed, and one of 16 bits would have twice of it, beyond both buffers.
    done = std::min(size / frameBytes, frames);
    std::uint32_t processed = done;
    const bool isProcessed =
        processor->processAudio_outputBuffer_channelsPerFrame_numberOfFrames(converted, heard, channels, &processed);
    const std::uint32_t good = isProcessed ? std::min(processed, done) : 0;
    silence(heard + std::size_t{good} * channels, std::size_t{done - good} * channels);
  }
  const std::size_t offset = std::size_t{done} * channels;
  std::memcpy(heard + offset, converted + offset, std::size_t{frames - done} * channels * sizeof(float));
}
