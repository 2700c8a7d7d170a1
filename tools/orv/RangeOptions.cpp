#include "RangeOptions.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <string>

#include "Failure.h"
#include "Options.h"
#include "OrvPlatform/Log.h"

namespace orv::cli {
namespace {

// Far beyond what is heard, in both directions.
constexpr double kMostDecibels = 200;

/// `target` is a place, or room for one.
template <typename Target>
CLI::Option* addPosition(CLI::App& command, const std::string& name, Target* target, const std::string& help) {
  const auto take = [name, target](const std::string& text) {
    const std::optional<Position> position = Position::parse(text);
    if (!position) {
      throw CLI::ValidationError(name, "'" + text + "' is neither a frame number nor a time");
    }
    *target = *position;
  };
  return command.add_option_function<std::string>(name, take, help)->type_name("FRAME");
}

}  // namespace

void addRange(CLI::App& command, RangeOptions* target) {
  addPosition(command, "--from", &target->from, "The first frame, or its time")->required();
  addPosition(command, "--to", &target->to, "The frame behind the last one, or its time")->required();
}

void addOptionalRange(CLI::App& command, OptionalRange* target) {
  addPosition(command, "--from", &target->from, "The first frame, or its time (the begin)");
  addPosition(command, "--to", &target->to, "The frame behind the last one, or its time (the end)");
}

FrameRange rangeIn(const SourceFile& source, const RangeOptions& options, const char* what) {
  const double rate = source.file->sampleRate();
  return checkedRange(source, {options.from.frame(rate), options.to.frame(rate)}, what);
}

FrameRange checkedRange(const SourceFile& source, FrameRange range, const char* what) {
  const std::string text = formatText("frames %llu to %llu can't be %s: ", static_cast<unsigned long long>(range.from),
                                      static_cast<unsigned long long>(range.to), what);
  if (range.to < range.from && range.from <= source.lengthInFrames) {
    throw Failure(source.path, text + "the range ends before it begins");
  }
  if (range.to == range.from) {
    throw Failure(source.path, text + "the range is empty");
  }
  if (std::max(range.from, range.to) > source.lengthInFrames) {
    throw Failure(source.path, text + formatText("the recording ends at frame %llu",
                                                 static_cast<unsigned long long>(source.lengthInFrames)));
  }
  return range;
}

CLI::Option* addGain(CLI::App& command, std::optional<double>* target) {
  const auto take = [target](const std::string& text) {
    *target = numberOf<double>("--gain-db", text, -kMostDecibels, kMostDecibels);
  };
  return command
      .add_option_function<std::string>("--gain-db", take,
                                        "Decibels by which it gets louder, or softer: -6. What would go past\n"
                                        "full scale is cut off there")
      ->type_name("X");
}

std::shared_ptr<OrvSoftwareVolumeControl> volumeFor(std::optional<double> decibels) {
  if (!decibels) {
    return nullptr;
  }
  auto volume = OrvSoftwareVolumeControl::init();
  volume->setVolumeDecibels(static_cast<float>(*decibels));
  return volume;
}

}  // namespace orv::cli
