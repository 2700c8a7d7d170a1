#include "Picture.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>

#include "Failure.h"
#include "Interruption.h"
#include "OrvCoreAudio/OrvAudioConverter.h"
#include "OrvPlatform/Vector.h"

namespace orv::cli {
namespace {

constexpr std::uint64_t kBlockBytes = 0x40000;

std::shared_ptr<OrvAudioStreamBasicDescription> nativeFloat(double sampleRate, std::uint32_t channels) {
  AudioStreamBasicDescription record{};
  record.mSampleRate = sampleRate;
  record.mFormatID = kAudioFormatLinearPCM;
  record.mFormatFlags = kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked;
  record.mBytesPerPacket = 4 * channels;
  record.mFramesPerPacket = 1;
  record.mBytesPerFrame = 4 * channels;
  record.mChannelsPerFrame = channels;
  record.mBitsPerChannel = 32;
  return OrvAudioStreamBasicDescription::initWithAudioStreamBasicDescription(&record);
}

// Hands out the recording as interleaved float frames, block after block.
class FloatBlocks {
 public:
  explicit FloatBlocks(const SourceFile& source)
      : source_(source), channels_(source.file->channelsPerFrame()), bytesPerFrame_(source.file->bytesPerFrame()) {
    converter_ = OrvAudioConverter::initWithSourceFormat_destinationFormat(
        source.file->fileStreamFormat(), nativeFloat(source.file->sampleRate(), channels_));
    if (!converter_) {
      throw Failure(source.path, "can't be drawn: its samples can't be converted");
    }
    const auto frames = static_cast<std::size_t>(std::max<std::uint64_t>(kBlockBytes / bytesPerFrame_, 1));
    bytes_.resize(frames * bytesPerFrame_);
    samples_.resize(frames * channels_);
  }

  std::uint32_t channels() const { return channels_; }
  const float* samples() const { return samples_.data(); }

  // The frames of the block that begins at `firstFrame`; none behind the end.
  std::size_t read(std::uint64_t firstFrame) {
    const std::uint64_t offset = firstFrame * bytesPerFrame_;
    const std::uint64_t left = source_.lengthInFrames * bytesPerFrame_ - offset;
    const auto wanted = static_cast<std::uint32_t>(std::min<std::uint64_t>(bytes_.size(), left));
    std::uint32_t length = wanted;
    if (!source_.file->read_length_fromOffset(bytes_.data(), &length, static_cast<std::int64_t>(offset)) ||
        length != wanted) {
      throw Failure(source_.path, problemOf(*source_.file));
    }
    auto produced = static_cast<std::uint32_t>(samples_.size() * sizeof(float));
    const OSStatus status = converter_->convertBuffer_inputBufferSize_outputBuffer_outputBufferSize(
        bytes_.data(), length, samples_.data(), &produced);
    if (status != noErr) {
      throw Failure(source_.path, describeStatus(status));
    }
    return length / bytesPerFrame_;
  }

 private:
  const SourceFile& source_;
  const std::uint32_t channels_;
  const std::uint32_t bytesPerFrame_;
  std::shared_ptr<OrvAudioConverter> converter_;
  std::vector<std::byte> bytes_;
  std::vector<float> samples_;
};

// Collects the ranges of the columns, one after the other.
class Columns {
 public:
  Columns(std::uint64_t frames, std::uint32_t channels, Picture* picture)
      : frames_(frames),
        count_(std::min<std::uint64_t>(frames, Picture::kMostColumns)),
        channels_(channels),
        picture_(picture) {
    picture->channels.resize(std::min<std::size_t>(channels, Picture::kMostChannels));
    startColumn();
  }

  // Takes the `count` frames that follow those taken before.
  void take(const float* samples, std::size_t count) {
    while (count > 0 && column_ < count_) {
      const std::size_t part = static_cast<std::size_t>(std::min<std::uint64_t>(count, columnEnd_ - position_));
      simd::widenRange(samples, part, channels_, minimum_.data(), maximum_.data());
      samples += part * channels_;
      count -= part;
      position_ += part;
      if (position_ == columnEnd_) {
        finishColumn();
      }
    }
  }

 private:
  void startColumn() {
    minimum_.assign(channels_, std::numeric_limits<float>::infinity());
    maximum_.assign(channels_, -std::numeric_limits<float>::infinity());
    columnEnd_ = count_ == 0 ? 0 : boundary(column_ + 1);
  }

  // frames * column / count without passing 64 bits.
  std::uint64_t boundary(std::uint64_t column) const {
    return frames_ / count_ * column + frames_ % count_ * column / count_;
  }

  void finishColumn() {
    for (std::size_t i = 0; i < picture_->channels.size(); ++i) {
      // A column that holds nothing but NaN is drawn as silence, an infinite sample as a very large one.
      constexpr float largest = std::numeric_limits<float>::max();
      const bool seen = minimum_[i] <= maximum_[i];
      Picture::Channel& channel = picture_->channels[i];
      channel.minimum.push_back(seen ? std::clamp(minimum_[i], -largest, largest) : 0);
      channel.maximum.push_back(seen ? std::clamp(maximum_[i], -largest, largest) : 0);
      picture_->peak = std::max({picture_->peak, std::abs(channel.minimum.back()), std::abs(channel.maximum.back())});
    }
    ++column_;
    startColumn();
  }

  const std::uint64_t frames_;
  const std::uint64_t count_;
  const std::uint32_t channels_;
  Picture* const picture_;
  std::uint64_t position_ = 0;  // in frames
  std::uint64_t column_ = 0;
  std::uint64_t columnEnd_ = 0;
  std::vector<float> minimum_;  // of the column under way, all channels of the file
  std::vector<float> maximum_;
};

}  // namespace

Picture gatherPicture(const SourceFile& source, const std::vector<Track>& tracks, ProgressBar& progress) {
  Picture picture;
  picture.name = std::filesystem::path(source.path).filename().string();
  picture.description = source.file->fileStreamFormat()->description();
  picture.sampleRate = source.file->sampleRate();
  picture.lengthInFrames = source.lengthInFrames;
  picture.channelsInFile = source.file->channelsPerFrame();
  picture.tracks = tracks;

  progress.begin("Drawing");
  FloatBlocks blocks(source);
  Columns columns(source.lengthInFrames, blocks.channels(), &picture);
  std::uint64_t frame = 0;
  while (frame < source.lengthInFrames) {
    stopIfInterrupted();
    const std::size_t count = blocks.read(frame);
    columns.take(blocks.samples(), count);
    frame += count;
    progress.update(static_cast<double>(frame) / static_cast<double>(source.lengthInFrames));
  }
  return picture;
}

}  // namespace orv::cli
