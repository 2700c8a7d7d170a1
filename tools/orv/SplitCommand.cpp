#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>

#include "Commands.h"
#include "Destination.h"
#include "Failure.h"
#include "Interruption.h"
#include "MethodOptions.h"
#include "Picture.h"
#include "ProgressBar.h"
#include "SourceFile.h"
#include "SplitReport.h"
#include "Splitting.h"
#include "StoredTracks.h"
#include "SvgWriter.h"
#include "Text.h"
#include "TrackFiles.h"

namespace orv::cli {
namespace {

constexpr std::array kFormats{&kTableFormat, &kJsonFormat, &kCueFormat, &kLabelsFormat};

struct SplitOptions {
  std::string path;
  MethodOptions methods;
  std::shared_ptr<const DetectionMethod> method;
  std::optional<std::string> exportDirectory;
  std::optional<std::string> picturePath;
  std::optional<TrackStore> store;
  const ReportFormat* format = nullptr;
  std::optional<std::string> outputPath;  // nothing: standard output
  bool force = false;
  bool json = false;
  bool quiet = false;

  Overwrite overwrite() const { return force ? Overwrite::allow : Overwrite::refuse; }
};

// A long analysis should not end in an error that could have been told at once.
void checkDestinations(const SplitOptions& options) {
  if (options.exportDirectory) {
    checkDestinationDirectory(*options.exportDirectory);
  }
  for (const auto& path : {options.picturePath, options.outputPath}) {
    if (path) {
      checkDestination(*path, options.path, options.overwrite());
    }
  }
  const auto name = [](const std::string& path) { return std::filesystem::absolute(path).lexically_normal(); };
  if (options.picturePath && options.outputPath && name(*options.picturePath) == name(*options.outputPath)) {
    throw Failure(*options.outputPath, "is asked for twice, as --picture and as --output");
  }
}

void printNotes(const SplitOptions& options, const std::vector<std::string>& notes) {
  for (const std::string& note : notes) {
    if (!options.quiet) {
      std::fprintf(stderr, "orv: note: %s\n", printable(note).c_str());
    }
  }
}

Detection detect(const SplitOptions& options, const SourceFile& source, ProgressBar& progress) {
  progress.begin("Analysing");
  Detection detection = options.method->detect(
      source, {.cancel = &interruption(), .progress = [&progress](double fraction) { progress.update(fraction); }});
  progress.clear();
  return detection;
}

SplitReport reportOn(const SplitOptions& options, const SourceFile& source, Detection detection) {
  SplitReport report;
  report.path = source.path;
  report.fileType = source.file->fileType();
  report.sampleRate = source.file->sampleRate();
  report.lengthInFrames = source.lengthInFrames;
  report.method = options.method->name();
  report.detection = std::move(detection);
  report.exportDirectory = options.exportDirectory;
  report.picturePath = options.picturePath;
  report.storedIn = options.store ? nameOf(*options.store) : "";
  report.withDoubtful = !options.quiet;
  return report;
}

// The tracks that are stored already, to be replaced by those that will be found.
std::optional<StoredTracks> storeFor(const SplitOptions& options, const SourceFile& source) {
  if (!options.store) {
    return std::nullopt;
  }
  StoredTracks stored = StoredTracks::load(source, options.store);
  stored.checkStore();
  return stored;
}

// Everything is made under temporary names before the first file gets its own. Answers the text of the report.
std::string writeFiles(const SplitOptions& options, const SourceFile& source, SplitReport* report,
                       std::optional<StoredTracks>& stored, ProgressBar& progress) {
  std::optional<TrackFiles> files;
  std::optional<StagedText> picture;
  std::optional<StagedText> output;
  if (options.exportDirectory) {
    files.emplace(*options.exportDirectory, source, report->detection.tracks, options.overwrite());
    report->exported = files->paths();
  }
  std::string text = options.format->write(*report);
  if (files) {
    files->stage(progress);
  }
  if (options.picturePath) {
    picture.emplace(*options.picturePath, drawSvg(makePicture(source, report->detection, progress)));
  }
  if (options.outputPath) {
    output.emplace(*options.outputPath, text);
  }
  stopIfInterrupted();
  if (stored) {
    stored->setTracks(report->detection.tracks);
    stored->save();
  }
  if (files) {
    files->commit();
  }
  if (picture) {
    picture->commit(options.overwrite());
  }
  if (output) {
    output->commit(options.overwrite());
  }
  return text;
}

void split(const SplitOptions& options) {
  const SourceFile source = openSource(options.path);
  checkDestinations(options);
  std::optional<StoredTracks> stored = storeFor(options, source);
  ProgressBar progress(options.quiet ? std::nullopt : ProgressBar::standardError());
  SplitReport report = reportOn(options, source, detect(options, source, progress));
  const std::string text = writeFiles(options, source, &report, stored, progress);
  progress.clear();
  printNotes(options, report.detection.notes);
  if (options.format->losses != nullptr) {
    printNotes(options, options.format->losses(report));
  }
  if (!options.outputPath) {
    print(text);
  }
}

void addFormat(CLI::App& command, SplitOptions* options) {
  std::string names;
  for (const ReportFormat* format : kFormats) {
    names += (names.empty() ? "" : ", ") + std::string(format->name);
  }
  const auto take = [options, names](const std::string& text) {
    const auto found = std::ranges::find(kFormats, text, [](const ReportFormat* format) { return format->name; });
    if (found == kFormats.end()) {
      throw CLI::ValidationError("--format", "'" + text + "' is not known; there are: " + names);
    }
    options->format = *found;
  };
  command
      .add_option_function<std::string>("--format", take,
                                        "What the answer is: table (default), json, cue (a cue sheet),\n"
                                        "labels (a label file: begin, end, name)")
      ->type_name("FORMAT");
  command.add_flag("--json", options->json, "Short for --format json");
  command.add_option("--output", options->outputPath, "Write the answer there, not to standard output")
      ->type_name("OUT");
}

void settle(SplitOptions* options) {
  options->method = options->methods.choose();
  if (options->json && options->format != nullptr && options->format != &kJsonFormat) {
    throw CLI::ValidationError("--json", std::string("contradicts --format ") + options->format->name);
  }
  if (options->format == nullptr) {
    options->format = options->json ? &kJsonFormat : &kTableFormat;
  }
}

}  // namespace

void splitAndStore(const std::string& path, TrackStore store, bool quiet) {
  SplitOptions options;
  options.path = path;
  options.method = options.methods.choose();
  options.store = store;
  options.format = &kTableFormat;
  options.quiet = quiet;
  split(options);
}

namespace {

constexpr const char* kHelpFooter =
    "Confidence runs from 0 to 1. A file of durations has one track on each line, '3:28' or a title, a tab and "
    "'3:28';\n"
    "its titles, and those of a cue sheet, name the tracks. '@NAME' reads a file whatever its name looks like.\n"
    "Times in a cue sheet are rounded down to a 75th of a second.\n"
    "Exports are AIFF (AIFC for float samples) and hold the very samples of the recording. Files appear all together\n"
    "or not at all: a run that fails or is stopped leaves no file behind, and files that were there as they were.\n"
    "Example:\n"
    "  orv split side-a.aiff --export tracks --picture side-a.svg\n"
    "  orv split side-a.aiff --tracks 5 --min-track 1:00 --store internal\n"
    "  orv split side-a.aiff --durations 3:28,3:54,2:47 --trim --cut middle\n"
    "  orv split side-a.aiff --durations side-a.cue --export tracks\n"
    "  orv split side-a.aiff --sensitivity 70 --format labels --output side-a.txt\n"
    "  orv split side-a.aiff --format cue --output side-a.cue\n"
    "  orv split side-a.aiff --method crossings --zero-offset 100 --sensitivity 10 --silence 2500";

}  // namespace

void addSplitCommand(CLI::App& program, Action* action) {
  CLI::App* command = program.add_subcommand("split", "Find the tracks of a recording, export and draw them");
  command->fallthrough();
  command->footer(kHelpFooter);
  const auto options = std::make_shared<SplitOptions>();
  command->add_option("FILE", options->path, "The recording")->required()->type_name("");
  options->methods.addTo(*command);
  command->add_option("--export", options->exportDirectory, "Write one file for each track; DIR is made if missing")
      ->type_name("DIR");
  command->add_option("--picture", options->picturePath, "Draw the recording and its cuts (SVG)")->type_name("OUT");
  addTrackStore(*command, &options->store,
                "Store the tracks in the recording (internal; AIFF and AIFC only) or in a\n"
                "side file beside it (external), in the place of those stored there");
  addFormat(*command, options.get());
  command->add_flag("--force", options->force, "Replace files that exist");
  command->add_flag("--quiet", options->quiet, "No progress bar, no notes, no doubtful places");
  command->callback([options, action] {
    settle(options.get());
    *action = [options] { split(*options); };
  });
}

}  // namespace orv::cli
