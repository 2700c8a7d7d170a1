// What the player tells of its file, and positions in the file and on the device.
#include <algorithm>
#include <cinttypes>

#include "OrvCoreAudio/OrvAudioPlayer.h"
#include "OrvPlatform/Log.h"
#include "playback/ConvertedFrames.h"
#include "playback/FrameOffsets.h"

namespace {

double rateOf(const std::shared_ptr<OrvAudioStreamBasicDescription>& format) {
  return format != nullptr ? format->sampleRate() : 0.0;
}

double bytesOf(const std::shared_ptr<OrvAudioStreamBasicDescription>& format) {
  return format != nullptr ? format->bytesPerFrame() : 0.0;
}

}  // namespace

std::shared_ptr<OrvAudioStreamBasicDescription> OrvAudioPlayer::audioFileStreamFormat() const {
  return _audioFile != nullptr ? _audioFile->fileStreamFormat() : nullptr;
}

std::shared_ptr<OrvAudioStreamBasicDescription> OrvAudioPlayer::outputDeviceStreamFormat() const {
  constexpr bool kOutput = false;
  return _outputDevice != nullptr ? _outputDevice->actualStreamFormat_isInput(leftChannel, kOutput) : nullptr;
}

AudioDeviceID OrvAudioPlayer::outputDeviceID() const {
  return _outputDevice != nullptr ? _outputDevice->deviceID() : 0;
}

// Lengths are asked of the platform, which the filler reads from at the same time.

std::uint32_t OrvAudioPlayer::lengthInFrames() {
  return _audioFile == nullptr ? 0 : converted_->whileIdle([&] { return _audioFile->lengthInFrames(); });
}

std::uint64_t OrvAudioPlayer::lengthInBytes() {
  return _audioFile == nullptr ? 0 : converted_->whileIdle([&] { return _audioFile->lengthInBytes(); });
}

std::uint64_t OrvAudioPlayer::lengthInMilliSeconds() {
  return _audioFile == nullptr
             ? 0
             : static_cast<std::uint64_t>(converted_->whileIdle([&] { return _audioFile->lengthInMilliSeconds(); }));
}

double OrvAudioPlayer::sampleRate() const {
  return _audioFile != nullptr ? _audioFile->sampleRate() : 0.0;
}

std::uint32_t OrvAudioPlayer::formatID() const {
  return _audioFile != nullptr ? _audioFile->formatID() : 0;
}

std::optional<std::string> OrvAudioPlayer::formatIDName() const {
  return _audioFile != nullptr ? _audioFile->formatIDName() : std::nullopt;
}

std::uint32_t OrvAudioPlayer::formatFlags() const {
  return _audioFile != nullptr ? _audioFile->formatFlags() : 0;
}

std::uint32_t OrvAudioPlayer::bytesPerPacket() const {
  return _audioFile != nullptr ? _audioFile->bytesPerPacket() : 0;
}

std::uint32_t OrvAudioPlayer::framesPerPacket() const {
  return _audioFile != nullptr ? _audioFile->framesPerPacket() : 0;
}

std::uint32_t OrvAudioPlayer::bytesPerFrame() const {
  return _audioFile != nullptr ? _audioFile->bytesPerFrame() : 0;
}

std::uint32_t OrvAudioPlayer::channelsPerFrame() const {
  return _audioFile != nullptr ? _audioFile->channelsPerFrame() : 0;
}

std::uint32_t OrvAudioPlayer::bitsPerChannel() const {
  return _audioFile != nullptr ? _audioFile->bitsPerChannel() : 0;
}

std::uint32_t OrvAudioPlayer::calculateFileFrameOffset(std::uint32_t logicalFrame) const {
  return frameBySeconds(logicalFrame, rateOf(_deviceStreamFormat), rateOf(_fileStreamFormat));
}

std::uint32_t OrvAudioPlayer::calculateLogicalFrameOffset(std::uint32_t fileFrame) const {
  return frameBySeconds(fileFrame, rateOf(_fileStreamFormat), rateOf(_deviceStreamFormat));
}

std::int64_t OrvAudioPlayer::calculateFileByteOffset(std::int64_t logicalByte) const {
  const double seconds =
      static_cast<double>(logicalByte) / (rateOf(_deviceStreamFormat) * bytesOf(_deviceStreamFormat));
  return toFrameCount(seconds * rateOf(_fileStreamFormat) / bytesOf(_fileStreamFormat));
}

std::int64_t OrvAudioPlayer::calculateLogicalByteOffset(std::int64_t fileByte) const {
  const double seconds = static_cast<double>(fileByte) / (rateOf(_fileStreamFormat) * bytesOf(_fileStreamFormat));
  return toFrameCount(seconds * rateOf(_deviceStreamFormat) / bytesOf(_deviceStreamFormat));
}

std::uint32_t OrvAudioPlayer::exactLogicalFrame(std::uint32_t fileFrame) const {
  return frameAtRate(fileFrame, rateOf(_fileStreamFormat), rateOf(_deviceStreamFormat));
}

std::uint32_t OrvAudioPlayer::currentFrameOffset() {
  if (converted_ != nullptr) {
    converted_->clearEndOfFile();
  }
  return calculateFileFrameOffset(toFrameCount(static_cast<double>(_currentOffset)));
}

std::uint32_t OrvAudioPlayer::exactFrameOffset() const {
  const std::uint32_t logicalFrame = toFrameCount(static_cast<double>(_currentOffset));
  return std::min(frameAtRate(logicalFrame, rateOf(_deviceStreamFormat), rateOf(_fileStreamFormat)),
                  fileLengthInFrames);
}

bool OrvAudioPlayer::isConvertedAhead() const noexcept {
  return converted_ == nullptr || converted_->isAhead();
}

std::uint32_t OrvAudioPlayer::remainingFrames() {
  const std::uint32_t played = calculateFileFrameOffset(toFrameCount(static_cast<double>(_currentOffset)));
  const std::uint32_t length = lengthInFrames();
  return length - std::min(length, played);  // the last cycle may end behind the file
}

std::uint32_t OrvAudioPlayer::playOut() const {
  return calculateFileFrameOffset(_playOut);
}

std::string OrvAudioPlayer::dumpDebugInfo() {
  constexpr const char* kNoText = "(null)";
  using orv::formatText;
  return formatText("\n\nDebug information <OrvAudioPlayer: 0x%" PRIXPTR ">:\n",
                    reinterpret_cast<std::uintptr_t>(this)) +
         "\nAudio File Path: " + audioFilePath().value_or(kNoText) + "\n" +
         formatText("\n        outputDeviceID: 0x%X\n", outputDeviceID()) +
         formatText("\n        lengthInFrames: %u", lengthInFrames()) +
         formatText("\n         lengthInBytes: %" PRIu64, lengthInBytes()) +
         formatText("\n  lengthInMilliSeconds: %" PRIu64 "\n", lengthInMilliSeconds()) +
         formatText("\n    currentFrameOffset: %u", currentFrameOffset()) +
         formatText("\n       remainingFrames: %u", remainingFrames()) +
         formatText("\n            sampleRate: %f", sampleRate()) +
         formatText("\n              formatID: 0x%X", formatID()) +
         "\n          formatIDName: " + formatIDName().value_or(kNoText) +
         formatText("\n           formatFlags: 0x%X", formatFlags()) +
         formatText("\n        bytesPerPacket: %u", bytesPerPacket()) +
         formatText("\n       framesPerPacket: %u", framesPerPacket()) +
         formatText("\n         bytesPerFrame: %u", bytesPerFrame()) +
         formatText("\n      channelsPerFrame: %u", channelsPerFrame()) +
         formatText("\n        bitsPerChannel: %u", bitsPerChannel());
}
