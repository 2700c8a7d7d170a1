#include "detection/boundaries/ChooseBoundaries.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace orv::boundaries {
namespace {

constexpr double kImpossible = -std::numeric_limits<double>::infinity();
constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();

/// Seconds of music from which on a track's length says nothing any more, and what a track of no length is worth.
constexpr double kUsualLength = 75;
constexpr double kShortestChance = -14;

/// The best way to a place: what it is worth, and the place before.
struct Step {
  double worth = kImpossible;
  std::uint32_t previous = kNone;
};

/// Goes through places in order and answers, for each, the best step to it from `worths` of the places before. Far
/// places differ by their worth alone, so that one of them, the best so far, stands for all.
class BestStep {
 public:
  BestStep(std::span<const Place> places, const Limits& limits) : places_(places), limits_(limits) {}

  /// `worths[k]` belongs to place k. Calls are in order of `end`'s time.
  Step to(const Place& end, std::size_t placesBefore, std::span<const Step> worths) {
    while (far_ < placesBefore && isFar(places_[far_], end)) {
      take(worths[far_].worth, far_, &best_);
      ++far_;
    }
    Step step = best_;
    for (std::size_t k = far_; k < placesBefore; ++k) {
      take(worths[k].worth + lengthChance(places_[k], end, limits_), k, &step);
    }
    return step;
  }

 private:
  bool isFar(const Place& begin, const Place& end) const {
    return end.music - begin.music >= kUsualLength && end.second - begin.second >= limits_.minimumTrackLength;
  }

  static void take(double worth, std::size_t place, Step* step) {
    if (worth > step->worth) {
      *step = {worth, static_cast<std::uint32_t>(place)};
    }
  }

  const std::span<const Place> places_;
  const Limits& limits_;
  std::size_t far_ = 0;
  Step best_;
};

}  // namespace

double lengthChance(const Place& begin, const Place& end, const Limits& limits) {
  if (end.second - begin.second < limits.minimumTrackLength) {
    return kImpossible;
  }
  const double share = std::clamp((end.music - begin.music) / kUsualLength, 0.0, 1.0);
  return kShortestChance * (1 - share) * (1 - share);
}

std::vector<std::size_t> chooseBoundaries(std::span<const Place> places, const Limits& limits) {
  std::vector<Step> steps(places.size());
  BestStep best(places, limits);
  for (std::size_t i = 0; i < places.size(); ++i) {
    steps[i] = {lengthChance(limits.begin, places[i], limits), kNone};
    if (const Step step = best.to(places[i], i, steps); step.worth > steps[i].worth) {
      steps[i] = step;
    }
    steps[i].worth += places[i].chance;
  }
  const Step last = best.to(limits.end, places.size(), steps);
  std::vector<std::size_t> chosen;
  if (last.worth < kLeastWorth) {
    return chosen;
  }
  for (std::uint32_t i = last.previous; i != kNone; i = steps[i].previous) {
    chosen.push_back(i);
  }
  std::reverse(chosen.begin(), chosen.end());
  return chosen;
}

std::vector<std::size_t> chooseCountedBoundaries(std::span<const Place> places, const Limits& limits,
                                                 std::size_t count) {
  count = std::min(count, places.size());
  // A row for each number of boundaries; previous places of all rows are kept, worths of the last one only.
  std::vector<std::vector<std::uint32_t>> previous;
  std::vector<Step> row(places.size());
  std::vector<std::size_t> lastOfRow;
  std::size_t reached = 0;
  for (std::size_t r = 0; r < count; ++r) {
    std::vector<Step> next(places.size());
    BestStep best(places, limits);
    for (std::size_t i = 0; i < places.size(); ++i) {
      next[i] = r == 0 ? Step{lengthChance(limits.begin, places[i], limits), kNone} : best.to(places[i], i, row);
      next[i].worth += places[i].chance;
    }
    BestStep end(places, limits);
    const Step last = end.to(limits.end, places.size(), next);
    if (last.worth == kImpossible) {
      break;
    }
    lastOfRow.push_back(last.previous);
    std::vector<std::uint32_t>& back = previous.emplace_back(places.size());
    std::transform(next.begin(), next.end(), back.begin(), [](const Step& step) { return step.previous; });
    row = std::move(next);
    reached = r + 1;
  }
  std::vector<std::size_t> chosen(reached);
  for (std::size_t r = reached, i = reached > 0 ? lastOfRow.back() : 0; r-- > 0; i = previous[r][i]) {
    chosen[r] = i;
  }
  return chosen;
}

}  // namespace orv::boundaries
