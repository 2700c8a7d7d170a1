#include <algorithm>
#include <cmath>

#include "hardware/model/Property.h"

namespace orv::hardwaremodel {
namespace {

using Place = PropertyPlace;
using Write = PropertyWrite;

const ControlState* volumeAt(const Place& at) {
  const ControlState* const control = at.section.control(at.channel);
  return control != nullptr && control->hasVolume ? control : nullptr;
}

const ControlState* muteAt(const Place& at) {
  const ControlState* const control = at.section.control(at.channel);
  return control != nullptr && control->hasMute ? control : nullptr;
}

bool isWritable(const Place& at) {
  const ControlState* const control = at.section.control(at.channel);
  return control != nullptr && control->isWritable;
}

OSStatus readScalar(const Place& at, Answer& to) {
  const ControlState* const volume = volumeAt(at);
  return volume == nullptr ? kAudioHardwareUnknownPropertyError : to.value(volume->scalar);
}

OSStatus readDecibels(const Place& at, Answer& to) {
  const ControlState* const volume = volumeAt(at);
  return volume == nullptr ? kAudioHardwareUnknownPropertyError : to.value(volume->decibels);
}

OSStatus readRange(const Place& at, Answer& to) {
  return volumeAt(at) == nullptr ? kAudioHardwareUnknownPropertyError
                                 : to.value(AudioValueRange{at.section.quietestDecibels, at.section.loudestDecibels});
}

OSStatus readScalarToDecibels(const Place& at, Answer& to) {
  return volumeAt(at) == nullptr
             ? kAudioHardwareUnknownPropertyError
             : to.translated<float>([&](float scalar) { return at.section.decibelsOfScalar(scalar); });
}

OSStatus readDecibelsToScalar(const Place& at, Answer& to) {
  return volumeAt(at) == nullptr
             ? kAudioHardwareUnknownPropertyError
             : to.translated<float>([&](float decibels) { return at.section.scalarOfDecibels(decibels); });
}

/// Both forms of a volume are the same control, so both are told.
OSStatus setVolume(const Write& to, float scalar, float decibels) {
  ControlState* const control = to.section.control(to.channel);
  if (control->scalar != scalar || control->decibels != decibels) {
    control->scalar = scalar;
    control->decibels = decibels;
    to.tell(kAudioDevicePropertyVolumeScalar);
    to.tell(kAudioDevicePropertyVolumeDecibels);
  }
  return noErr;
}

OSStatus writeScalar(const Write& to) {
  const auto scalar = to.value<float>();
  if (std::isnan(scalar)) {
    return kAudioHardwareIllegalOperationError;
  }
  return setVolume(to, std::clamp(scalar, 0.0F, 1.0F), to.section.decibelsOfScalar(scalar));
}

OSStatus writeDecibels(const Write& to) {
  const auto decibels = to.value<float>();
  if (std::isnan(decibels)) {
    return kAudioHardwareIllegalOperationError;
  }
  return setVolume(to, to.section.scalarOfDecibels(decibels),
                   std::clamp(decibels, to.section.quietestDecibels, to.section.loudestDecibels));
}

OSStatus readMute(const Place& at, Answer& to) {
  const ControlState* const mute = muteAt(at);
  return mute == nullptr ? kAudioHardwareUnknownPropertyError : to.flag(mute->isMuted);
}

OSStatus writeMute(const Write& to) {
  ControlState* const control = to.section.control(to.channel);
  if (control->isMuted != to.flag()) {
    control->isMuted = to.flag();
    to.tell(kAudioDevicePropertyMute);
  }
  return noErr;
}

OSStatus readPlayThru(const Place& at, Answer& to) {
  return at.section.isInput && at.device.hasPlayThru ? to.flag(at.device.playsThru)
                                                     : kAudioHardwareUnknownPropertyError;
}

OSStatus writePlayThru(const Write& to) {
  if (to.device.playsThru != to.flag()) {
    to.device.playsThru = to.flag();
    to.tell(kAudioDevicePropertyPlayThru);
  }
  return noErr;
}

constexpr DeviceProperty kProperties[] = {
    {kAudioDevicePropertyVolumeScalar, Scope::sectionChannel, readScalar, writeScalar, isWritable},
    {kAudioDevicePropertyVolumeDecibels, Scope::sectionChannel, readDecibels, writeDecibels, isWritable},
    {kAudioDevicePropertyVolumeRangeDecibels, Scope::sectionChannel, readRange},
    {kAudioDevicePropertyVolumeScalarToDecibels, Scope::sectionChannel, readScalarToDecibels},
    {kAudioDevicePropertyVolumeDecibelsToScalar, Scope::sectionChannel, readDecibelsToScalar},
    {kAudioDevicePropertyMute, Scope::sectionChannel, readMute, writeMute, isWritable},
    {kAudioDevicePropertyPlayThru, Scope::firstChannel, readPlayThru, writePlayThru},
};

}  // namespace

std::span<const DeviceProperty> controlProperties() {
  return kProperties;
}

}  // namespace orv::hardwaremodel
