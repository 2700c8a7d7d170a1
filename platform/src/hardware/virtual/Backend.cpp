#include "hardware/virtual/Backend.h"

#include <algorithm>
#include <cmath>

namespace orv::virtualhardware {
namespace {

/// IDs that are given out begin here; streams well above devices, so that a mix-up shows.
constexpr AudioDeviceID kFirstDevice = 0x100;
constexpr AudioStreamID kFirstStream = 0x10000;

constexpr double kMostDrift = 5e5;                     // parts per million
constexpr std::uint64_t kMostJitter = 10'000'000'000;  // nanoseconds

VirtualHardwareOptions sensible(VirtualHardwareOptions options) {
  const bool isSensible = options.acceleration >= kSlowestClock && options.acceleration <= kFastestClock;
  options.acceleration = isSensible ? options.acceleration : 1.0;
  return options;
}

}  // namespace

Backend::Backend(const VirtualHardwareOptions& options) : lastDevice_(kFirstDevice - 1), lastStream_(kFirstStream - 1) {
  surroundings_.options = sensible(options);
}

Backend::~Backend() {
  collectGone();
  for (const DevicePointer& device : state_.devices()) {
    device->close();
  }
}

void Backend::setEvents(HardwareEvents* events) {
  surroundings_.events = events;
}

Backend::DevicePointer Backend::find(AudioDeviceID id) {
  const std::lock_guard guard(listMutex_);
  return state_.device(id);
}

Backend::DevicePointer Backend::findByStream(AudioStreamID id) {
  const std::lock_guard guard(listMutex_);
  return state_.deviceOfStream(id);
}

Backend::DevicePointer Backend::findByUID(const std::string& uid) {
  const std::lock_guard guard(listMutex_);
  return state_.deviceForUID(uid);
}

void Backend::tell(const HardwareChanges& changes) const {
  for (const AudioHardwarePropertyID change : changes) {
    surroundings_.tellHardware(change);
  }
}

OSStatus Backend::hardwarePropertyInfo(AudioHardwarePropertyID property, std::uint32_t* size, bool* isWritable) {
  const std::lock_guard guard(listMutex_);
  Answer answer(size);
  *isWritable = HardwareState::isWritable(property);
  return state_.read(property, answer);
}

OSStatus Backend::hardwareProperty(AudioHardwarePropertyID property, std::uint32_t* size, void* data) {
  const std::lock_guard guard(listMutex_);
  Answer answer(size, data);
  return state_.read(property, answer);
}

OSStatus Backend::setHardwareProperty(AudioHardwarePropertyID property, std::uint32_t size, const void* data) {
  const std::lock_guard guard(listMutex_);
  HardwareChanges changes;
  const OSStatus status = state_.write(property, size, data, changes);
  tell(changes);
  return status;
}

OSStatus Backend::devicePropertyInfo(AudioDeviceID device, std::uint32_t channel, bool isInput,
                                     AudioDevicePropertyID property, std::uint32_t* size, bool* isWritable) {
  const auto found = find(device);
  return found == nullptr ? kAudioHardwareBadDeviceError
                          : found->propertyInfo(channel, isInput, property, size, isWritable);
}

OSStatus Backend::deviceProperty(AudioDeviceID device, std::uint32_t channel, bool isInput,
                                 AudioDevicePropertyID property, std::uint32_t* size, void* data) {
  const auto found = find(device);
  return found == nullptr ? kAudioHardwareBadDeviceError : found->property(channel, isInput, property, size, data);
}

OSStatus Backend::setDeviceProperty(AudioDeviceID device, std::uint32_t channel, bool isInput,
                                    AudioDevicePropertyID property, std::uint32_t size, const void* data) {
  const auto found = find(device);
  return found == nullptr ? kAudioHardwareBadDeviceError : found->setProperty(channel, isInput, property, size, data);
}

OSStatus Backend::streamPropertyInfo(AudioStreamID stream, std::uint32_t channel, AudioStreamPropertyID property,
                                     std::uint32_t* size, bool* isWritable) {
  const auto found = findByStream(stream);
  return found == nullptr ? kAudioHardwareBadStreamError
                          : found->streamPropertyInfo(stream, channel, property, size, isWritable);
}

OSStatus Backend::streamProperty(AudioStreamID stream, std::uint32_t channel, AudioStreamPropertyID property,
                                 std::uint32_t* size, void* data) {
  const auto found = findByStream(stream);
  return found == nullptr ? kAudioHardwareBadStreamError : found->streamProperty(stream, channel, property, size, data);
}

OSStatus Backend::setStreamProperty(AudioStreamID stream, std::uint32_t channel, AudioStreamPropertyID property,
                                    std::uint32_t size, const void* data) {
  const auto found = findByStream(stream);
  return found == nullptr ? kAudioHardwareBadStreamError
                          : found->setStreamProperty(stream, channel, property, size, data);
}

OSStatus Backend::start(AudioDeviceID device, HardwareCycleSink* sink) {
  collectGone();
  endCyclesOfGone(device);
  const auto found = find(device);
  return found == nullptr ? kAudioHardwareBadDeviceError : found->start(sink);
}

OSStatus Backend::stop(AudioDeviceID device) {
  // In this order: a device that is not on the list any more is among those that are gone by then.
  const auto found = find(device);
  const OSStatus status = found == nullptr ? noErr : found->stop();
  endCyclesOfGone(device);
  collectGone();
  return status;
}

AudioDeviceID Backend::deviceForUID(const std::string& uid) {
  const auto found = findByUID(uid);
  return found == nullptr ? kAudioDeviceUnknown : found->id();
}

std::size_t Backend::step(std::size_t cycles) {
  if (surroundings_.options.clock != VirtualClock::byHand || CycleRunner::current() != nullptr) {
    return 0;
  }
  std::size_t made = 0;
  for (std::size_t i = 0; i < cycles; ++i) {
    std::vector<DevicePointer> devices;
    {
      const std::lock_guard guard(listMutex_);
      devices = state_.devices();
    }
    std::size_t inRound = 0;
    for (const DevicePointer& device : devices) {
      inRound += device->step() ? 1 : 0;
    }
    for (const DevicePointer& device : devices) {
      device->deliverLoopback();
      device->settle();
    }
    collectGone();
    if (inRound == 0) {
      break;
    }
    made += inRound;
  }
  return made;
}

std::size_t Backend::stepDevice(AudioDeviceID device, std::size_t cycles) {
  if (surroundings_.options.clock != VirtualClock::byHand || CycleRunner::current() != nullptr) {
    return 0;
  }
  std::size_t made = 0;
  for (; made < cycles; ++made) {
    const auto found = find(device);
    if (found == nullptr || !found->step()) {
      break;
    }
    found->deliverLoopback();
    found->settle();
  }
  collectGone();
  return made;
}

std::uint64_t Backend::cycles(AudioDeviceID device) {
  return counters_.cycles(device);
}

bool Backend::inputIsAtEnd(AudioDeviceID device) {
  const auto found = find(device);
  return found == nullptr || found->inputIsAtEnd();
}

void Backend::addFault(AudioDeviceID device, const VirtualFault& fault) {
  if (const auto found = find(device)) {
    found->faults().add(fault);
  }
}

void Backend::clearFaults(AudioDeviceID device) {
  if (const auto found = find(device)) {
    found->faults().clear();
  }
}

void Backend::overload(AudioDeviceID device) {
  if (const auto found = find(device)) {
    found->overload();
  }
}

void Backend::setJitter(AudioDeviceID device, std::uint64_t nanoseconds) {
  if (const auto found = find(device)) {
    found->setJitter(std::min(nanoseconds, kMostJitter));
  }
}

void Backend::setDrift(AudioDeviceID device, double partsPerMillion) {
  const auto found = find(device);
  if (found != nullptr && !std::isnan(partsPerMillion)) {
    found->setDrift(std::clamp(partsPerMillion, -kMostDrift, kMostDrift));
  }
}

OSStatus Backend::setNominalSampleRate(AudioDeviceID device, double rate) {
  const auto found = find(device);
  return found == nullptr ? kAudioHardwareBadDeviceError : found->setNominalRate(rate);
}

OSStatus Backend::setBufferFrameSize(AudioDeviceID device, std::uint32_t frames) {
  const auto found = find(device);
  return found == nullptr ? kAudioHardwareBadDeviceError : found->setFrames(frames);
}

OSStatus Backend::setJack(AudioDeviceID device, bool isInput, bool isConnected) {
  const auto found = find(device);
  return found == nullptr ? kAudioHardwareBadDeviceError : found->setJack(isInput, isConnected);
}

}  // namespace orv::virtualhardware
