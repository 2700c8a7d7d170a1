// How long `orv convert` takes for half an hour, beside other programs' conversions of the same file, and what each of
// them adds to a tone whose rate it changes. Whole processes, from start to end.
#include <unistd.h>

#include <cmath>
#include <functional>
#include <numbers>
#include <stdexcept>
#include <vector>

#include "support/Process.h"
#include "support/RatioTable.h"
#include "support/Recording.h"
#include "support/TemporaryDirectory.h"
#include "support/Timing.h"
#include "support/ToneResidue.h"

namespace {

using Command = std::vector<std::string>;

void runToEnd(const Command& arguments) {
  const auto result = orv::test::run(arguments);
  if (result.status != 0) {
    throw std::runtime_error(arguments.front() + " failed: " + result.errors);
  }
}

/// The programs, on files of the caller's choice.
struct Programs {
  std::string from;
  std::string to;

  Command orv(const Command& options) const {
    Command command{ORV_COMMAND, "convert", from, to, "--quiet", "--force"};
    command.insert(command.end(), options.begin(), options.end());
    return command;
  }
  Command ffmpeg(const Command& options) const {
    Command command{"ffmpeg", "-nostdin", "-loglevel", "error", "-y", "-i", from};
    command.insert(command.end(), options.begin(), options.end());
    command.push_back(to);
    return command;
  }
  Command sox(const Command& effects) const {
    Command command{"sox", from, "-b", "24", to};
    command.insert(command.end(), effects.begin(), effects.end());
    return command;
  }
  Command sndfile() const { return {"sndfile-convert", "-pcm24", from, to}; }
};

const Command kOrvRate{"--rate", "48000", "--bits", "24"};
const Command kFfmpegRate{"-ar", "48000", "-c:a", "pcm_s24be"};
const Command kSoxRate{"rate", "-h", "48000"};

/// Each run makes its file anew: what another run left would have to be thrown away first.
std::function<void()> timed(const Programs& programs, const Command& command) {
  return [programs, command] {
    ::unlink(programs.to.c_str());
    runToEnd(command);
  };
}

void compareTimes(const std::string& folder) {
  const Programs half{folder + "/recording.aiff", folder + "/converted.aiff"};
  orv::bench::makeRecording(half.from, 30);
  const auto width =
      orv::bench::bestTimes(5, {timed(half, half.orv({"--bits", "24"})), timed(half, half.sndfile()),
                                timed(half, half.sox({})), timed(half, half.ffmpeg({"-c:a", "pcm_s24be"}))});
  const auto rate = orv::bench::bestTimes(
      3, {timed(half, half.orv(kOrvRate)), timed(half, half.ffmpeg(kFfmpegRate)), timed(half, half.sox(kSoxRate))});
  orv::bench::RatioTable table("orv convert, 30 minutes, 16-bit stereo AIFF, wall time");
  table.addTimes("16 to 24 bits; peer: sndfile-convert -pcm24", width[0], width[1], 0.5);
  table.addTimes("16 to 24 bits; peer: sox -b 24", width[0], width[2], 0.5);
  table.addTimes("16 to 24 bits; peer: ffmpeg -c:a pcm_s24be", width[0], width[3], 0.5);
  table.addTimes("44.1 to 48 kHz, 24 bits; peer: ffmpeg -ar", rate[0], rate[1], 0.5);
  table.addTimes("44.1 to 48 kHz, 24 bits; peer: sox rate -h", rate[0], rate[2], 0.25);
  table.print();
  ::unlink(half.from.c_str());
  ::unlink(half.to.c_str());
}

void compareTones(const std::string& folder) {
  const Programs tone{folder + "/tone.aiff", folder + "/resampled.aiff"};
  orv::bench::RatioTable table("44.1 to 48 kHz, 24 bits, a tone of -1 dBFS: noise and distortion beside the tone");
  for (const double frequency : {997.0, 15'000.0}) {
    orv::bench::makeTone(tone.from, frequency);
    const auto residue = [&](const Command& command) {
      ::unlink(tone.to.c_str());
      runToEnd(command);
      return orv::bench::toneResidue(tone.to, frequency);
    };
    const double ours = residue(tone.orv(kOrvRate));
    const std::string name = std::to_string(static_cast<int>(frequency)) + " Hz; peer: ";
    table.addLimit(name + "ffmpeg -ar", ours, residue(tone.ffmpeg(kFfmpegRate)), -130, "dB");
    table.addLimit(name + "sox rate -h", ours, residue(tone.sox(kSoxRate)), -130, "dB");
  }
  table.print();
}

}  // namespace

int main() {
  const orv::test::TemporaryDirectory folder;
  compareTimes(folder.path());
  compareTones(folder.path());
  return 0;
}
