#include <ctime>
#include <exception>
#include <memory>
#include <utility>

#include "HardwareCycleMark.h"
#include "HardwareService.h"
#include "OrvPlatform/AudioHardware.h"
#include "OrvPlatform/Log.h"

namespace {

using orv::DeviceCycles;
using orv::HardwareCycleMark;
using orv::HardwareNotifier;
using orv::HardwareService;

/// What a backend throws ends here.
template <typename Call>
OSStatus guarded(const char* name, const Call& call) noexcept {
  try {
    return call();
  } catch (const std::bad_alloc&) {
    orv::logf("%s: out of memory", name);
  } catch (const std::exception& failure) {
    orv::logf("%s: %s", name, failure.what());
  } catch (...) {
    orv::logf("%s failed", name);
  }
  return kAudioHardwareUnspecifiedError;
}

/// Somewhere to put what the caller does not want to know.
struct Info {
  std::uint32_t size = 0;
  bool isWritable = false;

  void giveTo(std::uint32_t* wantedSize, bool* wantedFlag) const {
    if (wantedSize != nullptr) {
      *wantedSize = size;
    }
    if (wantedFlag != nullptr) {
      *wantedFlag = isWritable;
    }
  }
};

template <typename Ask>
OSStatus getInfo(const char* name, std::uint32_t* size, bool* isWritable, const Ask& ask) {
  return guarded(name, [&] {
    Info info;
    const OSStatus status = ask(&info);
    if (status == noErr) {
      info.giveTo(size, isWritable);
    }
    return status;
  });
}

bool isNoRoom(const std::uint32_t* size, const void* data) {
  return size == nullptr || (data == nullptr && *size != 0);
}

HardwareNotifier& notifier() {
  return HardwareService::instance().notifier();
}

HardwareNotifier::Listener hardwareListener(AudioHardwarePropertyID property, AudioHardwarePropertyListenerProc proc,
                                            void* clientData) {
  HardwareNotifier::Listener listener;
  listener.hardwareProc = proc;
  listener.property = property;
  listener.clientData = clientData;
  return listener;
}

HardwareNotifier::Listener deviceListener(AudioDeviceID device, std::uint32_t channel, std::uint8_t section,
                                          AudioDevicePropertyID property, AudioDevicePropertyListenerProc proc,
                                          void* clientData) {
  HardwareNotifier::Listener listener;
  listener.deviceProc = proc;
  listener.device = device;
  listener.channel = channel;
  listener.section = section;
  listener.property = property;
  listener.clientData = clientData;
  return listener;
}

OSStatus stopNow(AudioDeviceID device, AudioDeviceIOProc proc, void* clientData) {
  const auto cycles = HardwareService::instance().existingCyclesOf(device);
  return cycles == nullptr ? kAudioHardwareIllegalOperationError : cycles->stop(proc, clientData);
}

OSStatus removeNow(AudioDeviceID device, AudioDeviceIOProc proc, void* clientData) {
  const auto cycles = HardwareService::instance().existingCyclesOf(device);
  if (cycles == nullptr) {
    return kAudioHardwareIllegalOperationError;
  }
  const OSStatus status = cycles->remove(proc, clientData);
  HardwareService::instance().dropUnused(device);
  return status;
}

/// In a cycle nothing can be waited for, least of all the cycle's own end: the proc is not called again, and the rest
/// is left to the notification thread.
template <OSStatus (*Now)(AudioDeviceID, AudioDeviceIOProc, void*)>
OSStatus endFromCycle(AudioDeviceID device, AudioDeviceIOProc proc, void* clientData) {
  if (DeviceCycles* const cycles = HardwareCycleMark::current(); cycles->device() == device) {
    cycles->cancel(proc, clientData);
  }
  orv::LoopCall call;
  call.receiver = std::shared_ptr<void>(std::shared_ptr<void>(), clientData);
  call.numbers[0] = device;
  call.numbers[1] = reinterpret_cast<std::uintptr_t>(proc);
  call.perform = [](const orv::LoopCall& handed) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): a function came as a number
    const auto handedProc = reinterpret_cast<AudioDeviceIOProc>(static_cast<std::uintptr_t>(handed.numbers[1]));
    guarded("AudioDeviceStop",
            [&] { return Now(static_cast<AudioDeviceID>(handed.numbers[0]), handedProc, handed.receiver.get()); });
  };
  notifier().handOver(std::move(call));
  return noErr;
}

}  // namespace

OSStatus AudioHardwareGetPropertyInfo(AudioHardwarePropertyID property, std::uint32_t* size, bool* isWritable) {
  return getInfo("AudioHardwareGetPropertyInfo", size, isWritable, [&](Info* info) {
    return orv::audioHardware()->hardwarePropertyInfo(property, &info->size, &info->isWritable);
  });
}

OSStatus AudioHardwareGetProperty(AudioHardwarePropertyID property, std::uint32_t* size, void* data) {
  if (isNoRoom(size, data)) {
    return kAudioHardwareBadPropertySizeError;
  }
  return guarded("AudioHardwareGetProperty",
                 [&] { return orv::audioHardware()->hardwareProperty(property, size, data); });
}

OSStatus AudioHardwareSetProperty(AudioHardwarePropertyID property, std::uint32_t size, const void* data) {
  if (isNoRoom(&size, data)) {
    return kAudioHardwareBadPropertySizeError;
  }
  return guarded("AudioHardwareSetProperty",
                 [&] { return orv::audioHardware()->setHardwareProperty(property, size, data); });
}

OSStatus AudioHardwareAddPropertyListener(AudioHardwarePropertyID property, AudioHardwarePropertyListenerProc proc,
                                          void* clientData) {
  if (proc == nullptr) {
    return kAudioHardwareIllegalOperationError;
  }
  return guarded("AudioHardwareAddPropertyListener", [&] {
    notifier().add(hardwareListener(property, proc, clientData));
    return noErr;
  });
}

OSStatus AudioHardwareRemovePropertyListener(AudioHardwarePropertyID property, AudioHardwarePropertyListenerProc proc,
                                             void* clientData) {
  return guarded("AudioHardwareRemovePropertyListener", [&] {
    notifier().remove(hardwareListener(property, proc, clientData));
    return noErr;
  });
}

OSStatus AudioDeviceGetPropertyInfo(AudioDeviceID device, std::uint32_t channel, bool isInput,
                                    AudioDevicePropertyID property, std::uint32_t* size, bool* isWritable) {
  return getInfo("AudioDeviceGetPropertyInfo", size, isWritable, [&](Info* info) {
    return orv::audioHardware()->devicePropertyInfo(device, channel, isInput, property, &info->size, &info->isWritable);
  });
}

OSStatus AudioDeviceGetProperty(AudioDeviceID device, std::uint32_t channel, bool isInput,
                                AudioDevicePropertyID property, std::uint32_t* size, void* data) {
  if (isNoRoom(size, data)) {
    return kAudioHardwareBadPropertySizeError;
  }
  return guarded("AudioDeviceGetProperty",
                 [&] { return orv::audioHardware()->deviceProperty(device, channel, isInput, property, size, data); });
}

OSStatus AudioDeviceSetProperty(AudioDeviceID device, const AudioTimeStamp* /*when*/, std::uint32_t channel,
                                bool isInput, AudioDevicePropertyID property, std::uint32_t size, const void* data) {
  if (isNoRoom(&size, data)) {
    return kAudioHardwareBadPropertySizeError;
  }
  return guarded("AudioDeviceSetProperty", [&] {
    return orv::audioHardware()->setDeviceProperty(device, channel, isInput, property, size, data);
  });
}

OSStatus AudioDeviceAddPropertyListener(AudioDeviceID device, std::uint32_t channel, std::uint8_t section,
                                        AudioDevicePropertyID property, AudioDevicePropertyListenerProc proc,
                                        void* clientData) {
  if (proc == nullptr) {
    return kAudioHardwareIllegalOperationError;
  }
  return guarded("AudioDeviceAddPropertyListener", [&] {
    bool isWritable = false;
    std::uint32_t size = 0;
    const OSStatus status = orv::audioHardware()->devicePropertyInfo(
        device, 0, false, kAudioDevicePropertyDeviceIsAlive, &size, &isWritable);
    if (status == kAudioHardwareBadDeviceError) {
      return status;
    }
    notifier().add(deviceListener(device, channel, section, property, proc, clientData));
    return noErr;
  });
}

OSStatus AudioDeviceRemovePropertyListener(AudioDeviceID device, std::uint32_t channel, std::uint8_t section,
                                           AudioDevicePropertyID property, AudioDevicePropertyListenerProc proc,
                                           void* clientData) {
  return guarded("AudioDeviceRemovePropertyListener", [&] {
    notifier().remove(deviceListener(device, channel, section, property, proc, clientData));
    return noErr;
  });
}

OSStatus AudioStreamGetPropertyInfo(AudioStreamID stream, std::uint32_t channel, AudioStreamPropertyID property,
                                    std::uint32_t* size, bool* isWritable) {
  return getInfo("AudioStreamGetPropertyInfo", size, isWritable, [&](Info* info) {
    return orv::audioHardware()->streamPropertyInfo(stream, channel, property, &info->size, &info->isWritable);
  });
}

OSStatus AudioStreamGetProperty(AudioStreamID stream, std::uint32_t channel, AudioStreamPropertyID property,
                                std::uint32_t* size, void* data) {
  if (isNoRoom(size, data)) {
    return kAudioHardwareBadPropertySizeError;
  }
  return guarded("AudioStreamGetProperty",
                 [&] { return orv::audioHardware()->streamProperty(stream, channel, property, size, data); });
}

OSStatus AudioStreamSetProperty(AudioStreamID stream, const AudioTimeStamp* /*when*/, std::uint32_t channel,
                                AudioStreamPropertyID property, std::uint32_t size, const void* data) {
  if (isNoRoom(&size, data)) {
    return kAudioHardwareBadPropertySizeError;
  }
  return guarded("AudioStreamSetProperty",
                 [&] { return orv::audioHardware()->setStreamProperty(stream, channel, property, size, data); });
}

OSStatus AudioDeviceAddIOProc(AudioDeviceID device, AudioDeviceIOProc proc, void* clientData) {
  if (proc == nullptr || orv::isInHardwareCycle()) {
    return kAudioHardwareIllegalOperationError;
  }
  return guarded("AudioDeviceAddIOProc", [&] {
    bool isWritable = false;
    std::uint32_t size = 0;
    const OSStatus status = orv::audioHardware()->devicePropertyInfo(
        device, 0, false, kAudioDevicePropertyDeviceIsAlive, &size, &isWritable);
    if (status == kAudioHardwareBadDeviceError) {
      return status;
    }
    OSStatus added = DeviceCycles::kRetiredStatus;
    while (added == DeviceCycles::kRetiredStatus) {
      added = HardwareService::instance().cyclesOf(device)->add(proc, clientData);
    }
    return added;
  });
}

OSStatus AudioDeviceRemoveIOProc(AudioDeviceID device, AudioDeviceIOProc proc, void* clientData) {
  if (orv::isInHardwareCycle()) {
    return endFromCycle<removeNow>(device, proc, clientData);
  }
  return guarded("AudioDeviceRemoveIOProc", [&] { return removeNow(device, proc, clientData); });
}

OSStatus AudioDeviceStart(AudioDeviceID device, AudioDeviceIOProc proc, void* clientData) {
  if (orv::isInHardwareCycle()) {
    return kAudioHardwareIllegalOperationError;
  }
  return guarded("AudioDeviceStart", [&] {
    const auto cycles = HardwareService::instance().existingCyclesOf(device);
    return cycles == nullptr ? kAudioHardwareIllegalOperationError : cycles->start(proc, clientData);
  });
}

OSStatus AudioDeviceStop(AudioDeviceID device, AudioDeviceIOProc proc, void* clientData) {
  if (orv::isInHardwareCycle()) {
    return endFromCycle<stopNow>(device, proc, clientData);
  }
  return guarded("AudioDeviceStop", [&] { return stopNow(device, proc, clientData); });
}

std::uint64_t AudioGetCurrentHostTime() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000'000 + static_cast<std::uint64_t>(now.tv_nsec);
}
