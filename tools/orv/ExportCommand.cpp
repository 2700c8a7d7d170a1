#include <CLI/CLI.hpp>
#include <memory>
#include <optional>

#include "Commands.h"
#include "Destination.h"
#include "Exporting.h"
#include "FileTypeOption.h"
#include "RangeOptions.h"
#include "SourceFile.h"
#include "Text.h"
#include "TimeText.h"

namespace orv::cli {
namespace {

struct ExportOptions {
  std::string path;
  RangeOptions range;
  std::string output;
  std::optional<double> gain;
  AudioFileTypeID type = 0;  // 0: by the output's extension, else the source's
  bool force = false;
  bool quiet = false;
};

void exportRange(const ExportOptions& options) {
  const SourceFile source = openSource(options.path);
  const FrameRange range = rangeIn(source, options.range, "exported");
  if (options.gain) {
    refuseWhatCannotBeConverted(source);
  }
  checkDestination(options.output, options.path, options.force ? Overwrite::allow : Overwrite::refuse);

  OrvAudioFileProcessor::ExportRequest request;
  request.sourcePath = options.path;
  request.destinationPath = options.output;
  request.fromFrame = range.from;
  request.toFrame = range.to;
  request.fileType = options.type;
  request.processor = volumeFor(options.gain);
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

}  // namespace

void addExportCommand(CLI::App& program, Action* action) {
  CLI::App* command = program.add_subcommand("export", "Copy a range of a recording into a new file");
  command->fallthrough();
  command->footer(
      "FRAME is a frame number or a time: 441000, 10s, 250ms, 1:23.5, 1:02:03.\n"
      "Samples are copied as they are; where the new type stores them otherwise, byte order and sign are\n"
      "converted, which loses nothing. Only --gain-db changes them. The file appears when it is complete.\n"
      "Example:\n  orv export side-a.aiff --from 1:23.5 --to 4:07 --output song.aiff\n"
      "  orv export side-a.aiff --from 0 --to 10s --gain-db -6 --output softer.wav");
  const auto options = std::make_shared<ExportOptions>();
  command->add_option("FILE", options->path, "The recording")->required()->type_name("");
  addRange(*command, &options->range);
  command->add_option("--output", options->output, "The new file")->required()->type_name("OUT");
  command->add_flag("--force", options->force, "Replace a file that exists");
  addFileType(*command, &options->type, "aiff, aifc, wave or sd2f; else by the extension of OUT, else as FILE");
  addGain(*command, &options->gain);
  command->add_flag("--quiet", options->quiet, "No progress bar, no closing line");
  command->callback([options, action] { *action = [options] { exportRange(*options); }; });
}

}  // namespace orv::cli
