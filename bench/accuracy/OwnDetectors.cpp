#include <cmath>
#include <stdexcept>

#include "OrvCoreAudio/OrvAudioTrackAutoDefiner.h"
#include "OrvCoreAudio/OrvTrackBoundaryDetector.h"
#include "accuracy/Detectors.h"
#include "accuracy/Random.h"
#include "accuracy/Sound.h"

namespace orv::accuracy {
namespace {

using Levels = OrvTrackBoundaryDetector;

int numberOfTracks(const Recording& recording) {
  return static_cast<int>(recording.truth.gaps.size()) + 1;
}

std::vector<Interval> tracksOf(const Recording& recording) {
  if (!recording.truth.tracks.empty()) {
    return recording.truth.tracks;
  }
  std::vector<Interval> tracks;
  double begin = 0;
  for (const Interval& gap : recording.truth.gaps) {
    tracks.push_back({begin, gap.begin});
    begin = gap.end;
  }
  tracks.push_back({begin, recording.seconds});
  return tracks;
}

// What a sleeve says: the lengths in whole seconds, played on a turntable that is up to 1 % fast or slow.
std::vector<double> listedDurations(const Recording& recording) {
  Random random(recording.name + " turntable");
  const double speed = random.uniform(0.99, 1.01);
  std::vector<double> durations;
  for (const Interval& track : tracksOf(recording)) {
    durations.push_back(std::max(1.0, std::round((track.end - track.begin) * speed)));
  }
  return durations;
}

std::string noteOn(const Levels::Boundary& boundary) {
  return "confidence " + std::to_string(boundary.confidence).substr(0, 4) + ": " + boundary.reason;
}

std::vector<Cut> byLevels(const Recording& recording, const Levels::Options& options) {
  const Levels::Result result = Levels::detectInFile(recording.path, options);
  if (!result.done) {
    throw std::runtime_error(recording.path + ": " + result.problem);
  }
  std::vector<Cut> cuts;
  for (const Levels::Boundary& boundary : result.boundaries) {
    cuts.push_back({static_cast<double>(boundary.frame) / result.sampleRate, noteOn(boundary)});
  }
  return cuts;
}

std::vector<Cut> byCrossings(const Recording& recording, int count) {
  OrvAudioTrackAutoDefiner::Request request;
  request.path = recording.path;
  request.numberOfTracks = count;
  const OrvAudioTrackAutoDefiner::Result result = OrvAudioTrackAutoDefiner::defineTracks(request);
  if (!result.done) {
    throw std::runtime_error(recording.path + ": " + result.problem);
  }
  const double rate = sampleRateOf(recording.path);
  std::vector<Cut> cuts;
  for (std::size_t i = 1; i < result.tracks.size(); ++i) {
    cuts.push_back({static_cast<double>(result.tracks[i]->trackBeginFrame()) / rate, ""});
  }
  return cuts;
}

}  // namespace

std::vector<Detector> ownDetectors() {
  return {
      {"levels", "defaults", false, [](const Recording& recording) { return byLevels(recording, {}); }},
      {"levels, number", "the number of tracks given", true,
       [](const Recording& recording) {
         Levels::Options options;
         options.numberOfTracks = numberOfTracks(recording);
         return byLevels(recording, options);
       }},
      {"levels, durations", "durations given in whole seconds, all up to 1 % too long or too short", true,
       [](const Recording& recording) {
         Levels::Options options;
         options.durations = listedDurations(recording);
         return byLevels(recording, options);
       }},
      {"crossings", "defaults", false, [](const Recording& recording) { return byCrossings(recording, 0); }},
      {"crossings, number", "the number of tracks given", true,
       [](const Recording& recording) { return byCrossings(recording, numberOfTracks(recording)); }},
  };
}

}  // namespace orv::accuracy
