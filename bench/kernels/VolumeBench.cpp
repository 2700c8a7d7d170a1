// The software volume control in cache, beside memcpy of the same bytes.
#include <OrvCoreAudio/OrvSoftwareVolumeControl.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "support/RatioTable.h"
#include "support/Timing.h"
#include "vector/Targets.h"

namespace {

constexpr std::size_t kSamples = 384 * 1024 / sizeof(float);
constexpr std::uint32_t kChannels = 2;
constexpr int kRounds = 300;

void measure(orv::simd::Target target, orv::bench::RatioTable* table) {
  orv::simd::useTarget(target);
  const std::string set = orv::simd::targetName(target);
  const std::vector<float> input(kSamples, 0.25F);
  std::vector<float> output(kSamples);
  const auto control = OrvSoftwareVolumeControl::init();
  control->setVolumeScalar(0.5F);
  std::uint32_t frames = kSamples / kChannels;
  volatile float sink = 0;
  const auto times =
      orv::bench::bestTimes(kRounds, {[&] {
                                        control->processAudio_outputBuffer_channelsPerFrame_numberOfFrames(
                                            input.data(), output.data(), kChannels, &frames);
                                        sink = output[kSamples / 2];
                                      },
                                      [&] {
                                        std::memcpy(output.data(), input.data(), kSamples * sizeof(float));
                                        sink = output[kSamples / 2];
                                      }});
  const double bytes = kSamples * sizeof(float);
  table->addRates(set + ", interleaved stereo", bytes / times[0], bytes / times[1], 0.8);
}

}  // namespace

int main() {
  orv::bench::RatioTable table("volume control, 384 KiB; peer: memcpy");
  const std::vector<orv::simd::Target> targets = orv::simd::availableTargets();
  for (const orv::simd::Target target : targets) {
    if (target == targets.front() || orv::simd::targetName(target) == "AVX2") {
      measure(target, &table);
    }
  }
  std::printf("Instruction set in use: %s\n\n", orv::simd::targetName(targets.front()).c_str());
  table.print();
  return 0;
}
