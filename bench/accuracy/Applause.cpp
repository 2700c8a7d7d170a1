#include "accuracy/Applause.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace orv::accuracy {
namespace {

constexpr double kClapsPerSecond = 250;

// How strong the applause is: rises in a straight line, holds, and falls by 60 dB.
double strengthAt(const ApplauseShape& shape, double second) {
  if (second < shape.rise) {
    return second / shape.rise;
  }
  const double falling = std::max(0.0, second - shape.rise - shape.hold) / shape.decay;
  return falling >= 1 ? 0 : std::pow(10.0, -3 * falling);
}

// Noise through a resonance of the hands' cavity, dying away within 30 to 60 ms.
void addClap(double height, std::size_t frame, Random& random, Sound& sound) {
  const double angle = 2 * std::numbers::pi * random.uniform(700, 2600) / kRate;
  const double radius = 0.985;
  const double decay = 1 / (random.uniform(0.004, 0.010) * kRate);
  const double left = random.uniform(0.2, 1);
  const double right = 1.2 - left;
  const std::size_t length = std::min(framesIn(0.06), sound.frames() - std::min(frame, sound.frames()));
  double y1 = 0;
  double y2 = 0;
  for (std::size_t i = 0; i < length; ++i) {
    const double excitation = height * random.noise() * std::exp(-static_cast<double>(i) * decay);
    const double y = excitation + 2 * radius * std::cos(angle) * y1 - radius * radius * y2;
    y2 = y1;
    y1 = y;
    sound.samples[2 * (frame + i)] += static_cast<float>(left * y);
    sound.samples[2 * (frame + i) + 1] += static_cast<float>(right * y);
  }
}

}  // namespace

Sound makeApplause(const ApplauseShape& shape, double level, Random& random) {
  Sound sound;
  sound.appendSilence(shape.rise + shape.hold + shape.decay);
  for (double at = 0; at < sound.seconds() - 0.06;) {
    const double strength = strengthAt(shape, at);
    addClap(strength * random.uniform(0.2, 1), framesIn(at), random, sound);
    // Where few clap, single hands are heard.
    at += -std::log(1 - random.uniform(0, 1)) / (kClapsPerSecond * std::max(0.04, std::sqrt(strength)));
  }
  const Sound loud = sound.excerpt(framesIn(shape.rise), framesIn(shape.hold));
  const auto gain = static_cast<float>(fromDecibels(level) / rmsOf(loud));
  for (float& sample : sound.samples) {
    sample *= gain;
  }
  return sound;
}

}  // namespace orv::accuracy
