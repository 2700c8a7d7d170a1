#include "hardware/pipewire/io/CycleClock.h"

#include <algorithm>
#include <cmath>

#include "OrvPlatform/AudioHardware.h"

namespace orv::pipewire {
namespace {

/// A jump of more frames than this is another count, not frames that were left out.
constexpr std::uint64_t kLongestGap = std::uint64_t{1} << 24;

double nanosecondsPerFrame(const Quantum& quantum) {
  return 1e9 / (std::max(quantum.rate, std::uint32_t{1}) * quantum.scalar);
}

}  // namespace

std::uint64_t Quantum::hostAfter(std::uint32_t count) const noexcept {
  return host + static_cast<std::uint64_t>(std::llround(count * nanosecondsPerFrame(*this)));
}

void CycleClock::begin() noexcept {
  isFirst_ = true;
  end_ = 0.0;
}

bool CycleClock::follow(const Quantum& quantum) noexcept {
  const std::uint64_t expected = quantum_.position + quantum_.frames;
  std::uint64_t gap = 0;
  if (!isFirst_ && quantum.driver == quantum_.driver && quantum.rate == quantum_.rate) {
    gap = quantum.position - expected;  // one that goes back is huge
    gap = gap <= kLongestGap ? gap : 0;
  }
  isFirst_ = false;
  quantum_ = quantum;
  end_ += static_cast<double>(gap) + quantum.frames;
  return gap == 0;
}

CycleClock::Stamps CycleClock::stamps(std::uint32_t age, std::uint32_t ahead, std::uint32_t inputLatency,
                                      std::uint32_t outputLatency) const noexcept {
  const std::uint32_t late = inputLatency > quantum_.frames ? inputLatency - quantum_.frames : 0;
  const double now = end_ + late;
  const double heard = static_cast<double>(age) + late;
  const double played = static_cast<double>(ahead) + outputLatency;
  return {stamp(now, 0.0), stamp(now - heard, -heard), stamp(now + played, played)};
}

AudioTimeStamp CycleClock::stamp(double sampleTime, double framesFromNow) const noexcept {
  const auto offset = static_cast<std::int64_t>(std::llround(framesFromNow * nanosecondsPerFrame(quantum_)));
  AudioTimeStamp stamp = {};
  stamp.mSampleTime = sampleTime;
  stamp.mHostTime = quantum_.host + static_cast<std::uint64_t>(offset);
  stamp.mRateScalar = quantum_.scalar;
  stamp.mFlags = kAudioTimeStampSampleTimeValid | kAudioTimeStampHostTimeValid | kAudioTimeStampRateScalarValid;
  return stamp;
}

}  // namespace orv::pipewire
