#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "vector/SampleKernels.h"

/// A second opinion on sample conversion: slow, in the exact arithmetic of wide integers and long doubles, and without
/// anything in common with the code it judges.
namespace orv::test {

/// Every layout worth telling apart.
std::vector<simd::SampleLayout> allLayouts();
std::string nameOf(const simd::SampleLayout& layout);

std::vector<std::uint8_t> convertedForReference(const simd::SampleLayout& from, const std::vector<std::uint8_t>& bytes,
                                                const simd::SampleLayout& to);

/// `count` samples of the layout: random ones, and of floats also NaN, infinities, ties, tiny and huge values.
std::vector<std::uint8_t> randomSamples(const simd::SampleLayout& layout, std::size_t count, std::uint32_t seed);

/// Bytes with every NaN of float samples replaced by one and the same.
std::vector<std::uint8_t> withOneKindOfNaN(const simd::SampleLayout& layout, std::vector<std::uint8_t> bytes);

}  // namespace orv::test
