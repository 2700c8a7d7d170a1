#include "support/ToneResidue.h"

#include <sndfile.h>

#include <cmath>
#include <numbers>
#include <stdexcept>
#include <vector>

#include "support/IndependentReader.h"

namespace orv::bench {
namespace {

constexpr int kRate = 44'100;
constexpr int kSeconds = 10;

/// The angle of a tone at a frame, kept small so that its sine is exact.
double angleAt(std::int64_t frame, double frequency, double rate) {
  const double turns = static_cast<double>(frame) * frequency / rate;
  return 2 * std::numbers::pi * (turns - std::floor(turns));
}

}  // namespace

void makeTone(const std::string& path, double frequency) {
  std::vector<double> samples;
  const double amplitude = std::pow(10.0, -1.0 / 20);
  for (std::int64_t frame = 0; frame < std::int64_t{kRate} * kSeconds; ++frame) {
    const double sample = amplitude * std::sin(angleAt(frame, frequency, kRate));
    samples.insert(samples.end(), {sample, sample});
  }
  SF_INFO info{};
  info.samplerate = kRate;
  info.channels = 2;
  info.format = SF_FORMAT_AIFF | SF_FORMAT_PCM_24;
  SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
  if (file == nullptr) {
    throw std::runtime_error("can't write " + path);
  }
  sf_writef_double(file, samples.data(), std::int64_t{kRate} * kSeconds);
  sf_close(file);
}

double toneResidue(const std::string& path, double frequency) {
  const auto reading = orv::test::readIndependently(path);
  const auto rate = reading ? static_cast<std::int64_t>(reading->sampleRate) : 0;
  if (!reading || reading->frames < 3 * rate) {
    throw std::runtime_error("can't measure " + path);
  }
  const auto sampleAt = [&](std::int64_t frame) {
    return reading->doubles[static_cast<std::size_t>(frame * reading->channels)];
  };
  // Least squares of a cosine and a sine, by the normal equations.
  double cosCos = 0;
  double sinSin = 0;
  double cosSin = 0;
  double withCos = 0;
  double withSin = 0;
  for (std::int64_t frame = rate; frame < reading->frames - rate; ++frame) {
    const double angle = angleAt(frame, frequency, reading->sampleRate);
    const double cosine = std::cos(angle);
    const double sine = std::sin(angle);
    cosCos += cosine * cosine;
    sinSin += sine * sine;
    cosSin += cosine * sine;
    withCos += sampleAt(frame) * cosine;
    withSin += sampleAt(frame) * sine;
  }
  const double determinant = cosCos * sinSin - cosSin * cosSin;
  const double a = (withCos * sinSin - withSin * cosSin) / determinant;
  const double b = (withSin * cosCos - withCos * cosSin) / determinant;
  double tone = 0;
  double rest = 0;
  for (std::int64_t frame = rate; frame < reading->frames - rate; ++frame) {
    const double angle = angleAt(frame, frequency, reading->sampleRate);
    const double fitted = a * std::cos(angle) + b * std::sin(angle);
    tone += fitted * fitted;
    rest += (sampleAt(frame) - fitted) * (sampleAt(frame) - fitted);
  }
  return 10 * std::log10(rest / tone);
}

}  // namespace orv::bench
