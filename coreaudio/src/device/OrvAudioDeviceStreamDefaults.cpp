#include "OrvCoreAudio/OrvAudioDeviceStreamDefaults.h"

OrvAudioDeviceStreamDefaults::~OrvAudioDeviceStreamDefaults() = default;

std::shared_ptr<OrvAudioStreamBasicDescription> OrvAudioDeviceStreamDefaults::defaultFormat(bool isInput) const {
  auto format = actualStreamFormat_isInput(0, isInput);
  return format ? format : OrvAudioStreamBasicDescription::init();
}

double OrvAudioDeviceStreamDefaults::sampleRate(bool isInput) const {
  return defaultFormat(isInput)->sampleRate();
}

std::uint32_t OrvAudioDeviceStreamDefaults::formatID(bool isInput) const {
  return defaultFormat(isInput)->formatID();
}

std::string OrvAudioDeviceStreamDefaults::formatIDName(bool isInput) const {
  return defaultFormat(isInput)->formatIDName();
}

std::uint32_t OrvAudioDeviceStreamDefaults::formatFlags(bool isInput) const {
  return defaultFormat(isInput)->formatFlags();
}

std::uint32_t OrvAudioDeviceStreamDefaults::bytesPerPacket(bool isInput) const {
  return defaultFormat(isInput)->bytesPerPacket();
}

std::uint32_t OrvAudioDeviceStreamDefaults::framesPerPacket(bool isInput) const {
  return defaultFormat(isInput)->framesPerPacket();
}

std::uint32_t OrvAudioDeviceStreamDefaults::bytesPerFrame(bool isInput) const {
  return defaultFormat(isInput)->bytesPerFrame();
}

std::uint32_t OrvAudioDeviceStreamDefaults::channelsPerFrame(bool isInput) const {
  return defaultFormat(isInput)->channelsPerFrame();
}

std::uint32_t OrvAudioDeviceStreamDefaults::bitsPerChannel(bool isInput) const {
  return defaultFormat(isInput)->bitsPerChannel();
}
