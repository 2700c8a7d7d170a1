#pragma once

#include <functional>
#include <memory>
#include <string>

namespace CLI {
class App;
}

namespace orv::cli {

struct HardwareOptions;

/// What the subcommand that was chosen does. Returns when it is done, throws `Failure` or `Cancelled`.
using Action = std::function<void()>;

/// Each adds one subcommand; when it is the one chosen, `*action` gets what it does.
void addInfoCommand(CLI::App& program, Action* action);
void addSplitCommand(CLI::App& program, Action* action);
void addTracksCommand(CLI::App& program, Action* action);
void addExportCommand(CLI::App& program, Action* action);
void addProcessCommand(CLI::App& program, Action* action);
void addConvertCommand(CLI::App& program, Action* action);
void addCheckCommand(CLI::App& program, Action* action);
void addDevicesCommand(CLI::App& program, const std::shared_ptr<HardwareOptions>& hardware, Action* action);
void addMeterCommand(CLI::App& program, const std::shared_ptr<HardwareOptions>& hardware, Action* action);
void addRecordCommand(CLI::App& program, const std::shared_ptr<HardwareOptions>& hardware, Action* action);
void addMonitorCommand(CLI::App& program, const std::shared_ptr<HardwareOptions>& hardware, Action* action);
void addPlayCommand(CLI::App& program, const std::shared_ptr<HardwareOptions>& hardware, Action* action);

/// Writes to standard output, at once. Throws `Failure`.
void print(const std::string& text);

}  // namespace orv::cli
