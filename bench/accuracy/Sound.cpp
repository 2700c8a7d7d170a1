#include "accuracy/Sound.h"

#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <stdexcept>

namespace orv::accuracy {
namespace {

using File = std::unique_ptr<SNDFILE, decltype(&sf_close)>;

constexpr std::size_t kTrimStep = kRate / 100;

bool isSilent(const Sound& sound, std::size_t begin, std::size_t length) {
  double sum = 0;
  for (std::size_t i = begin * 2; i < (begin + length) * 2; ++i) {
    sum += static_cast<double>(sound.samples[i]) * sound.samples[i];
  }
  return sum < 1e-7 * static_cast<double>(length) * 2;  // -70 dBFS
}

// Scales the `count` frames at `first` by the square of what rises or falls along them.
void ramp(Sound& sound, std::size_t first, std::size_t count, bool rises) {
  for (std::size_t i = 0; i < count; ++i) {
    const float along = static_cast<float>(i) / static_cast<float>(count);
    const float line = rises ? along : 1.0F - along;
    sound.samples[2 * (first + i)] *= line * line;
    sound.samples[2 * (first + i) + 1] *= line * line;
  }
}

SF_INFO formatOf(const std::string& path) {
  SF_INFO info{};
  const File file(sf_open(path.c_str(), SFM_READ, &info), &sf_close);
  if (!file || info.samplerate <= 0) {
    throw std::runtime_error("can't read " + path);
  }
  return info;
}

}  // namespace

float fromDecibels(double decibels) {
  return static_cast<float>(std::pow(10.0, decibels / 20));
}

std::size_t framesIn(double seconds) {
  return static_cast<std::size_t>(seconds * kRate);
}

Sound Sound::excerpt(std::size_t begin, std::size_t length) const {
  begin = std::min(begin, frames());
  length = std::min(length, frames() - begin);
  const auto first = samples.begin() + static_cast<std::ptrdiff_t>(begin * 2);
  return {{first, first + static_cast<std::ptrdiff_t>(length * 2)}};
}

void Sound::appendSilence(double seconds) {
  samples.resize(samples.size() + framesIn(seconds) * 2);
}

void Sound::mix(const Sound& other, std::size_t frame) {
  samples.resize(std::max(samples.size(), frame * 2 + other.samples.size()));
  std::transform(other.samples.begin(), other.samples.end(), samples.begin() + static_cast<std::ptrdiff_t>(frame * 2),
                 samples.begin() + static_cast<std::ptrdiff_t>(frame * 2), std::plus<>());
}

double rmsOf(const Sound& sound) {
  double sum = 0;
  for (const float sample : sound.samples) {
    sum += static_cast<double>(sample) * sample;
  }
  return sound.samples.empty() ? 0 : std::sqrt(sum / static_cast<double>(sound.samples.size()));
}

void trimSilence(Sound& sound) {
  std::size_t begin = 0;
  std::size_t end = sound.frames();
  while (begin + kTrimStep <= end && isSilent(sound, begin, kTrimStep)) {
    begin += kTrimStep;
  }
  while (end >= begin + kTrimStep && isSilent(sound, end - kTrimStep, kTrimStep)) {
    end -= kTrimStep;
  }
  sound = sound.excerpt(begin, end - begin);
}

void normalise(Sound& sound, double rmsDecibels) {
  const double rms = rmsOf(sound);
  if (rms <= 0) {
    return;
  }
  float peak = 0;
  for (const float sample : sound.samples) {
    peak = std::max(peak, std::fabs(sample));
  }
  const float gain = std::min(fromDecibels(rmsDecibels) / static_cast<float>(rms), fromDecibels(-1) / peak);
  for (float& sample : sound.samples) {
    sample *= gain;
  }
}

void fadeIn(Sound& sound, double seconds) {
  ramp(sound, 0, std::min(framesIn(seconds), sound.frames()), true);
}

void fadeOut(Sound& sound, double seconds) {
  const std::size_t count = std::min(framesIn(seconds), sound.frames());
  ramp(sound, sound.frames() - count, count, false);
}

void makeMono(Sound& sound) {
  for (std::size_t i = 0; i + 1 < sound.samples.size(); i += 2) {
    sound.samples[i] = sound.samples[i + 1] = (sound.samples[i] + sound.samples[i + 1]) / 2;
  }
}

void writeSound(const Sound& sound, const std::string& path) {
  SF_INFO info{};
  info.samplerate = kRate;
  info.channels = 2;
  info.format = SF_FORMAT_AIFF | SF_FORMAT_PCM_16;
  const File file(sf_open(path.c_str(), SFM_WRITE, &info), &sf_close);
  if (!file) {
    throw std::runtime_error("can't make " + path);
  }
  sf_command(file.get(), SFC_SET_CLIPPING, nullptr, SF_TRUE);
  const auto frames = static_cast<sf_count_t>(sound.frames());
  if (sf_writef_float(file.get(), sound.samples.data(), frames) != frames) {
    throw std::runtime_error("can't write " + path);
  }
}

double sampleRateOf(const std::string& path) {
  return formatOf(path).samplerate;
}

double secondsOf(const std::string& path) {
  const SF_INFO info = formatOf(path);
  return static_cast<double>(info.frames) / info.samplerate;
}

Sound readSound(const std::string& path) {
  SF_INFO info{};
  const File file(sf_open(path.c_str(), SFM_READ, &info), &sf_close);
  if (!file || info.channels != 2 || info.samplerate != kRate) {
    throw std::runtime_error("not a readable stereo file of 44.1 kHz: " + path);
  }
  Sound sound;
  sound.samples.resize(static_cast<std::size_t>(info.frames) * 2);
  if (sf_readf_float(file.get(), sound.samples.data(), info.frames) != info.frames) {
    throw std::runtime_error("can't read " + path);
  }
  return sound;
}

}  // namespace orv::accuracy
