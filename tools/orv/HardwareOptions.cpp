#include "HardwareOptions.h"

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "Failure.h"
#include "OrvCoreAudio/OrvAudioDevice.h"
#include "OrvPlatform/PipeWireHardware.h"
#include "OrvPlatform/VirtualHardware.h"
#include "Text.h"

namespace orv::cli {
namespace {

constexpr const char* kVirtual = "virtual";
constexpr const char* kPipeWire = "pipewire";
constexpr const char* kAuto = "auto";

/// A server that is there answers within a few milliseconds. One that a person asked for may take its time.
constexpr std::chrono::milliseconds kAutoLimit(200);
constexpr std::chrono::milliseconds kPipeWireLimit(3000);

std::string wantedHardware(const HardwareOptions& options) {
  if (!options.hardware.empty()) {
    return options.hardware;
  }
  // NOLINTNEXTLINE(concurrency-mt-unsafe): nobody sets variables here
  const char* const environment = std::getenv("ORV_HARDWARE");
  return environment != nullptr && *environment != '\0' ? environment : kAuto;
}

std::shared_ptr<VirtualHardware> makeVirtual(const HardwareOptions& options) {
  if (options.virtualDevices.empty()) {
    return VirtualHardware::makeDefaultSet();
  }
  std::string problem;
  auto hardware = VirtualHardware::fromJSONFile(options.virtualDevices, &problem);
  if (hardware == nullptr) {
    throw Failure(options.virtualDevices, problem);
  }
  return hardware;
}

/// Of the input or the output that a run without a device of its own gets.
AudioDeviceID defaultDevice(bool isInput) {
  AudioDeviceID device = kAudioDeviceUnknown;
  std::uint32_t size = sizeof device;
  AudioHardwareGetProperty(
      isInput ? kAudioHardwarePropertyDefaultInputDevice : kAudioHardwarePropertyDefaultOutputDevice, &size, &device);
  return device;
}

void feed(VirtualHardware& hardware, const HardwareOptions& options) {
  std::string problem;
  if (!options.virtualInputs.empty()) {
    VirtualInput source;
    source.kind = VirtualInput::Kind::files;
    source.files = options.virtualInputs;
    source.gapSeconds = 0;
    if (!hardware.setInput(defaultDevice(true), source, &problem)) {
      throw Failure("--virtual-input: " + printable(problem));
    }
  }
  if (!options.virtualOutput.empty()) {
    VirtualOutput sink;
    sink.file = options.virtualOutput;
    if (!hardware.setOutput(defaultDevice(false), sink, &problem)) {
      throw Failure("--virtual-output: " + printable(problem));
    }
  }
}

bool wantsVirtual(const HardwareOptions& options) {
  return !options.virtualInputs.empty() || !options.virtualOutput.empty() || !options.virtualDevices.empty();
}

void useVirtual(const HardwareOptions& options) {
  const auto hardware = makeVirtual(options);
  installAudioHardware(hardware);
  feed(*hardware, options);
}

/// Whether the machine's own devices are in use.
bool& usesMachine() {
  static bool uses = false;
  return uses;
}

void useMachine(std::shared_ptr<AudioHardware> hardware) {
  installAudioHardware(std::move(hardware));
  usesMachine() = true;
}

void usePipeWire(const HardwareOptions& options) {
  if (wantsVirtual(options)) {
    throw Failure("--virtual-input, --virtual-output and --virtual-devices go with virtual hardware only");
  }
  std::string problem;
  auto hardware = connectToPipeWire(kPipeWireLimit, &problem);
  if (hardware == nullptr) {
    throw Failure(kPipeWire, problem);
  }
  useMachine(std::move(hardware));
}

/// Whether the machine's own devices are there to be used; they are then. Otherwise a line says so.
bool foundPipeWire() {
  std::string problem;
  auto hardware = connectToPipeWire(kAutoLimit, &problem);
  if (hardware == nullptr) {
    std::fprintf(stderr, "orv: %s; using virtual hardware\n", printable(problem).c_str());
    return false;
  }
  useMachine(std::move(hardware));
  return true;
}

bool isNamed(const OrvAudioDevice& device, const std::string& wanted) {
  return device.deviceUID() == wanted || std::to_string(device.deviceID()) == wanted;
}

std::shared_ptr<OrvAudioDevice> theOneNamed(const std::vector<std::shared_ptr<OrvAudioDevice>>& devices,
                                            const std::string& wanted) {
  std::shared_ptr<OrvAudioDevice> found;
  for (const auto& device : devices) {
    if (device->name() == wanted) {
      if (found != nullptr) {
        throw Failure(wanted, "several devices have this name; take the UID that 'orv devices' shows");
      }
      found = device;
    }
  }
  return found;
}

}  // namespace

std::shared_ptr<HardwareOptions> addHardwareOptions(CLI::App& program) {
  auto options = std::make_shared<HardwareOptions>();
  const char* const group = "Hardware";
  program.add_option("--hardware", options->hardware, "auto, pipewire or virtual (auto, or $ORV_HARDWARE)")
      ->check(CLI::IsMember({kAuto, kPipeWire, kVirtual}))
      ->type_name("KIND")
      ->group(group);
  program.add_option("--virtual-input", options->virtualInputs, "What the virtual input hears; one after the other")
      ->expected(1)
      ->take_all()
      ->allow_extra_args(false)  // what follows the file is not one more
      ->type_name("FILE")
      ->group(group);
  program.add_option("--virtual-output", options->virtualOutput, "Where what the virtual output plays is kept")
      ->type_name("FILE")
      ->group(group);
  program.add_option("--virtual-devices", options->virtualDevices, "Virtual devices, described in JSON")
      ->type_name("FILE")
      ->group(group);
  return options;
}

void useHardware(const HardwareOptions& options) {
  const std::string wanted = wantedHardware(options);
  if (wanted != kVirtual && wanted != kPipeWire && wanted != kAuto) {
    throw Failure(wanted, "no hardware of that kind");
  }
  if (wanted == kPipeWire) {
    usePipeWire(options);
  } else if (wanted == kVirtual || wantsVirtual(options) || !foundPipeWire()) {
    useVirtual(options);
  }
}

void letHardwareGo() {
  if (std::exchange(usesMachine(), false)) {
    installAudioHardware(nullptr);
  }
}

std::shared_ptr<OrvAudioDevice> deviceFor(const std::string& wanted, bool isInput) {
  const char* const direction = isInput ? "input" : "output";
  if (wanted.empty()) {
    auto device = isInput ? OrvAudioDevice::defaultInputDevice() : OrvAudioDevice::defaultOutputDevice();
    return device != nullptr ? device : throw Failure(std::string("there is no ") + direction + " device");
  }
  const auto devices = OrvAudioDevice::deviceList(isInput).snapshot();
  for (const auto& device : devices) {
    if (isNamed(*device, wanted)) {
      return device;
    }
  }
  auto device = theOneNamed(devices, wanted);
  return device != nullptr ? device
                           : throw Failure(wanted, std::string("there is no such ") + direction +
                                                       " device; 'orv devices' lists them");
}

}  // namespace orv::cli
