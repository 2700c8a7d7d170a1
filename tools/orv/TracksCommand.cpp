#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "Commands.h"
#include "Failure.h"
#include "OrvPlatform/Log.h"
#include "StoredTracks.h"
#include "Text.h"
#include "TrackArgument.h"
#include "TracksReport.h"

namespace orv::cli {
namespace {

struct Renaming {
  std::size_t number;  // of the track, from 1, as the list shows it
  std::string name;
};

struct TracksOptions {
  std::string path;
  std::optional<TrackStore> store;
  std::vector<TrackArgument> added;
  std::vector<Renaming> renamings;
  bool clear = false;
  bool json = false;

  bool change() const { return clear || !added.empty() || !renamings.empty(); }
};

void rename(std::vector<Track>* tracks, const Renaming& renaming, const std::string& path) {
  if (renaming.number > tracks->size()) {
    throw Failure(path, formatText("has no track %zu: it has %zu", renaming.number, tracks->size()));
  }
  (*tracks)[renaming.number - 1].name = renaming.name;
}

Track trackFrom(const TrackArgument& argument, const SourceFile& recording) {
  const double rate = recording.file->sampleRate();
  Track track{argument.name, argument.begin.frame(rate), argument.end.frame(rate), false};
  const std::string text =
      formatText("a track from frame %llu to %llu can't be added: ", static_cast<unsigned long long>(track.begin),
                 static_cast<unsigned long long>(track.end));
  if (track.end <= track.begin) {
    throw Failure(recording.path, text + "it ends before it begins");
  }
  if (track.end > recording.lengthInFrames) {
    throw Failure(recording.path, text + formatText("the recording ends at frame %llu",
                                                    static_cast<unsigned long long>(recording.lengthInFrames)));
  }
  return track;
}

// Into the order of time.
void add(std::vector<Track>* tracks, Track track) {
  const auto next = std::ranges::find_if(*tracks, [&](const Track& other) { return other.begin > track.begin; });
  tracks->insert(next, std::move(track));
}

void change(const TracksOptions& options, const SourceFile& recording, StoredTracks* stored) {
  stored->checkStore();
  std::vector<Track> tracks = options.clear ? std::vector<Track>() : stored->tracks();
  for (const Renaming& renaming : options.renamings) {
    rename(&tracks, renaming, options.path);
  }
  for (const TrackArgument& argument : options.added) {
    add(&tracks, trackFrom(argument, recording));
  }
  stored->setTracks(tracks);
  stored->save();
}

void listTracks(const TracksOptions& options) {
  const SourceFile recording = openSource(options.path);
  // What can't be read is only given up where the person says what to clear, and where.
  const bool drops = options.clear && options.store;
  StoredTracks stored = StoredTracks::load(recording, options.store,
                                           drops ? StoredTracks::Unreadable::drop : StoredTracks::Unreadable::refuse);
  if (options.change()) {
    change(options, recording, &stored);
    stored = StoredTracks::load(recording, stored.store());
  }
  print(options.json ? tracksAsJson(recording, stored) : tracksAsText(recording, stored));
}

void addEdits(CLI::App& command, TracksOptions* options) {
  const auto takeAdded = [options](const std::vector<std::string>& texts) {
    for (const std::string& text : texts) {
      const std::optional<TrackArgument> argument = TrackArgument::parse(text);
      if (!argument) {
        throw CLI::ValidationError("--add", "'" + text + "' is not of the form NAME:BEGIN:END");
      }
      options->added.push_back(*argument);
    }
    return true;
  };
  command.add_option("--add", takeAdded, "Add a track; may be given more than once")
      ->type_name("NAME:BEGIN:END")
      ->allow_extra_args(false)
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  const auto takeRenaming = [options](const std::vector<std::string>& texts) {
    for (std::size_t i = 0; i + 1 < texts.size(); i += 2) {
      const std::string& number = texts[i];
      Renaming renaming{0, texts[i + 1]};
      const auto result = std::from_chars(number.data(), number.data() + number.size(), renaming.number);
      if (result.ec != std::errc() || result.ptr != number.data() + number.size() || renaming.number == 0) {
        throw CLI::ValidationError("--rename", "'" + number + "' is no number of a track");
      }
      options->renamings.push_back(std::move(renaming));
    }
    return true;
  };
  command.add_option("--rename", takeRenaming, "Give a track of the list another name; may be given more than once")
      ->type_name("N NAME")
      ->type_size(2)
      ->allow_extra_args(false)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  command.add_flag("--clear", options->clear, "Forget all tracks, before any are added. Processing records stay");
}

constexpr const char* kHelpFooter =
    "Without --store, tracks are looked for in the recording, and where it holds none, beside it; new ones go into an\n"
    "AIFF or AIFC file, and beside any other. The audio and all other chunks stay as they are.\n"
    "BEGIN and END are frame numbers or times: 441000, 10s, 250ms, 1:23.5, 1:02:03. NAME may hold colons; where it is\n"
    "not clear which ones belong to it, BEGIN and END are taken to be of one form, as in 'Op. 2:5:1:30:4:05'.\n"
    "Tracks that can't be read are left alone, unless --clear and --store say that they may go.\n"
    "Example:\n"
    "  orv tracks side-a.aiff --json\n"
    "  orv tracks side-a.aiff --add 'Intro:0:1:23.5' --add 'Suite: Part 1:1:23.5:4:07'\n"
    "  orv tracks side-a.aiff --rename 2 'Suite: Prelude'\n"
    "  orv tracks side-a.wav --store external --clear";

}  // namespace

void addTracksCommand(CLI::App& program, Action* action) {
  CLI::App* command = program.add_subcommand("tracks", "List and edit the tracks that are stored with a recording");
  command->fallthrough();
  command->footer(kHelpFooter);
  const auto options = std::make_shared<TracksOptions>();
  command->add_option("FILE", options->path, "The recording")->required()->type_name("");
  command->add_flag("--json", options->json, "Answer in JSON");
  addTrackStore(*command, &options->store,
                "internal: in the recording; external: in a side file, FILE's name with\n"
                "the extension 'tracks'");
  addEdits(*command, options.get());
  command->callback([options, action] {
    if (options->clear && !options->renamings.empty()) {
      throw CLI::ValidationError("--rename", "has nothing to rename where --clear forgets all tracks");
    }
    *action = [options] { listTracks(*options); };
  });
}

}  // namespace orv::cli
