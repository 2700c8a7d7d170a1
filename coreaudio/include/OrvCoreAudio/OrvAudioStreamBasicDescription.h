#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "OrvCoreAudio/OrvObject.h"
#include "OrvPlatform/AudioTypes.h"

/// The framework's one description of a stream of audio: owns a copy of the platform record
/// `AudioStreamBasicDescription`. Devices, files, recorder, players and converters pass formats around as this object.
///
/// Nothing is validated: a format of 0 channels can be described, and is reported as such. One thread at a time.
class ORV_API OrvAudioStreamBasicDescription : public OrvObject {
 public:
  /// All fields 0.
  static std::shared_ptr<OrvAudioStreamBasicDescription> init();
  /// A copy of `*record`; null leaves all fields 0.
  static std::shared_ptr<OrvAudioStreamBasicDescription> initWithAudioStreamBasicDescription(
      const AudioStreamBasicDescription* record);

  /// Linear PCM formats, interleaved, big-endian: index 0 to 2 are 48,000 Hz stereo as 32-bit float, 20 bits in 3 bytes
  /// and 16 bits; 3 to 5 the same at 44,100 Hz; 6 is 22,050 Hz stereo 16 bits; 7 is 11,025 Hz stereo 8 bits; 8 and 9
  /// are mono 8 bits at 11,025 and 8,000 Hz. Null for any other index.
  static std::shared_ptr<OrvAudioStreamBasicDescription> standardFormat(int index);
  /// 44,100 Hz, stereo, 16-bit signed big-endian integer: what recordings are made of.
  static std::shared_ptr<OrvAudioStreamBasicDescription> defaultStandardFileFormat();
  /// 44,100 Hz, stereo, 32-bit float in host byte order.
  static std::shared_ptr<OrvAudioStreamBasicDescription> defaultStandardDeviceFormat();
  /// Sets the flags to float and packed, whatever the sample type: meant only for float formats. Returns `format`.
  static std::shared_ptr<OrvAudioStreamBasicDescription> makeNative(
      std::shared_ptr<OrvAudioStreamBasicDescription> format);

  /// A `malloc`ed copy of the record that the caller frees with `std::free`; null when there is no memory.
  AudioStreamBasicDescription* audioStreamBasicDescription() const;

  double sampleRate() const { return record_.mSampleRate; }  ///< Hz
  void setSampleRate(double rate) { record_.mSampleRate = rate; }
  std::uint32_t formatID() const { return record_.mFormatID; }
  void setFormatID(std::uint32_t formatID) { record_.mFormatID = formatID; }
  std::uint32_t formatFlags() const { return record_.mFormatFlags; }
  void setFormatFlags(std::uint32_t flags) { record_.mFormatFlags = flags; }
  std::uint32_t bytesPerPacket() const { return record_.mBytesPerPacket; }
  void setBytesPerPacket(std::uint32_t bytes) { record_.mBytesPerPacket = bytes; }
  std::uint32_t framesPerPacket() const { return record_.mFramesPerPacket; }
  void setFramesPerPacket(std::uint32_t frames) { record_.mFramesPerPacket = frames; }
  std::uint32_t bytesPerFrame() const { return record_.mBytesPerFrame; }
  void setBytesPerFrame(std::uint32_t bytes) { record_.mBytesPerFrame = bytes; }
  std::uint32_t channelsPerFrame() const { return record_.mChannelsPerFrame; }
  void setChannelsPerFrame(std::uint32_t channels) { record_.mChannelsPerFrame = channels; }
  std::uint32_t bitsPerChannel() const { return record_.mBitsPerChannel; }
  void setBitsPerChannel(std::uint32_t bits) { record_.mBitsPerChannel = bits; }
  std::uint32_t reserved() const { return record_.mReserved; }

  /// Each looks at one bit of the flags' low byte.
  bool isFloat() const { return hasFlag(kAudioFormatFlagIsFloat); }
  bool isBigEndian() const { return hasFlag(kAudioFormatFlagIsBigEndian); }
  bool isSignedInteger() const { return hasFlag(kAudioFormatFlagIsSignedInteger); }
  bool isPacked() const { return hasFlag(kAudioFormatFlagIsPacked); }
  bool isAlignedHigh() const { return hasFlag(kAudioFormatFlagIsAlignedHigh); }
  bool isNonInterleaved() const { return hasFlag(kAudioFormatFlagIsNonInterleaved); }

  /// Name of the format ID: "Linear PCM".
  std::string formatIDName() const;
  /// "44100Hz, stereo, 16 bits".
  std::string description() const override;
  /// One line for each flag that is set among the low byte's six: two tabs, its name, a newline.
  std::string printStreamFormatFlagNames() const;
  /// One line for each field.
  std::string debugDescription() const;

  /// Every field but the reserved word is the same. False for an object of another class.
  bool isEqual(const std::shared_ptr<const OrvObject>& other) const override;
  /// Whether `text` is this format's short description: formats that differ only in what it does not tell are equal.
  bool isEqualToString(const std::optional<std::string>& text) const;

 protected:
  OrvAudioStreamBasicDescription() = default;

 private:
  bool hasFlag(std::uint32_t flag) const { return (record_.mFormatFlags & flag) != 0; }

  AudioStreamBasicDescription record_{};
};

/// Prints a bare record to standard output between rule lines, under `label`. The format ID is printed as its bytes lie
/// in memory, up to the first zero byte in the record. For debugging.
extern "C" ORV_API void D_PrintStreamDesc(const AudioStreamBasicDescription* record, const char* label);
