#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <optional>

#include "Commands.h"
#include "Destination.h"
#include "DetectionMethod.h"
#include "Failure.h"
#include "Interruption.h"
#include "Json.h"
#include "Options.h"
#include "OrvPlatform/Log.h"
#include "Picture.h"
#include "ProgressBar.h"
#include "SourceFile.h"
#include "SvgWriter.h"
#include "Table.h"
#include "Text.h"
#include "TimeText.h"
#include "TrackFiles.h"

namespace orv::cli {
namespace {

struct SplitOptions {
  std::string path;
  const DetectionMethod* method = &detectionMethods().front();
  DetectionSettings settings = defaultDetectionSettings();
  std::optional<std::string> exportDirectory;
  std::optional<std::string> picturePath;
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
  if (options.picturePath) {
    checkDestination(*options.picturePath, options.path, options.overwrite());
  }
}

void printNote(const SplitOptions& options, const std::string& text) {
  if (!options.quiet) {
    std::fprintf(stderr, "orv: note: %s\n", text.c_str());
  }
}

std::vector<Track> detectTracks(const SplitOptions& options, ProgressBar& progress) {
  DetectionSettings settings = options.settings;
  if (settings.numberOfTracks > options.method->mostTracks) {
    settings.numberOfTracks = options.method->mostTracks;
    printNote(options, formatText("the method '%s' finds %d tracks at most, and is asked for so many",
                                  options.method->name.data(), settings.numberOfTracks));
  }
  settings.cancel = &interruption();
  settings.progress = [&progress](double fraction) { progress.update(fraction); };
  progress.begin("Analysing");
  std::vector<Track> tracks = options.method->detect(options.path, settings);
  progress.clear();
  if (settings.numberOfTracks > 0 && tracks.size() != static_cast<std::size_t>(settings.numberOfTracks)) {
    printNote(options, formatText("asked for %d tracks, found %zu", settings.numberOfTracks, tracks.size()));
  }
  return tracks;
}

// Everything is made under temporary names before the first file gets its own.
std::vector<std::string> writeFiles(const SplitOptions& options, const SourceFile& source,
                                    const std::vector<Track>& tracks, ProgressBar& progress) {
  std::optional<TrackFiles> files;
  if (options.exportDirectory) {
    files.emplace(*options.exportDirectory, source, tracks, options.overwrite());
    files->stage(progress);
  }
  std::optional<StagedText> picture;
  if (options.picturePath) {
    picture.emplace(*options.picturePath, drawSvg(gatherPicture(source, tracks, progress)));
  }
  stopIfInterrupted();
  if (files) {
    files->commit();
  }
  if (picture) {
    picture->commit(options.overwrite());
  }
  return files ? files->paths() : std::vector<std::string>();
}

std::string splitAsJson(const SourceFile& source, const std::vector<Track>& tracks,
                        const std::vector<std::string>& exported) {
  JsonWriter json;
  json.beginObject();
  json.key("path").value(source.path);
  json.key("sampleRate").value(source.file->sampleRate());
  json.key("lengthInFrames").value(source.lengthInFrames);
  json.key("tracks").beginArray();
  for (const Track& track : tracks) {
    json.beginObject();
    json.key("name").value(track.name);
    json.key("begin").value(track.begin);
    json.key("end").value(track.end);
    json.key("active").value(track.active);
    json.endObject();
  }
  json.endArray();
  json.key("exported").beginArray();
  for (const std::string& path : exported) {
    json.value(path);
  }
  json.endArray();
  json.endObject();
  return json.text() + "\n";
}

std::string trackTable(const SourceFile& source, const std::vector<Track>& tracks) {
  const TimeStyle style{.hours = source.seconds(source.lengthInFrames) >= 3600};
  const auto time = [&](std::uint64_t frames) { return timeText(source.seconds(frames), style); };
  Table table({{"#", Table::Align::right},
               {"Name"},
               {"Begin", Table::Align::right},
               {"End", Table::Align::right},
               {"Length", Table::Align::right}});
  for (std::size_t i = 0; i < tracks.size(); ++i) {
    const Track& track = tracks[i];
    table.addRow({std::to_string(i + 1), printable(track.name), time(track.begin), time(track.end),
                  time(track.end - track.begin)});
  }
  return table.text();
}

std::string splitAsText(const SplitOptions& options, const SourceFile& source, const std::vector<Track>& tracks,
                        const std::vector<std::string>& exported) {
  const auto counted = [](std::size_t count) { return formatText(count == 1 ? "%zu track" : "%zu tracks", count); };
  std::string text = trackTable(source, tracks);
  text += counted(tracks.size()) + " in " + timeText(source.seconds(source.lengthInFrames)) + "\n";
  if (options.exportDirectory) {
    text += "Exported " + counted(exported.size()) + " to " + printable(*options.exportDirectory) + "\n";
  }
  if (options.picturePath) {
    text += "Drawn in " + printable(*options.picturePath) + "\n";
  }
  return text;
}

void split(const SplitOptions& options) {
  const SourceFile source = openSource(options.path);
  checkDestinations(options);
  ProgressBar progress(options.quiet ? std::nullopt : ProgressBar::standardError());
  const std::vector<Track> tracks = detectTracks(options, progress);
  const std::vector<std::string> exported = writeFiles(options, source, tracks, progress);
  progress.clear();
  print(options.json ? splitAsJson(source, tracks, exported) : splitAsText(options, source, tracks, exported));
}

void addMethod(CLI::App& command, SplitOptions* options) {
  std::string names;
  for (const DetectionMethod& method : detectionMethods()) {
    names += (names.empty() ? "" : ", ") + std::string(method.name);
  }
  const auto take = [options, names](const std::string& text) {
    const auto methods = detectionMethods();
    const auto found = std::ranges::find(methods, text, &DetectionMethod::name);
    if (found == methods.end()) {
      throw CLI::ValidationError("--method", "'" + text + "' is not known; there are: " + names);
    }
    options->method = &*found;
  };
  command.add_option_function<std::string>("--method", take, "How tracks are found: " + names)->type_name("METHOD");
}

void addSettings(CLI::App& command, DetectionSettings* settings) {
  constexpr double longestSilence = 3'600'000;
  addNumber(command, "--sensitivity", &settings->sensitivity, 0, 32'767,
            "Crossings in a fifth of a second that tell music from a gap" + formatText(" (%d)", settings->sensitivity));
  addNumber(command, "--silence", &settings->silence, 0.0, longestSilence,
            "Milliseconds that a gap lasts at least" + formatText(" (%g)", settings->silence))
      ->type_name("MS");
  addNumber(command, "--zero-offset", &settings->zeroOffset, -32'768, 32'767,
            "The level whose crossings are counted, of 32768" + formatText(" (%d)", settings->zeroOffset));
  addNumber(command, "--tracks", &settings->numberOfTracks, 0, 1'000'000,
            "Find so many tracks; 0 cuts at every gap" + formatText(" (%d)", settings->numberOfTracks));
}

}  // namespace

void addSplitCommand(CLI::App& program, Action* action) {
  CLI::App* command = program.add_subcommand("split", "Find the tracks of a recording, export and draw them");
  command->fallthrough();
  command->footer(
      "Exports are AIFF (AIFC for float samples) and hold the very samples of the recording. All of them appear\n"
      "or none: a run that fails or is stopped leaves no file behind, and files that were there as they were.\n"
      "Example:\n  orv split side-a.aiff --export tracks --picture side-a.svg");
  const auto options = std::make_shared<SplitOptions>();
  command->add_option("FILE", options->path, "The recording")->required()->type_name("");
  addMethod(*command, options.get());
  addSettings(*command, &options->settings);
  command->add_option("--export", options->exportDirectory, "Write one file for each track; DIR is made if missing")
      ->type_name("DIR");
  command->add_option("--picture", options->picturePath, "Draw the recording and its cuts (SVG)")->type_name("OUT");
  command->add_flag("--force", options->force, "Replace files that exist");
  command->add_flag("--json", options->json, "Answer in JSON");
  command->add_flag("--quiet", options->quiet, "No progress bar, no notes");
  command->callback([options, action] { *action = [options] { split(*options); }; });
}

}  // namespace orv::cli
