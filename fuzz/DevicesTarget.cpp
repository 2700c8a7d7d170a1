#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "OrvPlatform/FileManager.h"
#include "OrvPlatform/Log.h"
#include "OrvPlatform/VirtualHardware.h"
#include "Require.h"

/// Descriptions of virtual devices: whatever is understood can be asked for everything and makes cycles.
namespace {

/// Descriptions name files; none of them is the fuzzer's to read or write.
class NoFiles : public orv::FileManager {
 public:
  OSStatus open(const std::string&, orv::FileAccess, std::unique_ptr<orv::FileHandle>*) override {
    return kFileNotFoundStatus;
  }
  bool exists(const std::string&) override { return false; }
  std::optional<orv::FileAttributes> attributes(const std::string&) override { return std::nullopt; }
  OSStatus move(const std::string&, const std::string&) override { return kFileNotFoundStatus; }
  OSStatus copy(const std::string&, const std::string&) override { return kFileNotFoundStatus; }
  OSStatus remove(const std::string&) override { return kFileNotFoundStatus; }
  OSStatus replace(const std::string&, const std::string&) override { return kFileNotFoundStatus; }
  OSStatus setHFSCodes(const std::string&, const orv::HFSCodes&) override { return kFileNotFoundStatus; }
};

constexpr AudioDevicePropertyID kProperties[] = {kAudioDevicePropertyDeviceUID,
                                                 kAudioDevicePropertyDeviceNameCFString,
                                                 kAudioDevicePropertyStreams,
                                                 kAudioDevicePropertyStreamConfiguration,
                                                 kAudioDevicePropertyStreamFormat,
                                                 kAudioDevicePropertyStreamFormats,
                                                 kAudioDevicePropertyDataSources,
                                                 kAudioDevicePropertyVolumeScalar,
                                                 kAudioDevicePropertyNominalSampleRate,
                                                 kAudioDevicePropertyAvailableNominalSampleRates,
                                                 kAudioDevicePropertyPreferredChannelLayout,
                                                 kAudioDevicePropertyBufferSize};

class Silent : public orv::HardwareEvents {
 public:
  void hardwareChanged(AudioHardwarePropertyID) noexcept override {}
  void deviceChanged(AudioDeviceID, std::uint32_t, bool, AudioDevicePropertyID) noexcept override {}
};

void ask(orv::VirtualHardware& hardware, AudioDeviceID device) {
  static std::array<char, 1 << 16> room;
  for (const AudioDevicePropertyID property : kProperties) {
    for (const bool isInput : {true, false}) {
      std::uint32_t told = 0;
      bool isWritable = false;
      auto read = static_cast<std::uint32_t>(room.size());
      const OSStatus info = hardware.devicePropertyInfo(device, 0, isInput, property, &told, &isWritable);
      const OSStatus status = hardware.deviceProperty(device, 0, isInput, property, &read, room.data());
      orv::fuzz::require(status != noErr || (info == noErr && read == told),
                         "a property is as long as it was told to be");
    }
  }
}

void exercise(const std::string& text) {
  std::string problem;
  const auto hardware = orv::VirtualHardware::fromJSON(text, &problem);
  orv::fuzz::require((hardware == nullptr) != problem.empty(), "there is hardware or a problem");
  if (hardware == nullptr) {
    return;
  }
  static Silent events;
  hardware->setEvents(&events);
  std::array<AudioDeviceID, 1024> devices{};
  std::uint32_t size = sizeof devices;
  orv::fuzz::require(hardware->hardwareProperty(kAudioHardwarePropertyDevices, &size, devices.data()) == noErr,
                     "the devices can be listed");
  for (std::size_t i = 0; i < size / sizeof(AudioDeviceID); ++i) {
    ask(*hardware, devices[i]);
    hardware->unplug(devices[i]);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool isReady = [] {
    orv::installFileManager(std::make_shared<NoFiles>());
    orv::setLogSink([](std::string_view) {});
    return true;
  }();
  if (isReady) {
    exercise({reinterpret_cast<const char*>(data), size});
  }
  return 0;
}
