#include "DetectionMethod.h"
#include "Failure.h"
#include "Options.h"
#include "OrvCoreAudio/OrvAudioTrackAutoDefiner.h"
#include "OrvCoreAudio/OrvSplitDetection.h"
#include "OrvPlatform/Log.h"

namespace orv::cli {
namespace {

constexpr double kLongestSilence = 3'600'000;  // milliseconds

class CrossingsMethod : public DetectionMethod {
 public:
  std::string name() const override { return "crossings"; }
  std::string summary() const override { return "where a level is crossed seldom"; }
  std::vector<MethodSetting> settings() override;
  Detection detect(const SourceFile& source, const DetectionRun& run) const override;

 private:
  OrvAudioTrackAutoDefiner::Request request_;
};

std::vector<MethodSetting> CrossingsMethod::settings() {
  return {
      {"--tracks", "N", formatText("find so many, %d at most; 0 cuts at every gap (0)", kMostCountedTracks),
       [this](const std::string& text) { request_.numberOfTracks = numberOf("--tracks", text, 0, 1'000'000); }},
      {"--sensitivity", "N",
       formatText("0 to 32767, crossings in a fifth of a second that tell music from a gap (%d)", request_.sensitivity),
       [this](const std::string& text) {
         request_.sensitivity = static_cast<std::uint16_t>(numberOf("--sensitivity", text, 0, 32'767));
       }},
      {"--silence", "MS", formatText("Milliseconds that a gap lasts at least (%g)", request_.lengthOfSilence),
       [this](const std::string& text) {
         request_.lengthOfSilence = numberOf("--silence", text, 0.0, kLongestSilence);
       }},
      {"--zero-offset", "N", formatText("The level whose crossings are counted, of 32768 (%d)", request_.zeroOffset),
       [this](const std::string& text) {
         request_.zeroOffset = static_cast<std::int16_t>(numberOf("--zero-offset", text, -32'768, 32'767));
       }},
  };
}

Detection CrossingsMethod::detect(const SourceFile& source, const DetectionRun& run) const {
  Detection detection;
  OrvAudioTrackAutoDefiner::Request request = request_;
  if (request.numberOfTracks > kMostCountedTracks) {
    request.numberOfTracks = kMostCountedTracks;
    detection.notes.push_back(formatText("the method '%s' finds %d tracks at most, and is asked for so many",
                                         name().c_str(), request.numberOfTracks));
  }
  request.path = source.path;
  request.cancel = run.cancel;
  request.progress = run.progress;
  const OrvAudioTrackAutoDefiner::Result result = OrvAudioTrackAutoDefiner::defineTracks(request);
  if (result.cancelled) {
    throw Cancelled();
  }
  if (!result.done) {
    throw Failure(source.path, result.problem);
  }
  for (const auto& track : result.tracks) {
    // Where more tracks are asked for than the recording has blocks, the method cuts in one place more than once.
    if (track->trackBeginFrame() >= track->trackEndFrame()) {
      continue;
    }
    detection.tracks.push_back(
        {track->trackName().value_or("Untitled"), track->trackBeginFrame(), track->trackEndFrame(), track->isActive()});
  }
  const auto wanted = static_cast<std::size_t>(request.numberOfTracks);
  if (wanted > 0 && detection.tracks.size() != wanted) {
    detection.notes.push_back(formatText("asked for %zu tracks, found %zu", wanted, detection.tracks.size()));
  }
  return detection;
}

}  // namespace

std::unique_ptr<DetectionMethod> makeCrossingsMethod() {
  return std::make_unique<CrossingsMethod>();
}

}  // namespace orv::cli
