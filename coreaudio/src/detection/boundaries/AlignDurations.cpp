#include "detection/boundaries/AlignDurations.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace orv::boundaries {
namespace {

constexpr double kImpossible = -std::numeric_limits<double>::infinity();

constexpr double kMostSpeedError = 0.02;
constexpr double kSpeedStep = 0.0025;
constexpr double kLongestGap = 5;  // seconds

/// What a difference to the listing costs: half its square over this deviation, and no more than the most, so that one
/// wrong duration does not move all boundaries.
constexpr double kDeviation = 1.0;              // seconds
constexpr double kDeviationOfDuration = 0.002;  // of a duration
constexpr double kMostCost = 25;
/// Track lengths further from the listing than this are not looked at, seconds and share of a duration.
constexpr double kReach = 20;
constexpr double kReachOfDuration = 0.15;
/// A listing outweighs what a quiet stretch looks like.
constexpr double kLeastChance = -8;

double lengthCost(double length, double expected) {
  const double gap = std::clamp(length - expected, 0.0, kLongestGap);
  const double error = (length - expected - gap) / (kDeviation + kDeviationOfDuration * expected);
  return -std::min(error * error / 2, kMostCost);
}

/// The series of boundaries at one speed of the recording.
class Alignment {
 public:
  Alignment(std::span<const Place> places, const Limits& limits, std::span<const double> durations, double speed)
      : places_(places), limits_(limits), durations_(durations), speed_(speed) {}

  /// Works it out; answers what it is worth.
  double run() {
    worths_.assign(places_.size(), kImpossible);
    for (std::size_t track = 0; track + 1 < durations_.size(); ++track) {
      if (!advance(track)) {
        return kImpossible;
      }
    }
    return finish();
  }

  std::vector<std::size_t> boundaries() const {
    std::vector<std::size_t> chosen(previous_.size());
    std::size_t place = last_;
    for (std::size_t row = previous_.size(); row-- > 0; place = previous_[row].places[place - previous_[row].first]) {
      chosen[row] = place;
    }
    return chosen;
  }

 private:
  /// Places before those of one boundary; only places within reach are kept.
  struct Row {
    std::size_t first = 0;
    std::vector<std::uint32_t> places;
  };

  double expected(std::size_t track) const { return durations_[track] * speed_; }
  double reach(std::size_t track) const { return kReach + kReachOfDuration * expected(track); }

  std::size_t firstPlaceFrom(double second) const {
    return static_cast<std::size_t>(
        std::lower_bound(places_.begin(), places_.end(), second,
                         [](const Place& place, double value) { return place.second < value; }) -
        places_.begin());
  }

  /// Goes one track on, from the boundaries behind `track - 1` to those behind `track`.
  bool advance(std::size_t track) {
    const double earliest = track == 0 ? limits_.begin.second : places_[reached_.begin].second;
    const double latest = track == 0 ? limits_.begin.second : places_[reached_.end - 1].second;
    const Range next{firstPlaceFrom(earliest + expected(track) - reach(track)),
                     firstPlaceFrom(latest + expected(track) + reach(track))};
    std::vector<double> worths(places_.size(), kImpossible);
    Row row{next.begin, std::vector<std::uint32_t>(next.end > next.begin ? next.end - next.begin : 0)};
    Range reached{places_.size(), 0};
    for (std::size_t place = next.begin; place < next.end; ++place) {
      const auto [worth, from] = best(track, place);
      if (worth == kImpossible) {
        continue;
      }
      worths[place] = worth + std::max(places_[place].chance, kLeastChance);
      row.places[place - next.begin] = from;
      reached = {std::min(reached.begin, place), place + 1};
    }
    worths_ = std::move(worths);
    previous_.push_back(std::move(row));
    reached_ = reached;
    return reached.begin < reached.end;
  }

  std::pair<double, std::uint32_t> best(std::size_t track, std::size_t place) const {
    const double second = places_[place].second;
    if (track == 0) {
      const double length = second - limits_.begin.second;
      return {length > 0 ? lengthCost(length, expected(track)) : kImpossible, 0};
    }
    const std::size_t first = std::max(firstPlaceFrom(second - expected(track) - reach(track)), reached_.begin);
    const std::size_t last =
        std::min(firstPlaceFrom(second - expected(track) + reach(track)), std::min(place, reached_.end));
    double worth = kImpossible;
    std::size_t from = 0;
    for (std::size_t i = first; i < last; ++i) {
      const double candidate = worths_[i] + lengthCost(second - places_[i].second, expected(track));
      if (candidate > worth) {
        worth = candidate;
        from = i;
      }
    }
    return {worth, static_cast<std::uint32_t>(from)};
  }

  double finish() {
    double worth = kImpossible;
    for (std::size_t i = reached_.begin; i < reached_.end; ++i) {
      const double candidate =
          worths_[i] + lengthCost(limits_.end.second - places_[i].second, expected(durations_.size() - 1));
      if (candidate > worth) {
        worth = candidate;
        last_ = i;
      }
    }
    return worth;
  }

  struct Range {
    std::size_t begin = 0;
    std::size_t end = 0;
  };

  const std::span<const Place> places_;
  const Limits& limits_;
  const std::span<const double> durations_;
  const double speed_;
  std::vector<double> worths_;
  Range reached_;
  std::vector<Row> previous_;
  std::size_t last_ = 0;
};

/// Whether the track lengths are those of the listing, as a whole: three quarters of the recording are.
bool fits(std::span<const Place> places, const Limits& limits, std::span<const double> durations, double speed,
          const std::vector<std::size_t>& boundaries) {
  double misfit = 0;
  double begin = limits.begin.second;
  for (std::size_t track = 0; track < durations.size(); ++track) {
    const double end = track < boundaries.size() ? places[boundaries[track]].second : limits.end.second;
    misfit += std::abs(end - begin - durations[track] * speed);
    begin = end;
  }
  return misfit < (limits.end.second - limits.begin.second) / 4;
}

}  // namespace

std::vector<std::size_t> alignDurations(std::span<const Place> places, const Limits& limits,
                                        std::span<const double> durations) {
  std::vector<std::size_t> chosen;
  if (durations.size() < 2) {
    return chosen;
  }
  double best = kImpossible;
  double bestSpeed = 1;
  const int steps = static_cast<int>(std::lround(kMostSpeedError / kSpeedStep));
  for (int step = -steps; step <= steps; ++step) {
    const double speed = 1 + step * kSpeedStep;
    Alignment alignment(places, limits, durations, speed);
    if (const double worth = alignment.run(); worth > best) {
      best = worth;
      bestSpeed = speed;
      chosen = alignment.boundaries();
    }
  }
  if (!fits(places, limits, durations, bestSpeed, chosen)) {
    chosen.clear();
  }
  return chosen;
}

}  // namespace orv::boundaries
