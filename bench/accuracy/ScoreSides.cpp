// Scores detectors of track boundaries on sides whose boundaries are known: made ones, or recordings of the user's.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <optional>
#include <stdexcept>

#include "accuracy/Arguments.h"
#include "accuracy/InParallel.h"
#include "accuracy/Report.h"
#include "support/TemporaryDirectory.h"

namespace orv::accuracy {
namespace {
namespace fs = std::filesystem;

constexpr const char* kUsage =
    "usage: accuracy_score [--half tuning|report] [--quick] [--only TEXT] [--seed-offset N] [--sides-of-a-kind N]\n"
    "                      [--no-peers] [--details] [--keep FOLDER] [--threads N] [--cache FOLDER]\n"
    "       accuracy_score --sides FOLDER [--no-peers] [--details] [--threads N]\n"
    "       accuracy_score --side FILE --truth FILE [--no-peers] [--details]\n";

// A recording, or an order for one.
struct Task {
  std::string path;
  std::string truthPath;
  std::optional<SideOrder> order;  // where there is no recording yet
};

std::vector<Task> tasksIn(const std::string& folder) {
  std::vector<Task> tasks;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    const fs::path truth = fs::path(entry.path()).replace_extension(".txt");
    if (entry.path() != truth && fs::exists(truth)) {
      tasks.push_back({entry.path(), truth, std::nullopt});
    }
  }
  std::sort(tasks.begin(), tasks.end(), [](const Task& a, const Task& b) { return a.path < b.path; });
  return tasks;
}

std::vector<Task> tasksFor(const Arguments& arguments) {
  if (!arguments.side.empty() || !arguments.truth.empty()) {
    if (arguments.side.empty() || arguments.truth.empty()) {
      throw std::runtime_error("--side and --truth go together");
    }
    return {{arguments.side, arguments.truth, std::nullopt}};
  }
  if (!arguments.sides.empty()) {
    return tasksIn(arguments.sides);
  }
  std::vector<Task> tasks;
  for (SideOrder& order : ordersFor(arguments.selection)) {
    tasks.push_back({"", "", std::move(order)});
  }
  return tasks;
}

class Scorer {
 public:
  explicit Scorer(const Arguments& arguments) : arguments_(arguments), maker_(arguments.cacheFolder) {
    if (!arguments.withoutPeers) {
      for (Detector& peer : peerDetectors()) {
        detectors_.push_back(std::move(peer));
      }
    }
  }

  const std::vector<Detector>& detectors() const { return detectors_; }

  /// What each detector does with the recording.
  std::vector<Outcome> score(const Task& task) const {
    const test::TemporaryDirectory folder;
    const Recording recording = task.order ? make(*task.order, folder.path()) : open(task, folder.path());
    std::vector<Outcome> outcomes;
    for (std::size_t i = 0; i < detectors_.size(); ++i) {
      if (!detectors_[i].needsGuidance || !recording.truth.gaps.empty()) {
        outcomes.push_back(
            {recording.name, recording.truth.kind, i, judge(recording.truth.gaps, detectors_[i].cuts(recording))});
      }
    }
    return outcomes;
  }

 private:
  // Where sides are kept they are made in the folder that is told, else in the scratch folder.
  Recording make(const SideOrder& order, const std::string& scratch) const {
    const std::string folder = arguments_.keepFolder.empty() ? scratch : arguments_.keepFolder;
    fs::create_directories(folder);
    const std::string path = folder + "/" + order.name();
    Side side = maker_.make(order);
    writeSound(side.sound, path + ".aiff");
    writeTruth(side.truth, path + ".txt");
    return {order.name(), path + ".aiff", scratch, side.sound.seconds(), std::move(side.truth)};
  }

  static Recording open(const Task& task, const std::string& scratch) {
    Truth truth = readTruth(task.truthPath);
    if (truth.kind.empty()) {
      truth.kind = "recordings";
    }
    return {fs::path(task.path).stem(), task.path, scratch, secondsOf(task.path), std::move(truth)};
  }

  const Arguments& arguments_;
  SideMaker maker_;
  std::vector<Detector> detectors_ = ownDetectors();
};

void scoreAll(const Arguments& arguments) {
  const auto start = std::chrono::steady_clock::now();
  const Scorer scorer(arguments);
  const std::vector<Task> tasks = tasksFor(arguments);
  std::vector<std::vector<Outcome>> results(tasks.size());
  inParallel(tasks.size(), arguments.threads, [&](std::size_t i) { results[i] = scorer.score(tasks[i]); });

  std::vector<Outcome> outcomes;
  for (std::vector<Outcome>& result : results) {
    std::move(result.begin(), result.end(), std::back_inserter(outcomes));
  }
  printParameters(scorer.detectors());
  printKinds(scorer.detectors(), outcomes);
  if (arguments.details) {
    std::printf("\n");
    printDetails(scorer.detectors(), outcomes);
  }
  printTargets(scorer.detectors(), outcomes);
  const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
  std::fprintf(stderr, "%zu sides in %.0f s\n", tasks.size(), taken.count());
}

}  // namespace
}  // namespace orv::accuracy

int main(int count, char** words) {
  try {
    const orv::accuracy::Arguments arguments = orv::accuracy::parseArguments({words + 1, words + count});
    if (!arguments.positional.empty()) {
      std::fputs(orv::accuracy::kUsage, stderr);
      return 2;
    }
    orv::accuracy::scoreAll(arguments);
    return 0;
  } catch (const std::exception& problem) {
    std::fprintf(stderr, "accuracy_score: %s\n", problem.what());
    return 1;
  }
}
