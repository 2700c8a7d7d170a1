#pragma once

#include <cmath>
#include <cstdint>
#include <string_view>

namespace orv::accuracy {

/// 64-bit FNV-1a: the same number for the same text on every machine.
constexpr std::uint64_t stableHash(std::string_view text) {
  std::uint64_t hash = 0xCBF29CE484222325U;
  for (const char character : text) {
    hash = (hash ^ static_cast<unsigned char>(character)) * 0x100000001B3U;
  }
  return hash;
}

/// Random numbers that are the same on every machine and with every standard library, whose distributions are not.
/// The generator is SplitMix64.
class Random {
 public:
  explicit Random(std::string_view seed) : state_(stableHash(seed)) {}

  std::uint64_t next() {
    std::uint64_t z = state_ += 0x9E3779B97F4A7C15U;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9U;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBU;
    return z ^ (z >> 31);
  }
  double uniform(double low, double high) { return low + (high - low) * static_cast<double>(next() >> 11) * 0x1.0p-53; }
  /// Evenly spread over the logarithm.
  double logUniform(double low, double high) { return low * std::pow(high / low, uniform(0, 1)); }
  /// From low to high, both included.
  std::int64_t integer(std::int64_t low, std::int64_t high) {
    return low + static_cast<std::int64_t>(next() % static_cast<std::uint64_t>(high - low + 1));
  }
  bool chance(double probability) { return uniform(0, 1) < probability; }
  /// A sample of noise whose mean is 0 and whose RMS is 1, close to a normal distribution.
  float noise() {
    const std::uint64_t bits = next();
    const auto sum = static_cast<float>((bits & 0x1FFFFFU) + ((bits >> 21) & 0x1FFFFFU) + (bits >> 43));
    return sum * 0x1.0p-20F - 3.0F;
  }

 private:
  std::uint64_t state_;
};

}  // namespace orv::accuracy
