#include "DetectionMethod.h"

#include <array>

#include "Failure.h"
#include "OrvCoreAudio/OrvAudioTrackAutoDefiner.h"
#include "OrvCoreAudio/OrvSplitDetection.h"

namespace orv::cli {
namespace {

std::vector<Track> detectByCrossings(const std::string& path, const DetectionSettings& settings) {
  OrvAudioTrackAutoDefiner::Request request;
  request.path = path;
  request.sensitivity = static_cast<std::uint16_t>(settings.sensitivity);
  request.lengthOfSilence = settings.silence;
  request.zeroOffset = static_cast<std::int16_t>(settings.zeroOffset);
  request.numberOfTracks = settings.numberOfTracks;
  request.cancel = settings.cancel;
  request.progress = settings.progress;
  const OrvAudioTrackAutoDefiner::Result result = OrvAudioTrackAutoDefiner::defineTracks(request);
  if (result.cancelled) {
    throw Cancelled();
  }
  if (!result.done) {
    throw Failure(path, result.problem);
  }
  std::vector<Track> tracks;
  for (const auto& track : result.tracks) {
    // Where more tracks are asked for than the recording has blocks, the method cuts in one place more than once.
    if (track->trackBeginFrame() >= track->trackEndFrame()) {
      continue;
    }
    tracks.push_back(
        {track->trackName().value_or("Untitled"), track->trackBeginFrame(), track->trackEndFrame(), track->isActive()});
  }
  return tracks;
}

constexpr std::array<DetectionMethod, 1> kMethods{{
    {"crossings", kMostCountedTracks, detectByCrossings},
}};

}  // namespace

std::span<const DetectionMethod> detectionMethods() {
  return kMethods;
}

DetectionSettings defaultDetectionSettings() {
  DetectionSettings settings;
  settings.sensitivity = OrvAudioTrackAutoDefiner::kDefaultSensitivity;
  settings.silence = double{OrvAudioTrackAutoDefiner::kDefaultLengthOfSilence};
  settings.zeroOffset = OrvAudioTrackAutoDefiner::kDefaultZeroOffset;
  return settings;
}

}  // namespace orv::cli
