#pragma once

#include <array>
#include <cstdint>

namespace orv::audiofile {

/// An 80-bit extended float as AIFF stores sample rates: sign, 15 bits of exponent (bias 16,383) and 64 bits of
/// significand with an explicit integer bit, big-endian (IEEE 754-1985, double extended).
using ExtendedFloat80 = std::array<std::uint8_t, 10>;

/// Exact for every double: denormals become normal numbers, infinities and NaN stay what they are.
ExtendedFloat80 extendedFromDouble(double value);

/// The nearest double, ties to even. What is too large becomes infinite, what is too small a denormal or zero. Exact
/// for everything that `extendedFromDouble` makes.
double doubleFromExtended(const ExtendedFloat80& extended);

}  // namespace orv::audiofile
