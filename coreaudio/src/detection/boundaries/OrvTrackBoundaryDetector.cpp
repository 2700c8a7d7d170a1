#include "OrvCoreAudio/OrvTrackBoundaryDetector.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "OrvCoreAudio/OrvAudioFile.h"
#include "WithoutThrowing.h"
#include "detection/boundaries/Decision.h"
#include "detection/boundaries/MeasureEnvelope.h"
#include "detection/boundaries/ZeroCrossings.h"

namespace boundaries = orv::boundaries;

namespace {

using Options = OrvTrackBoundaryDetector::Options;
using Result = OrvTrackBoundaryDetector::Result;

Result failure(std::string problem) {
  Result result;
  result.problem = std::move(problem);
  return result;
}

std::string whatIsWrongWith(const Options& options) {
  const auto isLength = [](double seconds) { return std::isfinite(seconds) && seconds > 0; };
  if (options.numberOfTracks < 0) {
    return "the number of tracks is negative";
  }
  if (!std::all_of(options.durations.begin(), options.durations.end(), isLength)) {
    return "a duration is not a positive number of seconds";
  }
  if (options.minimumTrackLength != 0 && !isLength(options.minimumTrackLength)) {
    return "the minimum track length is not a number of seconds";
  }
  if (!(options.sensitivity >= 0 && options.sensitivity <= 100)) {
    return "the sensitivity is not between 0 and 100";
  }
  return {};
}

bool isSound(const OrvLevelEnvelope& envelope) {
  return std::isfinite(envelope.sampleRate) && envelope.sampleRate > 0 && envelope.framesPerBlock > 0 &&
         envelope.lengthInFrames > 0 &&
         envelope.blocks.size() == (envelope.lengthInFrames - 1) / envelope.framesPerBlock + 1;
}

Result decideOn(OrvLevelEnvelope envelope, const Options& options) {
  Result result;
  result.envelope = std::move(envelope);
  result.sampleRate = result.envelope.sampleRate;
  result.lengthInFrames = result.envelope.lengthInFrames;
  if (options.cancel != nullptr && options.cancel->load(std::memory_order_relaxed)) {
    result.cancelled = true;
    return result;
  }
  boundaries::decide(options, &result);
  result.done = true;
  return result;
}

/// A track keeps one frame at least: cuts that would meet stay where they are.
void moveToZeroCrossings(boundaries::FloatReader& reader, Result* result) {
  for (std::size_t i = 0; i < result->boundaries.size(); ++i) {
    const std::uint64_t frame =
        boundaries::nearestZeroCrossing(reader, result->sampleRate, result->boundaries[i].frame);
    if (frame > result->tracks[i].begin && frame < result->tracks[i + 1].end) {
      result->boundaries[i].frame = frame;
      result->tracks[i].end = frame;
      result->tracks[i + 1].begin = frame;
    }
  }
}

Result detect(const std::string& path, const Options& options) {
  if (std::string problem = whatIsWrongWith(options); !problem.empty()) {
    return failure(std::move(problem));
  }
  const auto file = OrvAudioFile::initWithPath_accessMode(path, OrvAudioFile::kModeRead);
  file->setUseCache(false);
  if (!file->open()) {
    return failure(file->lastProblem());
  }
  boundaries::FloatReader reader(*file);
  auto measurement = boundaries::measureEnvelope(reader, file->sampleRate(), {options.cancel, options.progress});
  if (!measurement.done) {
    Result result = failure(std::move(measurement.problem));
    result.cancelled = measurement.cancelled;
    return result;
  }
  Result result = decideOn(std::move(measurement.envelope), options);
  if (result.done) {
    moveToZeroCrossings(reader, &result);
  }
  return result;
}

}  // namespace

Result OrvTrackBoundaryDetector::detectInFile(const std::string& path, const Options& options) {
  return withoutThrowing("OrvTrackBoundaryDetector", failure("out of memory"), [&] { return detect(path, options); });
}

Result OrvTrackBoundaryDetector::detectInEnvelope(OrvLevelEnvelope envelope, const Options& options) {
  return withoutThrowing("OrvTrackBoundaryDetector", failure("out of memory"), [&] {
    if (std::string problem = whatIsWrongWith(options); !problem.empty()) {
      return failure(std::move(problem));
    }
    if (!isSound(envelope)) {
      return failure("the envelope contradicts itself");
    }
    return decideOn(std::move(envelope), options);
  });
}
