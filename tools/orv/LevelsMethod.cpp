#include <filesystem>

#include "DetectionMethod.h"
#include "Failure.h"
#include "Options.h"
#include "OrvCoreAudio/OrvAudioTrackAutoDefiner.h"
#include "OrvPlatform/Log.h"
#include "TimeText.h"
#include "TrackListing.h"

namespace orv::cli {
namespace {

class LevelsMethod : public DetectionMethod {
 public:
  std::string name() const override { return "levels"; }
  std::string summary() const override { return "where the recording falls to its own noise floor"; }
  std::vector<MethodSetting> settings() override;
  Detection detect(const SourceFile& source, const DetectionRun& run) const override;

 private:
  void takeTracks(const std::string& text);
  void takeDurations(const std::string& text);
  void takeShortestTrack(const std::string& text);
  void takeCut(const std::string& text);
  void refuseTwoNumbersOfTracks() const;

  OrvTrackBoundaryDetector::Options options_;
  bool saysTracks_ = false;
  bool saysDurations_ = false;
  std::string listingPath_;  // empty: there is none to be read
};

std::vector<MethodSetting> LevelsMethod::settings() {
  return {
      {"--tracks", "N", "exactly so many, the best there are; 0 as many as show (0)",
       [this](const std::string& text) { takeTracks(text); }},
      {"--sensitivity", "N", formatText("0 to 100, more finds more boundaries (%g)", options_.sensitivity),
       [this](const std::string& text) { options_.sensitivity = numberOf("--sensitivity", text, 0.0, 100.0); }},
      {"--durations", "LIST", "What the tracks last: 3:28,3:54,… or a file, a cue sheet (.cue) or lines of text",
       [this](const std::string& text) { takeDurations(text); }},
      {"--min-track", "SECONDS", "What a track lasts at least (0: short ones are merely unlikely)",
       [this](const std::string& text) { takeShortestTrack(text); }},
      {"--cut", "WHERE", "before: just before the next track (default); middle: of the quiet",
       [this](const std::string& text) { takeCut(text); }},
      {"--trim", "", "Leave the quiet before the first track and behind the last one out of them",
       [this](const std::string&) { options_.trimEnds = true; }},
  };
}

void LevelsMethod::takeTracks(const std::string& text) {
  options_.numberOfTracks = numberOf("--tracks", text, 0, 1'000'000);
  saysTracks_ = true;
  refuseTwoNumbersOfTracks();
}

// A list is a list even where a file of that name exists; '@' makes a file of anything.
void LevelsMethod::takeDurations(const std::string& text) {
  saysDurations_ = true;
  refuseTwoNumbersOfTracks();
  if (text.starts_with('@')) {
    listingPath_ = text.substr(1);
    return;
  }
  try {
    options_.durations = parseDurations(text);
  } catch (const Failure& noList) {
    std::error_code error;
    if (!std::filesystem::exists(text, error)) {
      throw CLI::ValidationError("--durations", noList.what() + std::string(", and no file has that name"));
    }
    listingPath_ = text;
  }
}

void LevelsMethod::takeShortestTrack(const std::string& text) {
  const std::optional<double> seconds = parseDuration(text);
  if (!seconds) {
    throw CLI::ValidationError("--min-track", "'" + text + "' is no length such as 90 or 1:30");
  }
  options_.minimumTrackLength = *seconds;
}

void LevelsMethod::takeCut(const std::string& text) {
  using CutPosition = OrvTrackBoundaryDetector::CutPosition;
  if (text != "before" && text != "middle") {
    throw CLI::ValidationError("--cut", "'" + text + "' is not known; there are: before, middle");
  }
  options_.cutPosition = text == "before" ? CutPosition::beforeNextTrack : CutPosition::middle;
}

void LevelsMethod::refuseTwoNumbersOfTracks() const {
  if (saysTracks_ && saysDurations_) {
    throw CLI::ValidationError("--tracks", "--durations says how many there are too; give one of the two");
  }
}

// Titles belong to durations one by one: where the recording has another number of tracks, nobody knows which is which.
void nameTracks(const std::vector<std::string>& titles, Detection* detection) {
  std::vector<Track>& tracks = detection->tracks;
  const bool fits = titles.size() == tracks.size();
  if (!titles.empty() && !fits) {
    detection->notes.push_back(
        formatText("the listing has %zu titles, which %zu tracks are not given", titles.size(), tracks.size()));
  }
  for (std::size_t i = 0; i < tracks.size(); ++i) {
    tracks[i].name = fits && !titles[i].empty() ? titles[i] : OrvAudioTrackAutoDefiner::untitledName(i);
  }
}

Detection LevelsMethod::detect(const SourceFile& source, const DetectionRun& run) const {
  OrvTrackBoundaryDetector::Options options = options_;
  std::vector<std::string> titles;
  if (!listingPath_.empty()) {
    TrackListing listing = readTrackListing(listingPath_, source.seconds(source.lengthInFrames));
    options.durations = std::move(listing.durations);
    titles = std::move(listing.titles);
  }
  options.cancel = run.cancel;
  options.progress = run.progress;
  OrvTrackBoundaryDetector::Result result = OrvTrackBoundaryDetector::detectInFile(source.path, options);
  if (result.cancelled) {
    throw Cancelled();
  }
  if (!result.done) {
    throw Failure(source.path, result.problem);
  }
  Detection detection;
  for (const auto& [begin, end] : result.tracks) {
    if (begin < end) {
      detection.tracks.push_back({"", begin, end, false});
    }
  }
  detection.boundaries = std::move(result.boundaries);
  detection.doubtful = std::move(result.doubtful);
  detection.notes = std::move(result.notes);
  detection.floor = std::move(result.floor);
  detection.envelope = std::move(result.envelope);
  nameTracks(titles, &detection);
  return detection;
}

}  // namespace

std::unique_ptr<DetectionMethod> makeLevelsMethod() {
  return std::make_unique<LevelsMethod>();
}

}  // namespace orv::cli
