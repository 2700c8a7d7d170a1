#include "platform/vector/ReferenceSamples.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <sstream>

namespace orv::test {
namespace {

using simd::SampleContainer;
using simd::SampleLayout;
using simd::SampleOrder;

/// A sample as a fraction: `value` / 2^`bits` for integers, `value` itself for floats.
struct Exact {
  bool isInteger = false;
  std::int64_t integer = 0;
  int scaleBits = 0;
  long double value = 0;
};

std::uint64_t wordAt(const SampleLayout& layout, const std::uint8_t* bytes) {
  std::uint64_t word = 0;
  const std::size_t size = bytesOf(layout.container);
  for (std::size_t i = 0; i < size; ++i) {
    // Highest byte first.
    word = word * 256 + bytes[layout.order == SampleOrder::swapped ? i : size - 1 - i];
  }
  return word;
}

void appendWord(const SampleLayout& layout, std::uint64_t word, std::vector<std::uint8_t>* bytes) {
  const std::size_t size = bytesOf(layout.container);
  for (std::size_t i = 0; i < size; ++i) {
    const std::size_t place = layout.order == SampleOrder::swapped ? size - 1 - i : i;
    bytes->push_back(static_cast<std::uint8_t>(word >> (8 * place)));
  }
}

template <class Float, class Word>
Float floatOf(std::uint64_t word) {
  const auto bits = static_cast<Word>(word);
  Float value = 0;
  std::memcpy(&value, &bits, sizeof(value));
  return value;
}

template <class Word, class Float>
std::uint64_t wordOf(Float value) {
  Word bits = 0;
  std::memcpy(&bits, &value, sizeof(bits));
  return bits;
}

Exact exactOf(const SampleLayout& layout, const std::uint8_t* bytes) {
  const std::uint64_t word = wordAt(layout, bytes);
  Exact exact;
  if (layout.container == SampleContainer::float32) {
    exact.value = floatOf<float, std::uint32_t>(word);
    return exact;
  }
  if (layout.container == SampleContainer::float64) {
    exact.value = floatOf<double, std::uint64_t>(word);
    return exact;
  }
  // What is in the upper bits is read with the bits below it.
  const int bits = layout.inUpperBits ? 8 * static_cast<int>(bytesOf(layout.container)) : layout.bits;
  const std::int64_t modulus = std::int64_t{1} << bits;
  std::int64_t value = static_cast<std::int64_t>(word) % modulus;
  if (layout.isUnsigned) {
    value -= modulus / 2;
  } else if (value >= modulus / 2) {
    value -= modulus;
  }
  exact.isInteger = true;
  exact.integer = value;
  exact.scaleBits = bits - 1;
  exact.value = std::ldexp(static_cast<long double>(value), -exact.scaleBits);
  return exact;
}

std::int64_t integerFor(const Exact& exact, int bits) {
  const std::int64_t limit = std::int64_t{1} << (bits - 1);
  if (std::isnan(exact.value)) {
    return 0;
  }
  // Integers: ties upward; floats: ties to even. A long double holds both exactly.
  const long double scaled = std::ldexp(exact.value, bits - 1);
  const long double rounded = exact.isInteger ? std::floor(scaled + 0.5L) : std::nearbyint(scaled);
  if (rounded >= static_cast<long double>(limit)) {
    return limit - 1;
  }
  return rounded < static_cast<long double>(-limit) ? -limit : static_cast<std::int64_t>(rounded);
}

void append(const SampleLayout& layout, const Exact& exact, std::vector<std::uint8_t>* bytes) {
  if (layout.container == SampleContainer::float32) {
    return appendWord(layout, wordOf<std::uint32_t>(static_cast<float>(exact.value)), bytes);
  }
  if (layout.container == SampleContainer::float64) {
    return appendWord(layout, wordOf<std::uint64_t>(static_cast<double>(exact.value)), bytes);
  }
  const int containerBits = 8 * static_cast<int>(bytesOf(layout.container));
  std::int64_t value = integerFor(exact, layout.bits);
  if (layout.isUnsigned) {
    value += std::int64_t{1} << (layout.bits - 1);
  }
  if (layout.inUpperBits) {
    value *= std::int64_t{1} << (containerBits - layout.bits);
  }
  appendWord(layout, static_cast<std::uint64_t>(value), bytes);
}

template <class Random>
double interestingDouble(Random& random) {
  static constexpr double kSpecial[] = {0.0,
                                        -0.0,
                                        1.0,
                                        -1.0,
                                        0x1.fffffep-1,
                                        1.5,
                                        -7.25,
                                        1e30,
                                        -1e30,
                                        1e-40,
                                        0x1p-8,
                                        -0x1p-9,
                                        0x1p-16,
                                        0x1.8p-15,
                                        -0x1.4p-14,
                                        0x1p-24,
                                        0x1.8p-23,
                                        0x1p-32,
                                        -0x1.8p-31,
                                        2147483647.0 / 2147483648.0,
                                        std::numeric_limits<double>::infinity(),
                                        -std::numeric_limits<double>::infinity(),
                                        std::numeric_limits<double>::quiet_NaN()};
  if (random() % 2 == 0) {
    return kSpecial[random() % std::size(kSpecial)];
  }
  return std::uniform_real_distribution<double>(-1.1, 1.1)(random);
}

}  // namespace

std::vector<SampleLayout> allLayouts() {
  std::vector<SampleLayout> layouts;
  const struct {
    SampleContainer container;
    std::vector<std::uint8_t> bits;
  } integers[] = {{SampleContainer::int8, {8}},
                  {SampleContainer::int16, {16, 12, 9}},
                  {SampleContainer::int24, {24, 20, 16}},
                  {SampleContainer::int32, {32, 31, 24, 8}}};
  for (const auto& [container, allBits] : integers) {
    for (const std::uint8_t bits : allBits) {
      const bool isFull = bits == 8 * bytesOf(container);
      for (const bool isUnsigned : {false, true}) {
        for (const bool inUpperBits : {true, false}) {
          for (const SampleOrder order : {SampleOrder::native, SampleOrder::swapped}) {
            const bool isMeaningful =
                (inUpperBits || !isFull) && (order == SampleOrder::native || bytesOf(container) > 1);
            if (isMeaningful) {
              layouts.push_back({container, order, bits, isUnsigned, inUpperBits});
            }
          }
        }
      }
    }
  }
  for (const SampleOrder order : {SampleOrder::native, SampleOrder::swapped}) {
    layouts.push_back({SampleContainer::float32, order, 0, false, true});
    layouts.push_back({SampleContainer::float64, order, 0, false, true});
  }
  return layouts;
}

std::string nameOf(const SampleLayout& layout) {
  const char* const kind = isFloat(layout.container) ? "float" : layout.isUnsigned ? "unsigned" : "signed";
  std::ostringstream name;
  name << kind << 8 * bytesOf(layout.container);
  if (!isFloat(layout.container)) {
    name << "/" << int{layout.bits} << (layout.inUpperBits ? "high" : "low");
  }
  name << (layout.order == SampleOrder::swapped ? " swapped" : "");
  return name.str();
}

std::vector<std::uint8_t> convertedForReference(const SampleLayout& from, const std::vector<std::uint8_t>& bytes,
                                                const SampleLayout& to) {
  std::vector<std::uint8_t> converted;
  const std::size_t size = bytesOf(from.container);
  for (std::size_t i = 0; i + size <= bytes.size(); i += size) {
    append(to, exactOf(from, bytes.data() + i), &converted);
  }
  return converted;
}

std::vector<std::uint8_t> randomSamples(const SampleLayout& layout, std::size_t count, std::uint32_t seed) {
  std::mt19937 random(seed);
  std::vector<std::uint8_t> bytes;
  for (std::size_t i = 0; i < count; ++i) {
    if (isFloat(layout.container)) {
      Exact exact;
      exact.value = interestingDouble(random);
      append(layout, exact, &bytes);
    } else {
      const std::uint64_t word = random();
      const std::uint64_t extreme = random() % 2 == 0 ? 0x80000000U : 0x7FFFFFFFU;
      appendWord(layout, random() % 8 == 0 ? extreme >> (32 - 8 * bytesOf(layout.container)) : word, &bytes);
    }
  }
  return bytes;
}

std::vector<std::uint8_t> withOneKindOfNaN(const SampleLayout& layout, std::vector<std::uint8_t> bytes) {
  if (!isFloat(layout.container)) {
    return bytes;
  }
  std::vector<std::uint8_t> result;
  const std::size_t size = bytesOf(layout.container);
  for (std::size_t i = 0; i + size <= bytes.size(); i += size) {
    Exact exact = exactOf(layout, bytes.data() + i);
    if (std::isnan(exact.value)) {
      exact.value = std::numeric_limits<long double>::quiet_NaN();
      append(layout, exact, &result);
    } else {
      result.insert(result.end(), bytes.begin() + static_cast<std::ptrdiff_t>(i),
                    bytes.begin() + static_cast<std::ptrdiff_t>(i + size));
    }
  }
  return result;
}

}  // namespace orv::test
