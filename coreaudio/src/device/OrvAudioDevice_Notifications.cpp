// What the hardware tells of changes, on its way to notifications on the main thread and to the delegate.
#include <algorithm>
#include <array>
#include <utility>

#include "OrvCoreAudio/OrvAudioDevice.h"
#include "OrvCoreAudio/OrvAudioDeviceDelegate.h"
#include "OrvCoreAudio/OrvAudioDeviceNotifications.h"
#include "OrvPlatform/Log.h"
#include "OrvPlatform/RunLoop.h"

namespace {

/// Names of the notifications for a property: of the input section and of the output section.
struct PropertyNotification {
  AudioDevicePropertyID property;
  const char* const* input;
  const char* const* output;
};

constexpr std::array<PropertyNotification, 13> kNotifications{{
    {kAudioDevicePropertyActualSampleRate, &OrvAudioDeviceActualSampleRateDidChangeNotification,
     &OrvAudioDeviceActualSampleRateDidChangeNotification},
    {kAudioDevicePropertyPreferredChannelsForStereo, &OrvAudioDevicePreferredChannelsForStereoDidChangeNotification,
     &OrvAudioDevicePreferredChannelsForStereoDidChangeNotification},
    {kAudioDevicePropertyAvailableNominalSampleRates, &OrvAudioDeviceAvailableNominalSampleRatesDidChangeNotification,
     &OrvAudioDeviceAvailableNominalSampleRatesDidChangeNotification},
    {kAudioDevicePropertyNominalSampleRate, &OrvAudioDeviceNominalSampleRateDidChangeNotification,
     &OrvAudioDeviceNominalSampleRateDidChangeNotification},
    {kAudioStreamPropertyPhysicalFormat, &OrvAudioDeviceStreamFormatDidChangeNotification,
     &OrvAudioDeviceStreamFormatDidChangeNotification},
    {kAudioDevicePropertyStreamFormat, &OrvAudioDeviceStreamFormatDidChangeNotification,
     &OrvAudioDeviceStreamFormatDidChangeNotification},
    {kAudioDevicePropertyStreamConfiguration, &OrvAudioDeviceStreamConfigurationDidChangeNotification,
     &OrvAudioDeviceStreamConfigurationDidChangeNotification},
    {kAudioDevicePropertyDataSources, &OrvAudioDeviceInputDataSourcesDidChangeNotification,
     &OrvAudioDeviceOutputDataSourcesDidChangeNotification},
    {kAudioDevicePropertyDataSource, &OrvAudioDeviceInputSourceDidChangeNotification,
     &OrvAudioDeviceOutputSourceDidChangeNotification},
    {kAudioDevicePropertyStreams, &OrvAudioDeviceStreamsDidChangeNotification,
     &OrvAudioDeviceStreamsDidChangeNotification},
    {kAudioDevicePropertyTransportType, &OrvAudioDeviceTransportTypeDidChangeNotification,
     &OrvAudioDeviceTransportTypeDidChangeNotification},
    {kAudioDevicePropertyVolumeDecibels, &OrvAudioDeviceInputVolumeDidChangeNotification,
     &OrvAudioDeviceOutputVolumeDidChangeNotification},
    {kAudioDevicePropertyVolumeScalar, &OrvAudioDeviceInputVolumeDidChangeNotification,
     &OrvAudioDeviceOutputVolumeDidChangeNotification},
}};

/// Null for a property whose changes nobody is told of.
const char* notificationFor(AudioDevicePropertyID property, bool isInput) {
  const auto* const found = std::find_if(kNotifications.begin(), kNotifications.end(),
                                         [&](const auto& entry) { return entry.property == property; });
  if (found == kNotifications.end()) {
    return nullptr;
  }
  return isInput ? *found->input : *found->output;
}

const char* notificationFor(AudioHardwarePropertyID property) {
  switch (property) {
    case kAudioHardwarePropertyDefaultOutputDevice:
      return OrvAudioHardwareDefaultOutputDeviceDidChangeNotification;
    case kAudioHardwarePropertyDevices:
      return OrvAudioHardwareDevicesDidChangeNotification;
    case kAudioHardwarePropertyDefaultInputDevice:
      return OrvAudioHardwareDefaultInputDeviceDidChangeNotification;
    default:
      return OrvAudioHardwarePropertyDidChangeNotification;
  }
}

/// Keeps the handling of one change of the hardware apart from the next.
std::mutex& hwMutexLock() {
  static auto* const lock = new std::mutex;
  return *lock;
}

void post(std::shared_ptr<void> receiver, const char* name, orv::LoopCall::Function perform) {
  orv::LoopCall call;
  call.receiver = std::move(receiver);
  call.name = name;
  call.perform = perform;
  orv::RunLoop::main().post(orv::LoopPriority::state, std::move(call));
}

}  // namespace

OSStatus OrvAudioDevice::devicePropertyCallback(AudioDeviceID /*device*/, std::uint32_t channel, bool isInput,
                                                AudioDevicePropertyID property, void* clientData) {
  if (const auto device = static_cast<OrvAudioDevice*>(clientData)->weak_from_this().lock()) {
    device->devicePropertyDidChange_forChannel_isInput(property, channel, isInput);
  }
  return noErr;
}

OSStatus OrvAudioDevice::hardwarePropertyCallback(AudioHardwarePropertyID property, void* clientData) {
  hardwarePropertyDidChange_clientData(property, clientData);
  return noErr;
}

void OrvAudioDevice::devicePropertyDidChange_forChannel_isInput(AudioDevicePropertyID property,
                                                                std::uint32_t /*channel*/, bool isInput) {
  if (property == kAudioDeviceProcessorOverload) {
    orv::logf("*** Audio Device: %s is overloaded!!!", description().c_str());
    return;
  }
  auto self = weak_from_this().lock();
  const char* const name = notificationFor(property, isInput);
  if (self != nullptr && name != nullptr) {
    post(std::move(self), name, [](const orv::LoopCall& made) {
      static_cast<OrvAudioDevice*>(made.receiver.get())->threadCallbackForDelegateMethods(made.name);
    });
  }
}

void OrvAudioDevice::hardwarePropertyDidChange_clientData(AudioHardwarePropertyID property, void* /*clientData*/) {
  {
    const std::lock_guard guard(hwMutexLock());
    if (property == kAudioHardwarePropertyDevices) {
      initializeListOfDevices();
    }
  }
  post(nullptr, notificationFor(property),
       [](const orv::LoopCall& made) { threadCallbackForHardwarePropertyChanges(made.name); });
}

void OrvAudioDevice::threadCallbackForDelegateMethods(const std::string& notificationName) {
  orv::NotificationCenter::defaultCenter().post(notificationName, shared_from_this());
}

void OrvAudioDevice::threadCallbackForHardwarePropertyChanges(const std::string& notificationName) {
  orv::NotificationCenter::defaultCenter().post(notificationName, classObject());
}

void OrvAudioDevice::setDelegate(const std::shared_ptr<OrvObject>& delegate) {
  std::shared_ptr<OrvObject> before = delegate;  // released when the lock is free again
  const std::lock_guard guard(subscriberLock);
  _delegate.swap(before);
}

std::shared_ptr<OrvObject> OrvAudioDevice::delegate() const {
  const std::lock_guard guard(subscriberLock);
  return _delegate;
}

void OrvAudioDevice::inputStreamFormatDidChange(const orv::Notification& notification) const {
  const auto object = delegate();
  if (auto* const told = dynamic_cast<OrvInputStreamFormatDelegate*>(object.get())) {
    told->inputStreamFormatDidChange(notification);
  }
}

void OrvAudioDevice::outputStreamFormatDidChange(const orv::Notification& notification) const {
  const auto object = delegate();
  if (auto* const told = dynamic_cast<OrvOutputStreamFormatDelegate*>(object.get())) {
    told->outputStreamFormatDidChange(notification);
  }
}

void OrvAudioDevice::inputDataSourceDidChange(const orv::Notification& notification) const {
  const auto object = delegate();
  if (auto* const told = dynamic_cast<OrvInputDataSourceDelegate*>(object.get())) {
    told->inputDataSourceDidChange(notification);
  }
}

void OrvAudioDevice::outputDataSourceDidChange(const orv::Notification& notification) const {
  const auto object = delegate();
  if (auto* const told = dynamic_cast<OrvOutputDataSourceDelegate*>(object.get())) {
    told->outputDataSourceDidChange(notification);
  }
}

void OrvAudioDevice::inputVolumeDidChange(const orv::Notification& notification) const {
  const auto object = delegate();
  if (auto* const told = dynamic_cast<OrvInputVolumeDelegate*>(object.get())) {
    told->inputVolumeDidChange(notification);
  }
}

void OrvAudioDevice::outputVolumeDidChange(const orv::Notification& notification) const {
  const auto object = delegate();
  if (auto* const told = dynamic_cast<OrvOutputVolumeDelegate*>(object.get())) {
    told->outputVolumeDidChange(notification);
  }
}
