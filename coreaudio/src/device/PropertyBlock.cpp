#include "device/PropertyBlock.h"

#include <atomic>

#include "OrvCoreAudio/OrvAudioDeviceUtils.h"
#include "OrvPlatform/Log.h"

namespace {

/// No property comes near this. More is a mistake of who answers for it, and not worth the memory.
constexpr std::uint32_t kMostBytes = 64U << 20;

/// Fills a block of the announced size with `get(&size, bytes)`. A value that has grown since does not fit and is
/// refused; of one that has shrunk there is only what was filled in.
template <typename Get>
OSStatus fill(std::uint32_t announcedSize, PropertyBlock* block, const Get& get) {
  if (announcedSize > kMostBytes) {
    return kAudioHardwareBadPropertySizeError;
  }
  PropertyBlock read(announcedSize);
  if (!read) {
    return kOutOfMemoryStatus;
  }
  std::uint32_t size = announcedSize;
  const OSStatus status = get(&size, read.bytes());
  if (status == noErr) {
    read.shrinkTo(size);
    *block = std::move(read);
  }
  return status;
}

/// The exported status is a plain number that every thread writes. The framework's own threads do so without a race,
/// and never take a decision by it: it may be another thread's already.
OSStatus keepLastError(OSStatus status) {
  std::atomic_ref<OSStatus>(___lastError).store(status, std::memory_order_relaxed);
  return status;
}

void logReadFailure(const char* what, OSStatus status, std::uint32_t propertyID) {
  orv::logf("%s: %s", what, OrvAudioDeviceUtils::errorMessage_forProperty(status, propertyID).c_str());
}

}  // namespace

OSStatus readHardwarePropertySize(AudioHardwarePropertyID propertyID, std::uint32_t* size) {
  *size = 0;
  const OSStatus status = keepLastError(AudioHardwareGetPropertyInfo(propertyID, size, nullptr));
  if (status != noErr) {
    *size = 0;
    logReadFailure("ERR READ HW PROP SIZE", status, propertyID);
  }
  return status;
}

OSStatus readDevicePropertySize(AudioDeviceID device, AudioDevicePropertyID propertyID, std::uint32_t channel,
                                bool isInput, std::uint32_t* size) {
  *size = 0;
  const OSStatus status =
      keepLastError(AudioDeviceGetPropertyInfo(device, channel, isInput, propertyID, size, nullptr));
  if (status != noErr) {
    *size = 0;
  }
  return status;
}

PropertyBlock readHardwareProperty(AudioHardwarePropertyID propertyID) {
  PropertyBlock block;
  std::uint32_t announced = 0;
  if (readHardwarePropertySize(propertyID, &announced) != noErr) {
    return block;
  }
  const OSStatus status = keepLastError(fill(announced, &block, [&](std::uint32_t* size, void* bytes) {
    return AudioHardwareGetProperty(propertyID, size, bytes);
  }));
  if (status != noErr) {
    logReadFailure("ERR READ HW PROP", status, propertyID);
  }
  return block;
}

PropertyBlock readDeviceProperty(AudioDeviceID device, AudioDevicePropertyID propertyID, std::uint32_t channel,
                                 bool isInput) {
  PropertyBlock block;
  std::uint32_t announced = 0;
  if (readDevicePropertySize(device, propertyID, channel, isInput, &announced) != noErr) {
    return block;
  }
  if (announced == 0) {
    orv::logf("Property (%s) value size is 0", OrvAudioDeviceUtils::propertyName(propertyID).c_str());
    return block;
  }
  keepLastError(fill(announced, &block, [&](std::uint32_t* size, void* bytes) {
    return AudioDeviceGetProperty(device, channel, isInput, propertyID, size, bytes);
  }));
  return block;
}

OSStatus fetchHardwareProperty(AudioHardwarePropertyID propertyID, PropertyBlock* block) {
  std::uint32_t announced = 0;
  const OSStatus status = AudioHardwareGetPropertyInfo(propertyID, &announced, nullptr);
  return status != noErr ? status : fill(announced, block, [&](std::uint32_t* size, void* bytes) {
    return AudioHardwareGetProperty(propertyID, size, bytes);
  });
}

PropertyBlock readStreamProperty(AudioStreamID stream, AudioStreamPropertyID propertyID, std::uint32_t channel) {
  PropertyBlock block;
  std::uint32_t announced = 0;
  if (AudioStreamGetPropertyInfo(stream, channel, propertyID, &announced, nullptr) == noErr) {
    fill(announced, &block, [&](std::uint32_t* size, void* bytes) {
      return AudioStreamGetProperty(stream, channel, propertyID, size, bytes);
    });
  }
  return block;
}
