#include "accuracy/Noise.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <string>

namespace orv::accuracy {
namespace {

constexpr double kTau = 2 * std::numbers::pi;

bool isOn(double level) {
  return level > NoiseRecipe::kNone;
}

void scaleTo(Sound& sound, double rmsDecibels) {
  const auto gain = static_cast<float>(fromDecibels(rmsDecibels) / rmsOf(sound));
  for (float& sample : sound.samples) {
    sample *= gain;
  }
}

// Hiss between white and pink, different in both channels. The pink part is the sum of three low-passed noises whose
// corners lie evenly on the logarithm, within 1 dB of 3 dB an octave from 40 Hz to 10 kHz.
Sound makeHiss(std::size_t frames, double pinkness, Random& random) {
  constexpr std::array<float, 3> kPoles = {0.99765F, 0.96300F, 0.57000F};
  constexpr std::array<float, 3> kGains = {0.0990460F, 0.2965164F, 1.0526913F};
  const auto pink = static_cast<float>(pinkness);
  std::array<std::array<float, 3>, 2> states{};
  Sound hiss;
  hiss.samples.resize(frames * 2);
  for (std::size_t i = 0; i < hiss.samples.size(); ++i) {
    const float white = random.noise();
    float sum = 0.1848F * white;
    for (std::size_t pole = 0; pole < kPoles.size(); ++pole) {
      float& state = states[i % 2][pole];
      state = kPoles[pole] * state + kGains[pole] * white;
      sum += state;
    }
    hiss.samples[i] = pink * 0.5F * sum + (1 - pink) * white;
  }
  return hiss;
}

// Factors that wander between -drift and +drift dB, slowly: about once up and down over the sound and three times.
void drift(Sound& sound, double decibels, Random& random) {
  const double phase = random.uniform(0, kTau);
  const double slow = random.uniform(0.7, 1.3);
  const double fast = random.uniform(2, 4);
  const auto total = static_cast<double>(sound.frames());
  float gain = 1;
  for (std::size_t frame = 0; frame < sound.frames(); ++frame) {
    if (frame % 256 == 0) {
      const double along = kTau * static_cast<double>(frame) / total;
      gain = fromDecibels(decibels * (0.7 * std::sin(slow * along + phase) + 0.3 * std::sin(fast * along - phase)));
    }
    sound.samples[2 * frame] *= gain;
    sound.samples[2 * frame + 1] *= gain;
  }
}

// A click is a burst of noise, or a decaying tone of 1 to 8 kHz, that lasts 0.2 to 2 ms.
void addClick(double peak, std::size_t frame, Random& random, Sound& sound) {
  const auto length = static_cast<double>(framesIn(random.logUniform(0.0002, 0.002)));
  const double height = fromDecibels(random.uniform(peak - 25, peak)) * (random.chance(0.5) ? 1 : -1);
  const double angle = kTau * random.logUniform(1000, 8000) / kRate;
  const bool rough = random.chance(0.5);
  const double other = random.uniform(0.2, 1);
  const bool leftIsLouder = random.chance(0.5);
  for (std::size_t i = 0; i < static_cast<std::size_t>(length) && frame + i < sound.frames(); ++i) {
    const double shape = rough && i > 0 ? random.uniform(-1, 1) : std::cos(angle * static_cast<double>(i));
    const double value = height * shape * std::exp(-4 * static_cast<double>(i) / length);
    sound.samples[2 * (frame + i)] += static_cast<float>(leftIsLouder ? value : other * value);
    sound.samples[2 * (frame + i) + 1] += static_cast<float>(leftIsLouder ? other * value : value);
  }
}

// One to five a second, at random intervals that do not depend on each other.
void addClicks(double peak, Random& random, Sound& sound) {
  const double rate = random.uniform(1, 5);
  for (double at = 0;;) {
    at += -std::log(1 - random.uniform(0, 1)) / rate;
    if (at >= sound.seconds()) {
      return;
    }
    addClick(peak, framesIn(at), random, sound);
  }
}

// 50 Hz and harmonics up to the ninth, the odd ones stronger.
Sound makeHum(std::size_t frames, Random& random) {
  const double frequency = random.uniform(49.9, 50.1);
  Sound hum;
  hum.samples.resize(frames * 2);
  for (int harmonic = 1; harmonic <= 9; ++harmonic) {
    const double height = random.uniform(0.3, 1) / harmonic / (harmonic % 2 == 0 ? 2 : 1);
    const double phase = random.uniform(0, kTau);
    const double step = kTau * frequency * harmonic / kRate;
    for (std::size_t frame = 0; frame < frames; ++frame) {
      const auto value = static_cast<float>(height * std::sin(step * static_cast<double>(frame) + phase));
      hum.samples[2 * frame] += value;
      hum.samples[2 * frame + 1] += 0.8F * value;
    }
  }
  return hum;
}

// Noise through a resonance at 35 Hz as wide as an octave and a half, twice: 20 to 60 Hz. Mostly vertical, as a
// turntable's is: the channels have opposite signs.
Sound makeRumble(std::size_t frames, Random& random) {
  constexpr double kAngle = kTau * 35 / kRate;
  const double alpha = std::sin(kAngle) / (2 * 0.9);
  const double b0 = alpha / (1 + alpha);
  const double a1 = -2 * std::cos(kAngle) / (1 + alpha);
  const double a2 = (1 - alpha) / (1 + alpha);
  std::array<std::array<double, 4>, 2> states{};
  Sound rumble;
  rumble.samples.reserve(frames * 2);
  for (std::size_t frame = 0; frame < frames; ++frame) {
    double value = random.noise();
    for (auto& [x1, x2, y1, y2] : states) {
      const double y = b0 * (value - x2) - a1 * y1 - a2 * y2;
      x2 = x1;
      x1 = value;
      y2 = y1;
      y1 = y;
      value = y;
    }
    rumble.samples.push_back(static_cast<float>(value));
    rumble.samples.push_back(static_cast<float>(-0.7 * value));
  }
  return rumble;
}

// The sample again and again, each time faded into the one before over a quarter of a second at equal power.
Sound loop(const Sound& sample, std::size_t frames) {
  const std::size_t overlap = framesIn(0.25);
  const std::size_t period = sample.frames() - overlap;
  Sound looped;
  looped.samples.resize(frames * 2);
  for (std::size_t frame = 0; frame < frames; ++frame) {
    const std::size_t at = frame % period;
    for (std::size_t channel = 0; channel < 2; ++channel) {
      float value = sample.samples[2 * at + channel];
      if (at < overlap && frame >= period) {
        const float along = static_cast<float>(at) / static_cast<float>(overlap);
        value = std::sqrt(along) * value + std::sqrt(1 - along) * sample.samples[2 * (at + period) + channel];
      }
      looped.samples[2 * frame + channel] = value;
    }
  }
  return looped;
}

void mixAt(double level, Sound noise, Sound& sound) {
  scaleTo(noise, level);
  sound.mix(noise, 0);
}

}  // namespace

void addNoise(const NoiseRecipe& recipe, const Sound& groove, Random& random, Sound& sound) {
  const std::size_t frames = sound.frames();
  if (isOn(recipe.hiss)) {
    Sound hiss = makeHiss(frames, random.uniform(0, 1), random);
    scaleTo(hiss, recipe.hiss);
    drift(hiss, recipe.hissDrift, random);
    sound.mix(hiss, 0);
  }
  if (isOn(recipe.hum)) {
    mixAt(recipe.hum, makeHum(frames, random), sound);
  }
  if (isOn(recipe.rumble)) {
    mixAt(recipe.rumble, makeRumble(frames, random), sound);
  }
  if (isOn(recipe.groove)) {
    mixAt(recipe.groove, loop(groove, frames), sound);
  }
  if (isOn(recipe.clickPeak)) {
    addClicks(recipe.clickPeak, random, sound);
  }
}

}  // namespace orv::accuracy
