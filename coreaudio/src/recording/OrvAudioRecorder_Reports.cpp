// What a recorder and its file tell about themselves.
#include <cmath>

#include "OrvCoreAudio/OrvAudioRecorder.h"
#include "OrvPlatform/Log.h"

namespace {

constexpr const char* kNoText = "(null)";
constexpr double kMillisecondsPerSecond = 1000.0;

/// The first number that 64 bits do not hold.
constexpr double kEndOfMilliseconds = 18446744073709551616.0;

}  // namespace

template <typename Answer>
Answer OrvAudioRecorder::fileField(Answer (OrvAudioFile::*field)() const) const {
  const std::lock_guard saving(savingLock);
  return _audioFile != nullptr ? (_audioFile.get()->*field)() : Answer{};
}

std::shared_ptr<OrvAudioFile> OrvAudioRecorder::audioFile() const {
  const std::lock_guard saving(savingLock);
  return _audioFile;
}

std::optional<std::string> OrvAudioRecorder::audioFilePath() const {
  const std::lock_guard fields(fieldLock);
  return _audioFilePath;
}

OrvAudioRecorder::Device OrvAudioRecorder::inputDevice() const {
  const std::lock_guard fields(fieldLock);
  return _inputDevice;
}

AudioDeviceID OrvAudioRecorder::inputDeviceID() const {
  return inputDevice()->deviceID();
}

OrvAudioRecorder::Format OrvAudioRecorder::inputDeviceStreamFormat() const {
  const std::lock_guard fields(fieldLock);
  return _sourceFormat;
}

OrvAudioRecorder::Format OrvAudioRecorder::fileStreamFormat() const {
  return fileField(&OrvAudioFile::fileStreamFormat);
}

double OrvAudioRecorder::sampleRate() const {
  return fileField(&OrvAudioFile::sampleRate);
}

std::uint32_t OrvAudioRecorder::formatID() const {
  return fileField(&OrvAudioFile::formatID);
}

std::optional<std::string> OrvAudioRecorder::formatIDName() const {
  return fileField(&OrvAudioFile::formatIDName);
}

std::uint32_t OrvAudioRecorder::formatFlags() const {
  return fileField(&OrvAudioFile::formatFlags);
}

std::uint32_t OrvAudioRecorder::bytesPerPacket() const {
  return fileField(&OrvAudioFile::bytesPerPacket);
}

std::uint32_t OrvAudioRecorder::framesPerPacket() const {
  return fileField(&OrvAudioFile::framesPerPacket);
}

std::uint32_t OrvAudioRecorder::bytesPerFrame() const {
  return fileField(&OrvAudioFile::bytesPerFrame);
}

std::uint32_t OrvAudioRecorder::channelsPerFrame() const {
  return fileField(&OrvAudioFile::channelsPerFrame);
}

std::uint32_t OrvAudioRecorder::bitsPerChannel() const {
  return fileField(&OrvAudioFile::bitsPerChannel);
}

bool OrvAudioRecorder::moveToPath_handler(const std::string& newPath, orv::FileManagerHandler* handler) {
  const std::lock_guard saving(savingLock);
  return _audioFile != nullptr && _audioFile->moveToPath_handler(newPath, handler);
}

bool OrvAudioRecorder::copyToPath_handler(const std::string& newPath, orv::FileManagerHandler* handler) {
  const std::lock_guard saving(savingLock);
  return _audioFile != nullptr && _audioFile->copyToPath_handler(newPath, handler);
}

std::uint64_t OrvAudioRecorder::lengthInBytes() const {
  return recordedLengthInFrames * bytesPerFrame();
}

/// 0 where the file has no rate.
std::uint64_t OrvAudioRecorder::lengthInMilliSeconds() const {
  const double length = static_cast<double>(recordedLengthInFrames) / sampleRate() * kMillisecondsPerSecond;
  return std::isfinite(length) && length >= 0 && length < kEndOfMilliseconds ? static_cast<std::uint64_t>(length) : 0;
}

std::string OrvAudioRecorder::dumpDebugInfo() {
  using orv::formatText;
  std::string text = formatText("\n\nDebug information <OrvAudioRecorder: 0x%llX>:\n",
                                static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(this)));
  text += formatText("\nAudio File Path: %s\n", audioFilePath().value_or(kNoText).c_str());
  text += formatText("\n         inputDeviceID: 0x%X\n", inputDeviceID());
  text += formatText("\n        lengthInFrames: %u", lengthInFrames());
  text += formatText("\n         lengthInBytes: %llu", static_cast<unsigned long long>(lengthInBytes()));
  text += formatText("\n  lengthInMilliSeconds: %llu\n", static_cast<unsigned long long>(lengthInMilliSeconds()));
  text += formatText("\n            sampleRate: %f", sampleRate());
  text += formatText("\n              formatID: 0x%X", formatID());
  text += formatText("\n          formatIDName: %s", formatIDName().value_or(kNoText).c_str());
  text += formatText("\n           formatFlags: 0x%X", formatFlags());
  text += formatText("\n        bytesPerPacket: %u", bytesPerPacket());
  text += formatText("\n       framesPerPacket: %u", framesPerPacket());
  text += formatText("\n         bytesPerFrame: %u", bytesPerFrame());
  text += formatText("\n      channelsPerFrame: %u", channelsPerFrame());
  text += formatText("\n        bitsPerChannel: %u", bitsPerChannel());
  const std::lock_guard saving(savingLock);
  text += "\n\n" + (_audioFile != nullptr ? _audioFile->dumpDebugInfo() : kNoText);
  return text;
}
