#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "Commands.h"
#include "Destination.h"
#include "Exporting.h"
#include "Failure.h"
#include "OrvPlatform/Log.h"
#include "SourceFile.h"
#include "Text.h"
#include "TimeText.h"

namespace orv::cli {
namespace {

struct ExportOptions {
  std::string path;
  Position from;
  Position to;
  std::string output;
  AudioFileTypeID type = 0;  // 0: by the output's extension, else the source's
  bool force = false;
  bool quiet = false;
};

struct FrameRange {
  std::uint64_t from = 0;
  std::uint64_t to = 0;
};

FrameRange rangeIn(const SourceFile& source, const ExportOptions& options) {
  const FrameRange range{options.from.frame(source.file->sampleRate()), options.to.frame(source.file->sampleRate())};
  const std::string text =
      formatText("frames %llu to %llu can't be exported: ", static_cast<unsigned long long>(range.from),
                 static_cast<unsigned long long>(range.to));
  if (range.to < range.from) {
    throw Failure(source.path, text + "the range ends before it begins");
  }
  if (range.to == range.from) {
    throw Failure(source.path, text + "the range is empty");
  }
  if (range.to > source.lengthInFrames) {
    throw Failure(source.path, text + formatText("the recording ends at frame %llu",
                                                 static_cast<unsigned long long>(source.lengthInFrames)));
  }
  return range;
}

void exportRange(const ExportOptions& options) {
  const SourceFile source = openSource(options.path);
  const FrameRange range = rangeIn(source, options);
  checkDestination(options.output, options.path, options.force ? Overwrite::allow : Overwrite::refuse);

  OrvAudioFileProcessor::ExportRequest request;
  request.sourcePath = options.path;
  request.destinationPath = options.output;
  request.fromFrame = range.from;
  request.toFrame = range.to;
  request.fileType = options.type;
  request.replaceExisting = options.force;
  ProgressBar progress(options.quiet ? std::nullopt : ProgressBar::standardError());
  progress.begin("Exporting");
  runExport(request, options.output, progress);
  progress.clear();
  if (!options.quiet) {
    print(printable(options.output) + ": " + timeText(source.seconds(range.to - range.from)) + " from " +
          timeText(source.seconds(range.from)) + " to " + timeText(source.seconds(range.to)) + "\n");
  }
}

void addPosition(CLI::App& command, const std::string& name, Position* target, const std::string& help) {
  const auto take = [name, target](const std::string& text) {
    const std::optional<Position> position = Position::parse(text);
    if (!position) {
      throw CLI::ValidationError(name, "'" + text + "' is neither a frame number nor a time");
    }
    *target = *position;
  };
  command.add_option_function<std::string>(name, take, help)->required()->type_name("FRAME");
}

void addType(CLI::App& command, AudioFileTypeID* target) {
  const auto take = [target](const std::string& text) {
    constexpr std::array<std::pair<std::string_view, AudioFileTypeID>, 3> types{
        {{"aiff", kAudioFileAIFFType}, {"aifc", kAudioFileAIFCType}, {"wave", kAudioFileWAVEType}}};
    const auto found =
        std::ranges::find(types, CLI::detail::to_lower(text), [](const auto& type) { return type.first; });
    if (found == types.end()) {
      throw CLI::ValidationError("--type", "'" + text + "' is not known; there are: aiff, aifc, wave");
    }
    *target = found->second;
  };
  command
      .add_option_function<std::string>("--type", take,
                                        "aiff, aifc or wave; else by the extension of OUT, else as FILE")
      ->type_name("TYPE");
}

}  // namespace

void addExportCommand(CLI::App& program, Action* action) {
  CLI::App* command = program.add_subcommand("export", "Copy a range of a recording into a new file");
  command->fallthrough();
  command->footer(
      "FRAME is a frame number or a time: 441000, 10s, 250ms, 1:23.5, 1:02:03.\n"
      "Samples are copied as they are; where the new type stores them otherwise, byte order and sign are\n"
      "converted, which loses nothing. The file appears when it is complete.\n"
      "Example:\n  orv export side-a.aiff --from 1:23.5 --to 4:07 --output song.aiff");
  const auto options = std::make_shared<ExportOptions>();
  command->add_option("FILE", options->path, "The recording")->required()->type_name("");
  addPosition(*command, "--from", &options->from, "The first frame, or its time");
  addPosition(*command, "--to", &options->to, "The frame behind the last one, or its time");
  command->add_option("--output", options->output, "The new file")->required()->type_name("OUT");
  command->add_flag("--force", options->force, "Replace a file that exists");
  addType(*command, &options->type);
  command->add_flag("--quiet", options->quiet, "No progress bar, no closing line");
  command->callback([options, action] { *action = [options] { exportRange(*options); }; });
}

}  // namespace orv::cli
