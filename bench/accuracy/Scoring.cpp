#include "accuracy/Scoring.h"

#include <algorithm>
#include <cmath>

namespace orv::accuracy {
namespace {

constexpr double kTolerance = 1.0;

struct Pair {
  double distance;
  std::size_t gap;
  std::size_t cut;
};

double distanceOf(const Interval& gap, double second) {
  return std::max({0.0, gap.begin - second, second - gap.end});
}

// All pairs that may be hits, the nearest ones first.
std::vector<Pair> pairsOf(const std::vector<Interval>& gaps, const std::vector<Cut>& cuts) {
  std::vector<Pair> pairs;
  for (std::size_t gap = 0; gap < gaps.size(); ++gap) {
    for (std::size_t cut = 0; cut < cuts.size(); ++cut) {
      const double distance = distanceOf(gaps[gap], cuts[cut].at);
      if (distance <= kTolerance) {
        pairs.push_back({distance, gap, cut});
      }
    }
  }
  std::stable_sort(pairs.begin(), pairs.end(), [](const Pair& a, const Pair& b) { return a.distance < b.distance; });
  return pairs;
}

double ratio(std::size_t part, std::size_t whole) {
  return whole == 0 ? std::nan("") : static_cast<double>(part) / static_cast<double>(whole);
}

}  // namespace

double Score::recall() const {
  return ratio(hits, gaps);
}

double Score::precision() const {
  return ratio(hits, hits + falseCuts);
}

double Score::errorQuantile(double part) const {
  if (errors.empty()) {
    return std::nan("");
  }
  std::vector<double> sorted = errors;
  std::sort(sorted.begin(), sorted.end());
  const auto rank = static_cast<std::size_t>(std::ceil(part * static_cast<double>(sorted.size())));
  return sorted[std::max<std::size_t>(rank, 1) - 1];
}

Score& Score::operator+=(const Score& other) {
  gaps += other.gaps;
  hits += other.hits;
  falseCuts += other.falseCuts;
  errors.insert(errors.end(), other.errors.begin(), other.errors.end());
  return *this;
}

Judgement judge(const std::vector<Interval>& gaps, const std::vector<Cut>& cuts) {
  std::vector<bool> gapIsHit(gaps.size());
  std::vector<bool> cutHits(cuts.size());
  Judgement judgement;
  judgement.score.gaps = gaps.size();
  for (const Pair& pair : pairsOf(gaps, cuts)) {
    if (!gapIsHit[pair.gap] && !cutHits[pair.cut]) {
      gapIsHit[pair.gap] = true;
      cutHits[pair.cut] = true;
      judgement.score.errors.push_back(pair.distance);
    }
  }
  for (std::size_t gap = 0; gap < gaps.size(); ++gap) {
    if (!gapIsHit[gap]) {
      judgement.missed.push_back(gaps[gap]);
    }
  }
  for (std::size_t cut = 0; cut < cuts.size(); ++cut) {
    if (!cutHits[cut]) {
      judgement.wrong.push_back(cuts[cut]);
    }
  }
  judgement.score.hits = judgement.score.errors.size();
  judgement.score.falseCuts = judgement.wrong.size();
  return judgement;
}

}  // namespace orv::accuracy
