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
  orv::bench::RatioTable table("orv split, peak memory");
  table.addLimit("30 minutes; peer: sox FILE -n stat", peak({ORV_COMMAND, "split", noisy, "--quiet"}),
                 peak({"sox", noisy, "-n", "stat"}), 24, "MiB");
  table.addLimit("6 hours, sparse; peer: sox FILE -n stat", peak({ORV_COMMAND, "split", sparse, "--quiet"}),
                 peak({"sox", sparse, "-n", "stat"}), 24, "MiB");
  table.print();
  return 0;
}
