#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace orv::accuracy {

constexpr int kRate = 44100;

/// dB relative to full scale to a factor.
float fromDecibels(double decibels);

/// Seconds to frames.
std::size_t framesIn(double seconds);

/// Stereo at 44.1 kHz, samples interleaved, full scale at 1.
struct Sound {
  std::vector<float> samples;

  std::size_t frames() const { return samples.size() / 2; }
  double seconds() const { return static_cast<double>(frames()) / kRate; }
  Sound excerpt(std::size_t begin, std::size_t length) const;
  void appendSilence(double seconds);
  /// Adds `other` from `frame` on, longer than before where it ends later.
  void mix(const Sound& other, std::size_t frame);
};

/// Over all samples.
double rmsOf(const Sound& sound);

/// Takes away what lies below -70 dBFS at both ends, in steps of 10 ms.
void trimSilence(Sound& sound);

/// Scales to an RMS in dBFS, less where a sample would come above -1 dBFS.
void normalise(Sound& sound, double rmsDecibels);

/// Follows the square of a straight line from or to silence: the ear takes it for an even fade.
void fadeIn(Sound& sound, double seconds);
void fadeOut(Sound& sound, double seconds);

/// The mean of both channels in both.
void makeMono(Sound& sound);

/// Writes 16-bit AIFF; clips at full scale. Throws when it cannot.
void writeSound(const Sound& sound, const std::string& path);

/// Frames a second, and the length, of any file that libsndfile reads. Throw when it does not.
double sampleRateOf(const std::string& path);
double secondsOf(const std::string& path);

/// Reads a stereo file of 44.1 kHz whole. Throws when it is not one.
Sound readSound(const std::string& path);

}  // namespace orv::accuracy
