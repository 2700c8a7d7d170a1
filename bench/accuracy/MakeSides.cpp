// Makes the sides that the score is measured on, each with a file beside it that tells where its gaps are. The same
// arguments make the same sides.
#include <cstdio>
#include <exception>
#include <filesystem>

#include "accuracy/Arguments.h"
#include "accuracy/InParallel.h"

namespace orv::accuracy {
namespace {

constexpr const char* kUsage =
    "usage: accuracy_make_sides FOLDER [--half tuning|report] [--only TEXT] [--seed-offset N] [--sides-of-a-kind N]\n"
    "                           [--quick] [--threads N] [--cache FOLDER]\n";

void makeAll(const Arguments& arguments) {
  const std::string& folder = arguments.positional.front();
  std::filesystem::create_directories(folder);
  const SideMaker maker(arguments.cacheFolder);
  const std::vector<SideOrder> orders = ordersFor(arguments.selection);
  inParallel(orders.size(), arguments.threads, [&](std::size_t i) {
    const Side side = maker.make(orders[i]);
    const std::string path = folder + "/" + orders[i].name();
    writeSound(side.sound, path + ".aiff");
    writeTruth(side.truth, path + ".txt");
    std::printf("%s.aiff: %.1f min, %zu gaps\n", path.c_str(), side.sound.seconds() / 60, side.truth.gaps.size());
    std::fflush(stdout);
  });
}

}  // namespace
}  // namespace orv::accuracy

int main(int count, char** words) {
  try {
    const orv::accuracy::Arguments arguments = orv::accuracy::parseArguments({words + 1, words + count});
    if (arguments.positional.size() != 1) {
      std::fputs(orv::accuracy::kUsage, stderr);
      return 2;
    }
    orv::accuracy::makeAll(arguments);
    return 0;
  } catch (const std::exception& problem) {
    std::fprintf(stderr, "accuracy_make_sides: %s\n", problem.what());
    return 1;
  }
}
