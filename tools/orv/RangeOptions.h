#pragma once

#include <cstdint>
#include <optional>

#include "OrvCoreAudio/OrvSoftwareVolumeControl.h"
#include "SourceFile.h"
#include "TimeText.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace orv::cli {

/// The range of a recording that a command works on, as the person gives it.
struct RangeOptions {
  Position from;
  Position to;
};

/// The same where each end may be left out.
struct OptionalRange {
  std::optional<Position> from;
  std::optional<Position> to;
};

/// Frames from `from` up to the one before `to`.
struct FrameRange {
  std::uint64_t from = 0;
  std::uint64_t to = 0;
};

/// Adds --from and --to.
void addRange(CLI::App& command, RangeOptions* target);
/// The same, not required.
void addOptionalRange(CLI::App& command, OptionalRange* target);
/// The frames of a recording. Throws `Failure` for a range that is empty, reversed or not in it, with the words for
/// what can't be done: "exported".
FrameRange rangeIn(const SourceFile& source, const RangeOptions& options, const char* what);
/// The same for frames: returns them.
FrameRange checkedRange(const SourceFile& source, FrameRange range, const char* what);

/// Adds --gain-db. Nothing: not asked for.
CLI::Option* addGain(CLI::App& command, std::optional<double>* target);
/// A volume control of so many decibels; null for none.
std::shared_ptr<OrvSoftwareVolumeControl> volumeFor(std::optional<double> decibels);

}  // namespace orv::cli
