// How long `orv split` takes to analyse half an hour, beside other programs' scans of the same file for silence and
// levels, and beside reading it without looking at it. Whole processes, from start to end.
#include <stdexcept>

#include "support/Process.h"
#include "support/RatioTable.h"
#include "support/Recording.h"
#include "support/TemporaryDirectory.h"
#include "support/Timing.h"

namespace {

void runToEnd(const std::vector<std::string>& arguments) {
  if (orv::test::run(arguments).status != 0) {
    throw std::runtime_error(arguments.front() + " failed");
  }
}

}  // namespace

int main() {
  const orv::test::TemporaryDirectory folder;
  const std::string path = folder / "recording.aiff";
  orv::bench::makeRecording(path, 30);
  const auto bytes = static_cast<double>(orv::bench::readBare(path, 1 << 20));

  const auto crossings = [&] { runToEnd({ORV_COMMAND, "split", path, "--method", "crossings", "--quiet"}); };
  const auto levels = [&] { runToEnd({ORV_COMMAND, "split", path, "--method", "levels", "--quiet"}); };
  const auto pread = [&] { orv::bench::readBare(path, 768 * 1024); };
  const auto ffmpeg = [&] {
    runToEnd({"ffmpeg", "-nostdin", "-loglevel", "error", "-i", path, "-af", "silencedetect", "-f", "null", "-"});
  };
  const auto sox = [&] { runToEnd({"sox", path, "-n", "stat"}); };

  const auto fast = orv::bench::bestTimes(15, {crossings, pread, levels});
  const auto slow = orv::bench::bestTimes(3, {ffmpeg, sox});

  orv::bench::RatioTable table("orv split, 30 minutes, 16-bit stereo AIFF");
  table.addTimes("crossings, wall time; peer: ffmpeg -af silencedetect", fast[0], slow[0], 1.0 / 12);
  table.addTimes("crossings, wall time; peer: sox FILE -n stat", fast[0], slow[1], 1.0 / 8);
  table.addRates("crossings, rate; peer: bare pread of 768 KiB", bytes / fast[0], bytes / fast[1], 0.6);
  table.addTimes("levels, wall time; peer: ffmpeg -af silencedetect", fast[2], slow[0], 1.0 / 5);
  table.print();
  return 0;
}
