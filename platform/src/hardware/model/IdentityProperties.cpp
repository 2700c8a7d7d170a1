#include "hardware/model/Property.h"

namespace orv::hardwaremodel {
namespace {

using Place = PropertyPlace;

constexpr DeviceProperty kProperties[] = {
    {kAudioDevicePropertyDeviceUID, Scope::device, [](const Place& at, Answer& to) { return to.text(at.device.uid); }},
    {kAudioDevicePropertyDeviceName, Scope::device,
     [](const Place& at, Answer& to) { return to.text(at.device.name); }},
    {kAudioDevicePropertyDeviceNameCFString, Scope::device,
     [](const Place& at, Answer& to) { return to.text(at.device.name); }},
    {kAudioDevicePropertyDeviceManufacturer, Scope::device,
     [](const Place& at, Answer& to) { return to.text(at.device.manufacturer); }},
    {kAudioDevicePropertyDeviceManufacturerCFString, Scope::device,
     [](const Place& at, Answer& to) { return to.text(at.device.manufacturer); }},
    {kAudioDevicePropertyTransportType, Scope::device,
     [](const Place& at, Answer& to) { return to.value(at.device.transport); }},
    // A device that is not alive answers nothing at all.
    {kAudioDevicePropertyDeviceIsAlive, Scope::device, [](const Place&, Answer& to) { return to.flag(true); }},
    {kAudioDevicePropertyDeviceIsRunning, Scope::device,
     [](const Place& at, Answer& to) { return to.flag(at.device.isRunning); }},
    {kAudioDevicePropertyDeviceIsRunningSomewhere, Scope::device,
     [](const Place& at, Answer& to) { return to.flag(at.device.isRunningSomewhere); }},
    {kAudioDevicePropertyDeviceCanBeDefaultDevice, Scope::device,
     [](const Place& at, Answer& to) { return to.flag(at.device.canBeDefault); }},
    {kAudioDevicePropertyDeviceCanBeDefaultSystemDevice, Scope::device,
     [](const Place& at, Answer& to) { return to.flag(at.device.canBeSystemDefault); }},
    {kAudioDevicePropertySupportsMixing, Scope::device,
     [](const Place& at, Answer& to) { return to.flag(at.device.supportsMixing); }},
};

}  // namespace

std::span<const DeviceProperty> identityProperties() {
  return kProperties;
}

}  // namespace orv::hardwaremodel
