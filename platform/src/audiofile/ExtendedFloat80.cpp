#include "audiofile/ExtendedFloat80.h"

#include <bit>
#include <cmath>
#include <limits>

#include "audiofile/ByteOrder.h"

namespace orv::audiofile {
namespace {

constexpr int kBias = 16383;
constexpr std::uint16_t kSignBit = 0x8000;
constexpr std::uint16_t kLargestExponent = 0x7FFF;  // infinities and NaN
constexpr std::uint64_t kIntegerBit = std::uint64_t{1} << 63;

/// significand × 2^exponent, rounded once: the shift drops bits by hand so that a denormal result is not rounded twice.
double scaled(std::uint64_t significand, int exponent) {
  constexpr int kSmallestExponent = -1074;  // of the last bit of a denormal double
  const int width = 64 - std::countl_zero(significand);
  int drop = width > 53 ? width - 53 : 0;
  if (exponent + drop < kSmallestExponent) {
    drop = kSmallestExponent - exponent;
  }
  if (drop > 64) {
    return 0.0;
  }
  if (drop > 0) {
    const std::uint64_t kept = drop == 64 ? 0 : significand >> drop;
    const std::uint64_t half = std::uint64_t{1} << (drop - 1);
    const std::uint64_t rest = drop == 64 ? significand : significand & ((half << 1) - 1);
    const bool roundUp = rest > half || (rest == half && (kept & 1) != 0);
    significand = kept + (roundUp ? 1 : 0);
    exponent += drop;
  }
  return std::ldexp(static_cast<double>(significand), exponent);
}

}  // namespace

ExtendedFloat80 extendedFromDouble(double value) {
  std::uint16_t exponent = 0;
  std::uint64_t significand = 0;
  if (std::isnan(value)) {
    exponent = kLargestExponent;
    significand = kIntegerBit | (kIntegerBit >> 1);  // quiet
  } else if (std::isinf(value)) {
    exponent = kLargestExponent;
    significand = kIntegerBit;
  } else if (value != 0.0) {
    int power = 0;
    const double fraction = std::frexp(std::fabs(value), &power);  // [0.5, 1)
    significand = static_cast<std::uint64_t>(std::ldexp(fraction, 64));
    exponent = static_cast<std::uint16_t>(power - 1 + kBias);
  }
  if (std::signbit(value)) {
    exponent |= kSignBit;
  }
  ExtendedFloat80 extended{};
  storeNumber(extended.data(), 2, ByteOrder::big, exponent);
  storeNumber(extended.data() + 2, 8, ByteOrder::big, significand);
  return extended;
}

double doubleFromExtended(const ExtendedFloat80& extended) {
  const std::uint16_t head = load16(extended.data(), ByteOrder::big);
  const std::uint64_t significand = load64(extended.data() + 2, ByteOrder::big);
  const int exponent = head & kLargestExponent;
  double magnitude = 0.0;
  if (exponent == kLargestExponent) {
    magnitude = (significand & ~kIntegerBit) == 0 ? std::numeric_limits<double>::infinity()
                                                  : std::numeric_limits<double>::quiet_NaN();
  } else if (significand != 0) {
    // A zero exponent field means the same power as 1: denormals.
    magnitude = scaled(significand, (exponent == 0 ? 1 : exponent) - kBias - 63);
  }
  return std::copysign(magnitude, (head & kSignBit) != 0 ? -1.0 : 1.0);
}

}  // namespace orv::audiofile
