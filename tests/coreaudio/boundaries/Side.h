#pragma once

#include <OrvCoreAudio/OrvLevelEnvelope.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace orv::test {

/// A recorded side, made as it is told: notes with noise over all of them. The same for the same calls.
class Side {
 public:
  static constexpr double kRate = 11'025;  ///< Hz

  explicit Side(std::uint32_t seed = 1) : random_(seed) {}

  /// Plucked notes, four a second, a sixth of full scale. Each call has another scale and sound.
  Side& music(double seconds);
  /// The same, fading out over all of it.
  Side& fadingMusic(double seconds);
  Side& silence(double seconds);
  /// A sine tone.
  Side& tone(double seconds, double frequency, double amplitude);
  /// White noise over all that was made so far; RMS in dB relative to full scale.
  Side& noise(double level);
  /// One sample of that value.
  Side& click(double second, float value);

  /// Where the next sound begins.
  double seconds() const { return static_cast<double>(samples_.size()) / kRate; }
  std::vector<float>& samples() { return samples_; }

  /// Measured as one channel.
  OrvLevelEnvelope envelope() const;
  /// Written as 16-bit AIFF, or 32-bit float AIFC; every channel alike.
  void write(const std::string& path, std::uint32_t channels = 1) const;
  void writeFloat(const std::string& path) const;

 private:
  void play(double seconds, bool isFading);

  std::mt19937 random_;
  std::vector<float> samples_;
};

/// The envelope of mono samples.
OrvLevelEnvelope envelopeOf(const std::vector<float>& samples, double sampleRate);

}  // namespace orv::test
