#pragma once

#include <string>
#include <vector>

#include "accuracy/Scoring.h"

namespace orv::accuracy {

/// What one detector did with one recording.
struct Outcome {
  std::string side;
  std::string kind;
  std::size_t detector = 0;  ///< its place in the list
  Judgement judgement;
};

/// Writes to standard output.
void printParameters(const std::vector<Detector>& detectors);
/// What was missed and what was wrong, side by side, for the detectors of ours.
void printDetails(const std::vector<Detector>& detectors, const std::vector<Outcome>& outcomes);
/// A table for each kind, in the order of the outcomes.
void printKinds(const std::vector<Detector>& detectors, const std::vector<Outcome>& outcomes);
/// What is to be reached, beside what was. Rows of kinds that were not scored are left out.
void printTargets(const std::vector<Detector>& detectors, const std::vector<Outcome>& outcomes);

}  // namespace orv::accuracy
