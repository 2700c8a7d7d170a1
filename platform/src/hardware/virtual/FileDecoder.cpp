#include "hardware/virtual/FileDecoder.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "OrvPlatform/Log.h"
#include "hardware/virtual/Model.h"

namespace orv::virtualhardware {
namespace {

/// Bytes of a file that are read at once, give or take a packet.
constexpr std::uint32_t kBlockBytes = 65536;
constexpr std::size_t kDrainedFrames = 4096;

std::string problemWith(const std::string& path, OSStatus status) {
  const std::string why = audioFileProblem();
  return path + ": " + (why.empty() ? describeStatus(status) : why);
}

}  // namespace

std::unique_ptr<FileDecoder> FileDecoder::open(const std::string& path, double rate, std::uint32_t channels,
                                               std::string* problem) {
  std::unique_ptr<AudioFileSession> session;
  const OSStatus opened = audioFileService()->open(path, false, &session);
  if (opened != noErr || session == nullptr) {
    *problem = problemWith(path, opened);
    return nullptr;
  }
  const AudioStreamBasicDescription& format = session->format();
  const std::uint32_t convertedChannels = format.mChannelsPerFrame == 1 ? 1 : channels;
  std::unique_ptr<Converter> converter;
  const OSStatus made =
      converterService()->make(format, hardwaremodel::floatFormat(convertedChannels, rate), &converter);
  if (made != noErr || converter == nullptr || format.mBytesPerPacket == 0 || format.mFramesPerPacket == 0) {
    *problem = path + ": its format can't be played at " + formatText("%g Hz", rate);
    return nullptr;
  }
  return std::unique_ptr<FileDecoder>(
      new FileDecoder(std::move(session), std::move(converter), convertedChannels, channels));
}

FileDecoder::FileDecoder(std::unique_ptr<AudioFileSession> session, std::unique_ptr<Converter> converter,
                         std::uint32_t convertedChannels, std::uint32_t channels)
    : session_(std::move(session)),
      converter_(std::move(converter)),
      convertedChannels_(convertedChannels),
      channels_(channels) {
  const std::uint32_t packet = session_->format().mBytesPerPacket;
  packets_.resize(std::max<std::size_t>(kBlockBytes / packet, 1) * packet);
}

void FileDecoder::seek(std::int64_t frame) {
  const AudioStreamBasicDescription& format = session_->format();
  position_ = std::max<std::int64_t>(frame, 0) / format.mFramesPerPacket * format.mBytesPerPacket;
}

const std::vector<float>& FileDecoder::next(std::string* problem) {
  frames_.clear();
  while (frames_.empty() && !isDrained_) {
    const auto bytes = static_cast<std::uint32_t>(readPackets(problem));
    if (bytes > 0) {
      convert(bytes, problem);
    } else {
      drain();
    }
  }
  return frames_;
}

/// Whole packets only: what is left of one at the end of a file that was cut off is no audio.
std::size_t FileDecoder::readPackets(std::string* problem) {
  auto count = static_cast<std::uint32_t>(packets_.size());
  const OSStatus status = session_->readBytes(position_, &count, packets_.data());
  if (status != noErr && status != kEndOfFileStatus) {
    *problem = describeStatus(status);
    return 0;
  }
  const std::uint32_t whole = count - count % session_->format().mBytesPerPacket;
  position_ += whole;
  return whole;
}

void FileDecoder::convert(std::uint32_t bytes, std::string* problem) {
  std::uint32_t size = bytes;
  std::uint32_t valueSize = sizeof size;
  OSStatus status = converter_->property(kAudioConverterPropertyCalculateOutputBufferSize, &valueSize, &size);
  if (status == noErr) {
    converted_.resize(size / sizeof(float));
    status = converter_->convert(packets_.data(), bytes, converted_.data(), &size);
  }
  if (status != noErr) {
    *problem = describeStatus(status);
    isDrained_ = true;
    return;
  }
  spread(size / sizeof(float));
}

/// The resampler's tail. A piece at a time, until there is none.
void FileDecoder::drain() {
  converted_.resize(kDrainedFrames * convertedChannels_);
  auto size = static_cast<std::uint32_t>(converted_.size() * sizeof(float));
  if (converter_->drain(converted_.data(), &size) != noErr || size == 0) {
    isDrained_ = true;
    return;
  }
  spread(size / sizeof(float));
}

void FileDecoder::spread(std::size_t samples) {
  if (convertedChannels_ == channels_) {
    frames_.assign(converted_.begin(), converted_.begin() + static_cast<std::ptrdiff_t>(samples));
    return;
  }
  frames_.resize(samples * channels_);
  for (std::size_t i = 0; i < samples; ++i) {
    std::fill_n(frames_.begin() + static_cast<std::ptrdiff_t>(i * channels_), channels_, converted_[i]);
  }
}

}  // namespace orv::virtualhardware
