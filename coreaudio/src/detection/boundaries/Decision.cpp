#include "detection/boundaries/Decision.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "OrvPlatform/Log.h"
#include "detection/boundaries/AlignDurations.h"
#include "detection/boundaries/ChooseBoundaries.h"
#include "detection/boundaries/CutBlock.h"
#include "detection/boundaries/Likelihood.h"
#include "detection/boundaries/MusicEnds.h"
#include "detection/boundaries/QuietStretch.h"

namespace orv::boundaries {
namespace {

using Options = OrvTrackBoundaryDetector::Options;
using Result = OrvTrackBoundaryDetector::Result;
using Boundary = OrvTrackBoundaryDetector::Boundary;

/// Dips that are looked at, dB: by themselves, and where guidance needs every place that there is.
constexpr float kProminence = 5.0F;
constexpr float kLeastProminence = 1.5F;

/// Points of sensitivity that make a boundary e times as likely.
constexpr double kSensitivityPerChance = 8.0;

/// Doubtful candidates that are told: at most so many, each with at least that confidence.
constexpr std::size_t kMostDoubtful = 20;
constexpr double kLeastConfidence = 0.05;

/// What a counted run looks at, so that its work stays in bounds: the best places, several for each boundary wanted.
constexpr std::size_t kPlacesPerTrack = 4;
constexpr std::size_t kLeastPlaces = 256;
constexpr int kMostTracks = 1000;

class Decision {
 public:
  Decision(const Options& options, Result* result)
      : options_(options),
        result_(*result),
        time_(result->envelope),
        floor_(result->envelope, time_),
        loudness_(result->envelope, floor_, time_),
        overview_(result->envelope, loudness_, time_.blocksPerStep()),
        music_(findMusicEnds(loudness_, time_)) {}

  void run() {
    tellFloor();
    if (!music_.hasMusic) {
      result_.notes.emplace_back("nothing but noise or silence is in the recording");
    }
    look(kProminence);
    const std::vector<std::size_t> chosen = choose();
    tellBoundaries(chosen);
    tellDoubtful(chosen);
    tellTracks();
  }

 private:
  void look(float prominence) {
    stretches_ = findQuietStretches(loudness_, overview_, time_, prominence);
    const double shift = (options_.sensitivity - OrvTrackBoundaryDetector::kDefaultSensitivity) / kSensitivityPerChance;
    places_.clear();
    std::size_t block = 0;
    std::size_t loud = 0;
    const auto musicUntil = [&](std::size_t end) {
      for (; block < end; ++block) {
        loud += loudness_.smooth()[block] > kMusicLoudness ? 1 : 0;
      }
      return time_.seconds(loud);
    };
    for (QuietStretch& stretch : stretches_) {
      stretch.chance = chanceOf(stretch) + static_cast<float>(shift);
      const std::size_t cut = cutBlockOf(stretch, loudness_, time_, options_.cutPosition);
      const std::size_t behind = std::max(cut, block);
      places_.push_back({time_.seconds(behind), musicUntil(behind), double{stretch.chance}});
    }
    limits_.begin = {};
    limits_.end = {seconds(result_.lengthInFrames), musicUntil(loudness_.smooth().size()), 0};
    limits_.minimumTrackLength = options_.minimumTrackLength;
  }

  std::vector<std::size_t> choose() {
    if (!options_.durations.empty()) {
      return chooseByDurations();
    }
    if (options_.numberOfTracks > 0) {
      return chooseCounted();
    }
    return chooseBoundaries(places_, limits_);
  }

  std::vector<std::size_t> chooseCounted() {
    const int tracks = std::min(options_.numberOfTracks, kMostTracks);
    if (tracks < options_.numberOfTracks) {
      result_.notes.push_back(formatText("no more than %d tracks can be asked for", kMostTracks));
    }
    const auto wanted = static_cast<std::size_t>(tracks) - 1;
    std::vector<std::size_t> chosen = chooseBest(wanted);
    if (chosen.size() < wanted) {
      look(kLeastProminence);
      chosen = chooseBest(wanted);
    }
    if (chosen.size() < wanted) {
      result_.notes.push_back(formatText("asked for %d tracks; the recording has places for %zu",
                                         options_.numberOfTracks, chosen.size() + 1));
    }
    return chosen;
  }

  /// Of the best places only.
  std::vector<std::size_t> chooseBest(std::size_t wanted) const {
    std::vector<std::size_t> order(places_.size());
    for (std::size_t i = 0; i < order.size(); ++i) {
      order[i] = i;
    }
    const std::size_t kept = std::min(std::max(kPlacesPerTrack * (wanted + 1), kLeastPlaces), order.size());
    std::partial_sort(order.begin(), order.begin() + static_cast<std::ptrdiff_t>(kept), order.end(),
                      [this](std::size_t a, std::size_t b) { return places_[a].chance > places_[b].chance; });
    order.resize(kept);
    std::sort(order.begin(), order.end());
    std::vector<Place> best;
    best.reserve(kept);
    for (const std::size_t i : order) {
      best.push_back(places_[i]);
    }
    std::vector<std::size_t> chosen = chooseCountedBoundaries(best, limits_, wanted);
    for (std::size_t& i : chosen) {
      i = order[i];
    }
    return chosen;
  }

  std::vector<std::size_t> chooseByDurations() {
    std::vector<double> durations = options_.durations;
    dropWhatDoesNotFit(&durations);
    if (durations.size() < 2) {
      return {};
    }
    look(kLeastProminence);
    Limits music = limits_;
    music.begin.second = time_.seconds(music_.begin);
    music.end.second = time_.seconds(music_.end);
    std::vector<std::size_t> chosen = alignDurations(places_, music, durations);
    if (chosen.empty()) {
      result_.notes.emplace_back("the durations do not fit to the quiet places of the recording; they are not used");
      look(kProminence);
      chosen = chooseBoundaries(places_, limits_);
    }
    return chosen;
  }

  void dropWhatDoesNotFit(std::vector<double>* durations) {
    const double length = seconds(result_.lengthInFrames);
    constexpr double tolerance = 1.02;
    double begin = 0;
    std::size_t fitting = 0;
    while (fitting < durations->size() && begin < length) {
      double& duration = (*durations)[fitting++];
      if (begin + duration > tolerance * length) {
        result_.notes.push_back(
            formatText("the durations add up to more than the recording's %.0f s; %zu of %zu tracks fit", length,
                       fitting, durations->size()));
        duration = length - begin;
        break;
      }
      begin += duration;
    }
    durations->resize(fitting);
  }

  void tellFloor() {
    for (std::size_t step = 0; step < floor_.steps(); ++step) {
      const std::size_t block = step * time_.blocksPerStep();
      result_.floor.push_back({frameOf(block), floor_.levelAt(block)});
    }
  }

  /// What `place` loses by the boundaries before and behind it. `isAlone`: without it there would be none.
  Context contextOf(const Place& place, const Place& before, const Place& behind, bool isAlone) const {
    const Limits any{limits_.begin, limits_.end, 0};
    return {.lengths =
                lengthChance(before, place, any) + lengthChance(place, behind, any) - lengthChance(before, behind, any),
            .alone = isAlone ? -kLeastWorth : 0};
  }

  Boundary boundaryAt(std::size_t index, const Context& context) const {
    const QuietStretch& stretch = stretches_[index];
    Boundary boundary;
    const std::size_t cut = cutBlockOf(stretch, loudness_, time_, options_.cutPosition);
    boundary.frame = std::min(frameOf(cut) + result_.envelope.framesPerBlock / 2, result_.lengthInFrames);
    boundary.quietBegin = frameOf(stretch.begin);
    boundary.quietEnd = std::min(frameOf(stretch.noiseEnd), result_.lengthInFrames);
    boundary.depth = double{depthOf(stretch)};
    boundary.aboveFloor = double{stretch.height};
    boundary.confidence = confidenceOf(double{stretch.chance} + context.sum());
    return boundary;
  }

  void tellBoundaries(const std::vector<std::size_t>& chosen) {
    for (std::size_t i = 0; i < chosen.size(); ++i) {
      const Place& before = i == 0 ? limits_.begin : places_[chosen[i - 1]];
      const Place& behind = i + 1 == chosen.size() ? limits_.end : places_[chosen[i + 1]];
      const Context context = contextOf(places_[chosen[i]], before, behind, chosen.size() == 1);
      Boundary boundary = boundaryAt(chosen[i], context);
      const QuietStretch& stretch = stretches_[chosen[i]];
      boundary.reason = boundary.confidence >= 0.5 ? reasonFor(stretch) : reasonAgainst(stretch, context);
      result_.boundaries.push_back(std::move(boundary));
    }
  }

  void tellDoubtful(const std::vector<std::size_t>& chosen) {
    std::size_t next = 0;
    for (std::size_t i = 0; i < places_.size(); ++i) {
      if (next < chosen.size() && chosen[next] == i) {
        ++next;
        continue;
      }
      const Place& before = next == 0 ? limits_.begin : places_[chosen[next - 1]];
      const Place& behind = next == chosen.size() ? limits_.end : places_[chosen[next]];
      const Context context = contextOf(places_[i], before, behind, chosen.empty());
      Boundary boundary = boundaryAt(i, context);
      if (boundary.confidence >= kLeastConfidence && !isInBoundary(boundary)) {
        boundary.reason = reasonAgainst(stretches_[i], context);
        result_.doubtful.push_back(std::move(boundary));
      }
    }
    keepBestDoubtful();
  }

  /// Whether it is a part of the quiet around a boundary, which was cut once already.
  bool isInBoundary(const Boundary& doubtful) const {
    return std::any_of(result_.boundaries.begin(), result_.boundaries.end(), [&](const Boundary& boundary) {
      return doubtful.quietBegin < boundary.quietEnd && boundary.quietBegin < doubtful.quietEnd;
    });
  }

  void keepBestDoubtful() {
    std::vector<Boundary>& doubtful = result_.doubtful;
    if (doubtful.size() <= kMostDoubtful) {
      return;
    }
    const auto moreConfident = [](const Boundary& a, const Boundary& b) { return a.confidence > b.confidence; };
    std::nth_element(doubtful.begin(), doubtful.begin() + kMostDoubtful, doubtful.end(), moreConfident);
    doubtful.resize(kMostDoubtful);
    std::sort(doubtful.begin(), doubtful.end(), [](const Boundary& a, const Boundary& b) { return a.frame < b.frame; });
  }

  void tellTracks() {
    std::uint64_t begin = options_.trimEnds ? frameOf(music_.begin) : 0;
    for (const Boundary& boundary : result_.boundaries) {
      result_.tracks.push_back({std::min(begin, boundary.frame), boundary.frame});
      begin = boundary.frame;
    }
    const std::uint64_t end = options_.trimEnds ? frameOf(music_.end) : result_.lengthInFrames;
    result_.tracks.push_back({begin, std::max(std::min(end, result_.lengthInFrames), begin)});
  }

  std::uint64_t frameOf(std::size_t block) const { return std::uint64_t{block} * result_.envelope.framesPerBlock; }
  double seconds(std::uint64_t frames) const { return static_cast<double>(frames) / result_.sampleRate; }

  const Options& options_;
  Result& result_;
  const BlockTime time_;
  const NoiseFloor floor_;
  const Loudness loudness_;
  const Overview overview_;
  const MusicEnds music_;
  std::vector<QuietStretch> stretches_;
  std::vector<Place> places_;  // one for each stretch
  Limits limits_;
};

}  // namespace

void decide(const Options& options, Result* result) {
  Decision(options, result).run();
}

}  // namespace orv::boundaries
