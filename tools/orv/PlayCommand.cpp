#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>

#include "Commands.h"
#include "Failure.h"
#include "HardwareOptions.h"
#include "Options.h"
#include "OrvPlatform/Log.h"
#include "Playback.h"
#include "RangeOptions.h"
#include "SourceFile.h"
#include "StoredTracks.h"
#include "Text.h"
#include "TimeText.h"

namespace orv::cli {
namespace {

struct PlayOptions {
  std::string path;
  std::string device;
  OptionalRange range;
  std::optional<std::uint32_t> track;
  std::optional<double> gain;
  bool graph = false;
  bool quiet = false;
};

/// What the person counts from: the whole recording, or one track of it.
FrameRange wholeOf(const SourceFile& source, std::optional<std::uint32_t> number) {
  if (!number) {
    return {0, source.lengthInFrames};
  }
  const std::vector<Track> tracks = StoredTracks::load(source, std::nullopt).tracks();
  if (*number > tracks.size()) {
    throw Failure(source.path,
                  tracks.empty() ? "has no tracks" : formatText("has no track %u: it has %zu", *number, tracks.size()));
  }
  const Track& track = tracks[*number - 1];
  return checkedRange(source, {track.begin, track.end}, "played");
}

std::uint64_t placeIn(const SourceFile& source, FrameRange whole, const Position& position) {
  const std::uint64_t frame = position.frame(source.file->sampleRate());
  return whole.from + std::min(frame, std::numeric_limits<std::uint64_t>::max() - whole.from);
}

FrameRange rangeToPlay(const SourceFile& source, const PlayOptions& options, FrameRange whole) {
  FrameRange range = whole;
  if (options.range.from) {
    range.from = placeIn(source, whole, *options.range.from);
  }
  if (options.range.to) {
    range.to = placeIn(source, whole, *options.range.to);
  }
  if (options.track && (range.to > whole.to || range.from >= whole.to)) {
    throw Failure(source.path, formatText("track %u ends at %s", *options.track,
                                          timeText(source.seconds(whole.to - whole.from)).c_str()));
  }
  return checkedRange(source, range, "played");
}

/// The players count frames in 32 bits, of the recording and of the device.
void refuseWhatIsTooLong(const SourceFile& source, const OrvAudioDevice& device) {
  constexpr double most = std::numeric_limits<std::uint32_t>::max();
  const double ratio = std::max(1.0, device.nominalSampleRate(false) / source.file->sampleRate());
  if (static_cast<double>(source.lengthInFrames) * ratio >= most) {
    throw Failure(source.path, "is too long to be played: more than " +
                                   timeText(std::floor(most / ratio / source.file->sampleRate()), {.decimals = 0}) +
                                   "; 'orv export' takes a range out of it");
  }
}

void play(const PlayOptions& options, const HardwareOptions& hardware) {
  const SourceFile source = openSource(options.path);
  if (source.lengthInFrames == 0) {
    throw Failure(options.path, "holds no audio");
  }
  if (!(source.file->sampleRate() > 0)) {
    throw Failure(options.path, "tells no sample rate");
  }
  refuseWhatCannotBeConverted(source);
  const FrameRange whole = wholeOf(source, options.track);
  const FrameRange range = rangeToPlay(source, options, whole);
  useHardware(hardware);
  PlayRequest request;
  request.device = deviceFor(options.device, false);
  if (!(request.device->nominalSampleRate(false) > 0)) {
    throw Failure(printable(request.device->description()), "tells no sample rate");
  }
  refuseWhatIsTooLong(source, *request.device);
  request.path = options.path;
  request.from = static_cast<std::uint32_t>(range.from);
  request.to = static_cast<std::uint32_t>(range.to);
  request.begin = static_cast<std::uint32_t>(whole.from);
  request.length = static_cast<std::uint32_t>(whole.to - whole.from);
  request.sampleRate = source.file->sampleRate();
  request.kind = options.graph ? Deck::Kind::graph : Deck::Kind::direct;
  request.isQuiet = options.quiet;
  if (options.gain && *options.gain != 0) {
    request.decibels = options.gain;
  }
  Playback(request).run();
}

constexpr const char* kHelpFooter =
    "FRAME is a frame number or a time: 441000, 10s, 250ms, 1:23.5, 1:02:03. With --track it counts from the begin\n"
    "of that track: --track 3 --from 30s leaves out the first half minute of the third one.\n"
    "On a terminal: space pauses and goes on, left and right move by 5 seconds, down and up by 30, q or Escape ends.\n"
    "At the device's rate, and without --gain-db, samples get to it as they are; another rate is converted.\n"
    "Of more than two channels the first two are heard; --graph plays as many as the device has.\n\n"
    "Example:\n"
    "  orv play side-a.aiff --from 1:23.5 --to 4:07\n"
    "  orv play side-a.aiff --track 2 --gain-db -6";

}  // namespace

void addPlayCommand(CLI::App& program, const std::shared_ptr<HardwareOptions>& hardware, Action* action) {
  CLI::App* command = program.add_subcommand("play", "Play a recording on an output");
  command->fallthrough();
  command->footer(kHelpFooter);
  const auto options = std::make_shared<PlayOptions>();
  command->add_option("FILE", options->path, "The recording")->required()->type_name("");
  command->add_option("--device", options->device, "UID, ID or name of the output (the default one)")
      ->type_name("DEVICE");
  addOptionalRange(*command, &options->range);
  const auto takeTrack = [options](const std::string& text) {
    constexpr std::uint32_t most = 1'000'000;
    options->track = numberOf<std::uint32_t>("--track", text, 1, most);
  };
  command->add_option_function<std::string>("--track", takeTrack, "A stored track, by its number in 'orv tracks'")
      ->type_name("N");
  addGain(*command, &options->gain)
      ->description(
          "Decibels by which it gets louder, or softer: -6. What would go past\n"
          "full scale is cut off by the device");
  command->add_flag("--graph", options->graph, "Play through a graph of audio units");
  command->add_flag("--quiet", options->quiet, "No live line, no closing line");
  command->callback([options, hardware, action] { *action = [options, hardware] { play(*options, *hardware); }; });
}

}  // namespace orv::cli
