// The track definition that any number of threads can run at once, on recordings of any shape.
#include <algorithm>
#include <limits>

#include "OrvCoreAudio/OrvAudioFile.h"
#include "OrvCoreAudio/OrvAudioTrackAutoDefiner.h"
#include "OrvCoreAudio/OrvSplitDetection.h"
#include "OrvPlatform/Log.h"
#include "OrvPlatform/Vector.h"
#include "WithoutThrowing.h"
#include "detection/BlockReader.h"
#include "detection/CrossingAnalysis.h"
#include "detection/TrackNames.h"

namespace crossings = orv::crossings;
using orv::formatText;

namespace {

using Request = OrvAudioTrackAutoDefiner::Request;
using Result = OrvAudioTrackAutoDefiner::Result;

/// Counted runs work with 16-bit block numbers.
constexpr std::uint32_t kMostCountedBlocks = std::numeric_limits<std::int16_t>::max();

bool isCancelled(const Request& request) {
  return request.cancel != nullptr && request.cancel->load(std::memory_order_relaxed);
}

void report(const Request& request, double progress) {
  if (request.progress) {
    request.progress(static_cast<float>(std::min(progress, 1.0)));
  }
}

Result failure(std::string problem) {
  Result result;
  result.problem = std::move(problem);
  return result;
}

/// The largest crossing count of any channel over the first half of a block: the thresholds are tuned to that.
std::uint32_t countBlock(const std::int16_t* samples, std::uint32_t frames, const orv::BlockReader& reader,
                         std::int16_t level) {
  return orv::simd::countLevelCrossings16(samples, (frames + 1) / 2, reader.channels(), level, reader.order());
}

class Definition {
 public:
  Definition(const Request& request, OrvAudioFile& file)
      : request_(request),
        file_(file),
        lengthInFrames_(file.lengthInBytes() / file.bytesPerFrame()),
        framesPerBlock_(crossings::framesPerBlock(file.sampleRate())),
        blocks_(crossings::numberOfBlocks(lengthInFrames_ * 5, file.sampleRate())) {}

  Result run() {
    if (const std::string problem = whatForbidsIt(); !problem.empty()) {
      return failure(problem);
    }
    counts_.resize(blocks_);
    if (const std::string problem = countAll(); !problem.empty()) {
      return failure(problem);
    }
    Result result;
    result.cancelled = isCancelled(request_);
    result.done = !result.cancelled;
    if (result.done) {
      result.tracks = tracksBetween(boundaries());
    }
    report(request_, 1.0);
    return result;
  }

 private:
  std::string whatForbidsIt() const {
    if (lengthInFrames_ == 0) {
      return "the file holds no audio";
    }
    if (framesPerBlock_ == 0) {
      return formatText("a sample rate of %g Hz is too low to look for tracks", file_.sampleRate());
    }
    if (request_.numberOfTracks != 0 && blocks_ > kMostCountedBlocks) {
      return formatText("the recording is too long for a given number of tracks: at most %d minutes",
                        static_cast<int>(kMostCountedBlocks / 5 / 60));
    }
    return {};
  }

  /// Counts all blocks; answers what went wrong.
  std::string countAll() {
    orv::BlockReader reader(file_, framesPerBlock_);
    std::size_t block = 0;
    while (reader.isUsable() && !isCancelled(request_)) {
      const orv::BlockReader::Group group = reader.next();
      if (group.frames == 0) {
        break;
      }
      for (std::uint32_t frame = 0; frame < group.frames && block < counts_.size(); frame += framesPerBlock_) {
        const std::uint32_t frames = std::min(framesPerBlock_, group.frames - frame);
        counts_[block++] =
            countBlock(group.samples + std::size_t{frame} * reader.channels(), frames, reader, request_.zeroOffset);
      }
      report(request_, static_cast<double>(block) / blocks_);
    }
    return reader.problem();
  }

  /// Begins of the tracks, in blocks.
  std::vector<std::uint32_t> boundaries() const {
    if (request_.numberOfTracks == 0) {
      const auto silence = static_cast<std::uint32_t>(
          std::max<std::int64_t>(crossings::silenceInBlocks(static_cast<float>(request_.lengthOfSilence)), 0));
      return crossings::thresholdSplits(counts_.data(), static_cast<std::uint32_t>(counts_.size()),
                                        request_.sensitivity, silence, std::numeric_limits<std::size_t>::max(), {});
    }
    const auto wanted = static_cast<std::int16_t>(std::clamp(request_.numberOfTracks, 1, kMostCountedTracks));
    auto splits = crossings::countedSplits(counts_.data(), static_cast<std::int16_t>(counts_.size()), wanted, {});
    // The last pick, though it pushed the others away, gives way to the end of the file.
    splits.resize(static_cast<std::size_t>(wanted));
    return splits;
  }

  OrvAudioTrackAutoDefiner::TrackList tracksBetween(const std::vector<std::uint32_t>& begins) const {
    OrvAudioTrackAutoDefiner::TrackList tracks;
    for (std::size_t i = 0; i < begins.size(); ++i) {
      const bool isLast = i + 1 == begins.size();
      tracks.push_back(orv::untitledTrack(i, frameOf(begins[i]), isLast ? lengthInFrames_ : frameOf(begins[i + 1])));
    }
    return tracks;
  }

  std::uint64_t frameOf(std::uint32_t block) const { return std::uint64_t{block} * framesPerBlock_; }

  const Request& request_;
  OrvAudioFile& file_;
  const std::uint64_t lengthInFrames_;
  const std::uint32_t framesPerBlock_;
  const std::uint32_t blocks_;
  std::vector<std::uint32_t> counts_;
};

}  // namespace

Result OrvAudioTrackAutoDefiner::defineTracks(const Request& request) {
  return withoutThrowing("OrvAudioTrackAutoDefiner", failure("out of memory"), [&] {
    const auto file = OrvAudioFile::initWithPath_accessMode(request.path, OrvAudioFile::kModeRead);
    if (!file->open()) {
      return failure(file->lastProblem());
    }
    return Definition(request, *file).run();
  });
}
