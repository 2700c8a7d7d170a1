#include "accuracy/Truth.h"

#include <algorithm>
#include <fstream>
#include <iomanip>
#include <sstream>
#include <stdexcept>

namespace orv::accuracy {
namespace {

// Whether the line starts with a number: `BEGIN [END [LABEL]]`.
bool readInterval(const std::string& line, Interval& interval) {
  std::istringstream words(line);
  if (!(words >> interval.begin)) {
    return false;
  }
  if (!(words >> interval.end)) {
    interval.end = interval.begin;
  }
  return interval.begin >= 0 && interval.end >= interval.begin;
}

void takeLine(const std::string& line, Truth& truth) {
  std::istringstream words(line);
  std::string word;
  if (!(words >> word) || word.front() == '#') {
    return;
  }
  std::string rest;
  std::getline(words >> std::ws, rest);
  Interval interval;
  if (word == "kind") {
    truth.kind = rest;
  } else if (word == "track" && readInterval(rest, interval)) {
    truth.tracks.push_back(interval);
  } else if (readInterval(word == "gap" ? rest : line, interval)) {
    truth.gaps.push_back(interval);
  } else {
    throw std::runtime_error("not a line of a truth file: " + line);
  }
}

void sortByBegin(std::vector<Interval>& intervals) {
  std::sort(intervals.begin(), intervals.end(), [](const Interval& a, const Interval& b) { return a.begin < b.begin; });
}

}  // namespace

Truth readTruth(const std::string& path) {
  std::ifstream file(path);
  if (!file) {
    throw std::runtime_error("can't read " + path);
  }
  Truth truth;
  for (std::string line; std::getline(file, line);) {
    takeLine(line, truth);
  }
  sortByBegin(truth.gaps);
  sortByBegin(truth.tracks);
  return truth;
}

void writeTruth(const Truth& truth, const std::string& path) {
  std::ofstream file(path);
  file << "# seconds\nkind " << truth.kind << '\n' << std::fixed << std::setprecision(4);
  for (const Interval& gap : truth.gaps) {
    file << "gap " << gap.begin << ' ' << gap.end << '\n';
  }
  for (std::size_t i = 0; i < truth.tracks.size(); ++i) {
    file << "track " << truth.tracks[i].begin << ' ' << truth.tracks[i].end << ' '
         << (i < truth.names.size() ? truth.names[i] : "") << '\n';
  }
  if (!file.flush()) {
    throw std::runtime_error("can't write " + path);
  }
}

}  // namespace orv::accuracy
