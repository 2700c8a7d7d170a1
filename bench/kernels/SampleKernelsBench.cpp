// Conversion of sample formats on a block in the second-level cache, beside libswresample, libavcodec's PCM codecs and
// libsndfile.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>

#include "kernels/SamplePeer.h"
#include "support/Timing.h"
#include "vector/Targets.h"

namespace {

using orv::bench::Conversion;
using orv::bench::PeerRun;
using orv::simd::SampleContainer;
using orv::simd::SampleLayout;
using orv::simd::SampleOrder;

/// Bytes of the larger side of a conversion.
constexpr std::size_t kBlockBytes = 384 * 1024;
constexpr int kRounds = 60;
constexpr int kRunsPerRound = 10;

struct NamedLayout {
  const char* name;
  SampleLayout layout;
};

constexpr SampleLayout integer(SampleContainer container, std::uint8_t bits, SampleOrder order,
                               bool isUnsigned = false) {
  return {container, order, bits, isUnsigned, true};
}

constexpr SampleOrder kLittle = SampleOrder::native;
constexpr SampleOrder kBig = SampleOrder::swapped;
constexpr NamedLayout kU8{"u8", integer(SampleContainer::int8, 8, kLittle, true)};
constexpr NamedLayout kS8{"s8", integer(SampleContainer::int8, 8, kLittle)};
constexpr NamedLayout kS16{"s16", integer(SampleContainer::int16, 16, kLittle)};
constexpr NamedLayout kS16Big{"s16be", integer(SampleContainer::int16, 16, kBig)};
constexpr NamedLayout kS20Big{"s20be in 3 bytes", integer(SampleContainer::int24, 20, kBig)};
constexpr NamedLayout kS24{"s24", integer(SampleContainer::int24, 24, kLittle)};
constexpr NamedLayout kS24Big{"s24be", integer(SampleContainer::int24, 24, kBig)};
constexpr NamedLayout kS32{"s32", integer(SampleContainer::int32, 32, kLittle)};
constexpr NamedLayout kS32Big{"s32be", integer(SampleContainer::int32, 32, kBig)};
constexpr NamedLayout kFloat{"float", orv::simd::kNativeFloat32};
constexpr NamedLayout kFloatBig{"floatbe", {SampleContainer::float32, kBig, 0, false, true}};
constexpr NamedLayout kDouble{"double", orv::simd::kNativeFloat64};
constexpr NamedLayout kDoubleBig{"doublebe", {SampleContainer::float64, kBig, 0, false, true}};

constexpr std::pair<NamedLayout, NamedLayout> kConversions[] = {
    {kS16Big, kS16}, {kS24Big, kS24},   {kS32Big, kS32},   {kFloatBig, kFloat}, {kDoubleBig, kDouble},
    {kS16, kFloat},  {kFloat, kS16},    {kS16Big, kFloat}, {kFloat, kS16Big},   {kS24, kFloat},
    {kFloat, kS24},  {kS24Big, kFloat}, {kFloat, kS24Big}, {kS20Big, kFloat},   {kFloat, kS20Big},
    {kS32, kFloat},  {kFloat, kS32},    {kS32Big, kFloat}, {kFloat, kS32Big},   {kU8, kFloat},
    {kFloat, kU8},   {kS8, kFloat},     {kFloat, kS8},     {kFloat, kDouble},   {kDouble, kFloat},
    {kS16, kDouble}, {kDouble, kS16},   {kS32, kDouble},   {kDouble, kS32},     {kU8, kS16},
    {kS16, kU8},     {kS8, kS16},       {kS16, kS8},       {kS16, kS24Big},     {kS24Big, kS16},
    {kS16, kS32},    {kS32, kS16},      {kS24, kS32},      {kS32, kS24},        {kFloatBig, kS16},
};

Conversion conversionBetween(const SampleLayout& from, const SampleLayout& to) {
  Conversion conversion;
  conversion.from = from;
  conversion.to = to;
  const std::size_t fromBytes = orv::simd::bytesOf(from.container);
  conversion.count = kBlockBytes / std::max(fromBytes, orv::simd::bytesOf(to.container)) / 16 * 16;
  std::mt19937 random(1);
  std::uniform_real_distribution<double> value(-1.0, 1.0);
  std::vector<double> samples(conversion.count);
  std::generate(samples.begin(), samples.end(), [&] { return value(random); });
  conversion.input.resize(conversion.count * fromBytes);
  orv::simd::convertSamples(orv::simd::kNativeFloat64, samples.data(), from, conversion.input.data(), conversion.count);
  return conversion;
}

PeerRun repeated(const PeerRun& run) {
  return [run] {
    for (int i = 0; i < kRunsPerRound; ++i) {
      run();
    }
  };
}

PeerRun oursOn(orv::simd::Target target, const Conversion& conversion, std::vector<std::uint8_t>* output) {
  return [target, output, &conversion] {
    orv::simd::useTarget(target);
    for (int i = 0; i < kRunsPerRound; ++i) {
      orv::simd::convertSamples(conversion.from, conversion.input.data(), conversion.to, output->data(),
                                conversion.count);
    }
  };
}

/// Input and output in 10^9 bytes a second.
double rateOf(const Conversion& conversion, double seconds) {
  return static_cast<double>((conversion.input.size() + conversion.outputBytes()) * kRunsPerRound) / seconds / 1e9;
}

void printRate(double rate) {
  rate > 0 ? std::printf(" %11.1f", rate) : std::printf(" %11s", "-");
}

/// The instruction sets to compare: the best, and AVX2 where that is not it.
std::vector<orv::simd::Target> targetsToMeasure() {
  std::vector<orv::simd::Target> targets;
  for (const orv::simd::Target target : orv::simd::availableTargets()) {
    if (targets.empty() || orv::simd::targetName(target) == "AVX2") {
      targets.push_back(target);
    }
  }
  return targets;
}

void measure(const NamedLayout& from, const NamedLayout& to, const std::vector<orv::simd::Target>& targets) {
  const Conversion conversion = conversionBetween(from.layout, to.layout);
  std::vector<std::uint8_t> output(conversion.outputBytes());
  std::vector<std::function<void()>> candidates;
  for (const orv::simd::Target target : targets) {
    candidates.push_back(oursOn(target, conversion, &output));
  }
  const PeerRun peers[] = {swresampleRun(conversion), avcodecRun(conversion), sndfileRun(conversion)};
  for (const PeerRun& peer : peers) {
    if (peer) {
      candidates.push_back(repeated(peer));
    }
  }
  const std::vector<double> times = orv::bench::bestTimes(kRounds, candidates);
  std::printf("%-28s", (std::string(from.name) + " to " + to.name).c_str());
  std::size_t next = 0;
  std::vector<double> ours;
  for (; next < targets.size(); ++next) {
    ours.push_back(rateOf(conversion, times[next]));
    printRate(ours.back());
  }
  double fastestPeer = 0;
  for (const PeerRun& peer : peers) {
    const double rate = peer ? rateOf(conversion, times[next++]) : 0;
    fastestPeer = std::max(fastestPeer, rate);
    printRate(rate);
  }
  for (const double rate : ours) {
    fastestPeer > 0 ? std::printf(" %11.2f", rate / fastestPeer) : std::printf(" %11s", "no peer");
  }
  std::printf("\n");
  std::fflush(stdout);
}

}  // namespace

int main() {
  const std::vector<orv::simd::Target> targets = targetsToMeasure();
  std::printf("Sample kernels, %zu KiB in the larger of input and output, GB/s of input plus output.\n",
              kBlockBytes / 1024);
  std::printf("Instruction set in use: %s. Ratios: ours to the fastest peer.\n\n%-28s",
              orv::simd::targetName(targets.front()).c_str(), "");
  for (const orv::simd::Target target : targets) {
    std::printf(" %11s", orv::simd::targetName(target).c_str());
  }
  std::printf(" %11s %11s %11s", "swresample", "avcodec", "sndfile");
  for (const orv::simd::Target target : targets) {
    std::printf(" %11s", ("ratio " + orv::simd::targetName(target)).c_str());
  }
  std::printf("\n");
  for (const auto& [from, to] : kConversions) {
    measure(from, to, targets);
  }
  std::printf("\n");
  return 0;
}
