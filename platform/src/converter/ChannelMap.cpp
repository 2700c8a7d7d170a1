#include "converter/ChannelMap.h"

#include <algorithm>

namespace orv::converter {
namespace {

std::int32_t mean(std::int32_t a, std::int32_t b) {
  return static_cast<std::int32_t>((static_cast<std::int64_t>(a) + b) >> 1);
}

template <class Float>
Float mean(Float a, Float b) {
  return (a + b) * Float{0.5};
}

template <class Sample>
void duplicate(const Sample* from, Sample* to, std::size_t frames) {
  for (std::size_t i = 0; i < frames; ++i) {
    to[2 * i] = from[i];
    to[2 * i + 1] = from[i];
  }
}

template <class Sample>
void average(const Sample* from, Sample* to, std::size_t frames) {
  for (std::size_t i = 0; i < frames; ++i) {
    to[i] = mean(from[2 * i], from[2 * i + 1]);
  }
}

template <class Sample>
void place(const Sample* from, std::size_t fromChannels, Sample* to, std::size_t toChannels, std::size_t frames) {
  const std::size_t common = std::min(fromChannels, toChannels);
  for (std::size_t i = 0; i < frames; ++i, from += fromChannels, to += toChannels) {
    std::copy_n(from, common, to);
    std::fill(to + common, to + toChannels, Sample{0});
  }
}

template <class Sample>
void map(const void* fromBytes, std::uint32_t fromChannels, void* toBytes, std::uint32_t toChannels,
         std::size_t frames) {
  const auto* from = static_cast<const Sample*>(fromBytes);
  auto* to = static_cast<Sample*>(toBytes);
  if (fromChannels == 1 && toChannels == 2) {
    duplicate(from, to, frames);
  } else if (fromChannels == 2 && toChannels == 1) {
    average(from, to, frames);
  } else {
    place(from, fromChannels, to, toChannels, frames);
  }
}

}  // namespace

void mapChannels(simd::SampleContainer container, const void* from, std::uint32_t fromChannels, void* to,
                 std::uint32_t toChannels, std::size_t frames) {
  if (container == simd::SampleContainer::int32) {
    map<std::int32_t>(from, fromChannels, to, toChannels, frames);
  } else if (container == simd::SampleContainer::float32) {
    map<float>(from, fromChannels, to, toChannels, frames);
  } else {
    map<double>(from, fromChannels, to, toChannels, frames);
  }
}

}  // namespace orv::converter
