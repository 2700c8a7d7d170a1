#include "accuracy/Report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <optional>

namespace orv::accuracy {
namespace {

using Filter = std::function<bool(const Outcome&)>;

struct Sum {
  Score score;
  std::size_t sides = 0;
};

Sum sumOf(const std::vector<Outcome>& outcomes, std::size_t detector, const Filter& filter) {
  Sum sum;
  for (const Outcome& outcome : outcomes) {
    if (outcome.detector == detector && filter(outcome)) {
      sum.score += outcome.judgement.score;
      ++sum.sides;
    }
  }
  return sum;
}

Filter ofKinds(std::vector<std::string> kinds) {
  return [kinds = std::move(kinds)](const Outcome& outcome) {
    return std::find(kinds.begin(), kinds.end(), outcome.kind) != kinds.end();
  };
}

bool hasGaps(const Outcome& outcome) {
  return outcome.judgement.score.gaps > 0;
}

std::vector<std::string> kindsIn(const std::vector<Outcome>& outcomes) {
  std::vector<std::string> kinds;
  for (const Outcome& outcome : outcomes) {
    if (std::find(kinds.begin(), kinds.end(), outcome.kind) == kinds.end()) {
      kinds.push_back(outcome.kind);
    }
  }
  return kinds;
}

// A number, or a dash where there is none.
std::string shown(double value) {
  char text[32] = "-";
  if (!std::isnan(value)) {
    std::snprintf(text, sizeof(text), "%.3f", value);
  }
  return text;
}

void printRow(const std::string& name, const Score& score) {
  const std::string hits = std::to_string(score.hits) + "/" + std::to_string(score.gaps);
  std::printf("%-18s %9s %6zu %7s %10s %9s %7s\n", name.c_str(), hits.c_str(), score.falseCuts,
              shown(score.recall()).c_str(), shown(score.precision()).c_str(), shown(score.errorQuantile(0.5)).c_str(),
              shown(score.errorQuantile(0.95)).c_str());
}

void printTable(const std::string& title, const std::vector<Detector>& detectors, const std::vector<Outcome>& outcomes,
                const Filter& filter) {
  std::printf("\n%s, sides: %zu\n", title.c_str(), sumOf(outcomes, 0, filter).sides);
  std::printf("%-18s %9s %6s %7s %10s %9s %7s\n", "", "hits/gaps", "false", "recall", "precision", "median s",
              "95 % s");
  for (std::size_t i = 0; i < detectors.size(); ++i) {
    const Sum sum = sumOf(outcomes, i, filter);
    if (sum.sides > 0) {
      printRow(detectors[i].name, sum.score);
    }
  }
}

// A limit on a value, above or below.
struct Target {
  std::string what;
  std::string detector;
  Filter filter;
  std::function<double(const Score&)> value;
  double limit;
  bool atMost;
};

Target atLeast(std::string what, std::string detector, const std::string& kind, double (Score::*value)() const,
               double limit) {
  return {std::move(what), std::move(detector),
          ofKinds({kind}), [value](const Score& s) { return (s.*value)(); },
          limit,           false};
}

Target errorAtMost(std::string what, const Filter& filter, double part, double limit) {
  return {std::move(what), "levels", filter, [part](const Score& s) { return s.errorQuantile(part); }, limit, true};
}

Target noCut(std::string what, std::vector<std::string> kinds) {
  return {std::move(what),
          "levels",
          ofKinds(std::move(kinds)),
          [](const Score& s) { return static_cast<double>(s.falseCuts); },
          0,
          true};
}

std::vector<Target> allTargets() {
  const std::string clean = "clean";
  const std::string hiss60 = "hiss-60+clicks";
  const std::string hiss45 = "hiss-45+clicks";
  const Filter three = ofKinds({clean, hiss60, hiss45});
  return {
      atLeast("recall, clean", "levels", clean, &Score::recall, 0.95),
      atLeast("precision, clean", "levels", clean, &Score::precision, 0.9),
      atLeast("recall, -60 dB", "levels", hiss60, &Score::recall, 0.95),
      atLeast("precision, -60 dB", "levels", hiss60, &Score::precision, 0.9),
      atLeast("recall, -45 dB", "levels", hiss45, &Score::recall, 0.9),
      atLeast("precision, -45 dB", "levels", hiss45, &Score::precision, 0.85),
      atLeast("number given: recall, clean", "levels, number", clean, &Score::recall, 0.98),
      atLeast("number given: recall, -60 dB", "levels, number", hiss60, &Score::recall, 0.98),
      atLeast("number given: recall, -45 dB", "levels, number", hiss45, &Score::recall, 0.93),
      errorAtMost("median distance, these three kinds", three, 0.5, 0),
      errorAtMost("95 % distance, these three kinds", three, 0.95, 0.5),
      errorAtMost("median distance, all kinds", hasGaps, 0.5, 0),
      errorAtMost("95 % distance, all kinds", hasGaps, 0.95, 0.5),
      noCut("cuts in one piece of 20 minutes", {"whole", "whole-hiss-60"}),
      noCut("cuts in concerts without gaps", {"concert", "concert-hiss-60"}),
      noCut("cuts in passages faded into each other", {"medley", "medley-hiss-60"}),
      noCut("cuts in speech", {"speech", "speech-hiss-60"}),
  };
}

std::optional<std::size_t> placeOf(const std::vector<Detector>& detectors, const std::string& name) {
  const auto found =
      std::find_if(detectors.begin(), detectors.end(), [&](const Detector& detector) { return detector.name == name; });
  return found == detectors.end() ? std::nullopt : std::optional(static_cast<std::size_t>(found - detectors.begin()));
}

}  // namespace

void printParameters(const std::vector<Detector>& detectors) {
  std::printf("\n");
  for (const Detector& detector : detectors) {
    std::printf("%-18s %s\n", detector.name.c_str(), detector.parameters.c_str());
  }
}

void printDetails(const std::vector<Detector>& detectors, const std::vector<Outcome>& outcomes) {
  for (const Outcome& outcome : outcomes) {
    const std::string& name = detectors[outcome.detector].name;
    if (!name.starts_with("levels")) {
      continue;
    }
    for (const Interval& gap : outcome.judgement.missed) {
      std::printf("%s, %s: missed %.3f to %.3f\n", outcome.side.c_str(), name.c_str(), gap.begin, gap.end);
    }
    for (const Cut& cut : outcome.judgement.wrong) {
      std::printf("%s, %s: wrong %.3f, %s\n", outcome.side.c_str(), name.c_str(), cut.at, cut.note.c_str());
    }
  }
}

void printKinds(const std::vector<Detector>& detectors, const std::vector<Outcome>& outcomes) {
  for (const std::string& kind : kindsIn(outcomes)) {
    printTable(kind, detectors, outcomes, ofKinds({kind}));
  }
  if (kindsIn(outcomes).size() > 1) {
    printTable("all kinds with gaps", detectors, outcomes, hasGaps);
    printTable("all kinds without gaps", detectors, outcomes, std::not_fn(hasGaps));
  }
}

void printTargets(const std::vector<Detector>& detectors, const std::vector<Outcome>& outcomes) {
  std::printf("\n%-42s %8s %10s\n", "to be reached", "measured", "target");
  for (const Target& target : allTargets()) {
    const auto detector = placeOf(detectors, target.detector);
    if (!detector) {
      continue;
    }
    const Sum sum = sumOf(outcomes, *detector, target.filter);
    if (sum.sides == 0) {
      continue;
    }
    const double value = target.value(sum.score);
    // Comparing with what is not a number is false: a detector that never cuts does not reach a precision.
    const bool isMet = target.atMost ? value <= target.limit : value >= target.limit;
    std::printf("%-42s %8s %2s %7.3f  %s\n", target.what.c_str(), shown(value).c_str(),
                target.atMost ? "<=" : ">=", target.limit, isMet ? "met" : "NOT MET");
  }
}

}  // namespace orv::accuracy
