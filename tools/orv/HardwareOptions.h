#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
}
class OrvAudioDevice;

namespace orv::cli {

/// Which hardware a run uses, and what virtual hardware hears and plays.
struct HardwareOptions {
  std::string hardware;  ///< "auto", "pipewire" or "virtual"; empty: by the environment, or else "auto"
  std::vector<std::string> virtualInputs;
  std::string virtualOutput;
  std::string virtualDevices;  ///< a JSON file
};

/// Adds them to the program, for every subcommand.
std::shared_ptr<HardwareOptions> addHardwareOptions(CLI::App& program);

/// Installs that hardware. Throws `Failure`.
void useHardware(const HardwareOptions& options);

/// At the end of a run: puts back what it changed at the machine's own devices for everybody.
void letHardwareGo();

/// The device that `wanted` names, by its UID, its ID or its name; the default one of that direction when it is empty.
/// Throws `Failure` where there is none, or more than one of that name.
std::shared_ptr<OrvAudioDevice> deviceFor(const std::string& wanted, bool isInput);

}  // namespace orv::cli
