// The most memory that `orv split` has in use at once, for half an hour and for six hours.
#include "support/ChildProcess.h"
#include "support/RatioTable.h"
#include "support/Recording.h"
#include "support/TemporaryDirectory.h"

int main() {
  const orv::test::TemporaryDirectory folder;
  const std::string noisy = folder / "recording.aiff";
  const std::string sparse = folder / "sparse.aiff";
  orv::bench::makeRecording(noisy, 30);
  orv::bench::makeSparseRecording(sparse, 360);

  constexpr double kMiB = 1024 * 1024;
  const auto peak = [](const std::vector<std::string>& arguments) {
    return static_cast<double>(orv::bench::runForPeakMemory(arguments)) / kMiB;
  };
  const auto split = [&](const std::string& method, const std::string& path) {
    return peak({ORV_COMMAND, "split", path, "--method", method, "--quiet"});
  };
  const double soxNoisy = peak({"sox", noisy, "-n", "stat"});
  const double soxSparse = peak({"sox", sparse, "-n", "stat"});
  orv::bench::RatioTable table("orv split, peak memory; peer: sox FILE -n stat");
  table.addLimit("crossings, 30 minutes", split("crossings", noisy), soxNoisy, 24, "MiB");
  table.addLimit("crossings, 6 hours, sparse", split("crossings", sparse), soxSparse, 24, "MiB");
  // 32 MiB, and 4 MiB for each hour.
  table.addLimit("levels, 30 minutes", split("levels", noisy), soxNoisy, 32 + 2, "MiB");
  table.addLimit("levels, 6 hours, sparse", split("levels", sparse), soxSparse, 32 + 24, "MiB");
  table.print();
  return 0;
}
