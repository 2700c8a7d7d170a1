#include <CLI/CLI.hpp>
#include <memory>

#include "Commands.h"
#include "HardwareOptions.h"
#include "Json.h"
#include "OrvCoreAudio/OrvAudioDevice.h"
#include "OrvPlatform/Log.h"
#include "Table.h"
#include "Text.h"

namespace orv::cli {
namespace {

using Devices = std::vector<std::shared_ptr<OrvAudioDevice>>;

struct DevicesOptions {
  bool json = false;
  bool reports = false;
};

/// From 0 to 1; null for a channel without a control. Channel 0 is the master.
void appendVolume(JsonWriter* json, const OrvAudioDevice& device, std::uint32_t channel, bool isInput) {
  if (device.hasVolumeControl_isInput(channel, isInput)) {
    json->value(device.volumeScalar_isInput(channel, isInput));
  } else {
    json->null();
  }
}

/// Null where the direction has no mute.
void appendMute(JsonWriter* json, const OrvAudioDevice& device, bool isInput) {
  std::uint32_t isMuted = 0;
  std::uint32_t size = sizeof isMuted;
  if (AudioDeviceGetProperty(device.deviceID(), 0, isInput, kAudioDevicePropertyMute, &size, &isMuted) == noErr) {
    json->value(isMuted != 0);
  } else {
    json->null();
  }
}

void appendSection(JsonWriter* json, OrvAudioDevice& device, bool isInput) {
  json->key(isInput ? "input" : "output");
  if (!(isInput ? device.canBeInputDevice() : device.canBeOutputDevice())) {
    json->null();
    return;
  }
  json->beginObject();
  json->key("channels").value(device.numberOfChannels(isInput));
  json->key("sampleRate").value(device.nominalSampleRate(isInput));
  json->key("bufferFrameSize").value(device.bufferFrameSize(isInput));
  json->key("default").value(device.isDefaultDevice(isInput));
  json->key("muted");
  appendMute(json, device, isInput);
  json->key("masterVolume");
  appendVolume(json, device, 0, isInput);
  json->key("volumes").beginArray();
  for (std::uint32_t channel = 1; channel <= device.numberOfChannels(isInput); ++channel) {
    appendVolume(json, device, channel, isInput);
  }
  json->endArray();
  json->endObject();
}

void appendText(JsonWriter* json, const char* key, const std::optional<std::string>& text) {
  json->key(key);
  text ? json->value(*text) : json->null();
}

std::string asJson(const Devices& devices) {
  JsonWriter json;
  json.beginArray();
  for (const auto& device : devices) {
    json.beginObject();
    json.key("id").value(device->deviceID());
    appendText(&json, "uid", device->deviceUID());
    appendText(&json, "name", device->name());
    appendText(&json, "manufacturer", device->manufacturer());
    appendSection(&json, *device, true);
    appendSection(&json, *device, false);
    json.endObject();
  }
  json.endArray();
  return json.text() + "\n";
}

/// "2 at 44100 Hz, default"; empty for a section that is not there.
std::string sectionText(const OrvAudioDevice& device, bool isInput) {
  if (!(isInput ? device.canBeInputDevice() : device.canBeOutputDevice())) {
    return "";
  }
  return formatText("%u at ", device.numberOfChannels(isInput)) + exactNumber(device.nominalSampleRate(isInput)) +
         " Hz" + (device.isDefaultDevice(isInput) ? ", default" : "");
}

std::string asTable(const Devices& devices) {
  Table table(
      {{"ID", Table::Align::right}, {"Name"}, {"Manufacturer"}, {"Input channels"}, {"Output channels"}, {"UID"}});
  for (const auto& device : devices) {
    table.addRow({std::to_string(device->deviceID()), printable(device->name().value_or("")),
                  printable(device->manufacturer().value_or("")), sectionText(*device, true),
                  sectionText(*device, false), printable(device->deviceUID().value_or(""))});
  }
  return table.text();
}

std::string asReports(const Devices& devices) {
  std::string text;
  for (const auto& device : devices) {
    text += validUtf8(device->printDeviceInfo());
  }
  return text;
}

void listDevices(const DevicesOptions& options) {
  const Devices devices = OrvAudioDevice::allDevicesArray().snapshot();
  if (options.json) {
    print(asJson(devices));
  } else if (options.reports) {
    print(asReports(devices));
  } else {
    print(devices.empty() ? "No devices\n" : asTable(devices));
  }
}

}  // namespace

void addDevicesCommand(CLI::App& program, const std::shared_ptr<HardwareOptions>& hardware, Action* action) {
  CLI::App* command = program.add_subcommand("devices", "List the audio devices");
  command->fallthrough();
  command->footer("Example:\n  orv devices --hardware virtual --json");
  const auto options = std::make_shared<DevicesOptions>();
  auto* const json = command->add_flag("--json", options->json, "Answer in JSON");
  command->add_flag("--verbose", options->reports, "Everything that each device tells of itself")->excludes(json);
  command->callback([options, hardware, action] {
    *action = [options, hardware] {
      useHardware(*hardware);
      listDevices(*options);
    };
  });
}

}  // namespace orv::cli
