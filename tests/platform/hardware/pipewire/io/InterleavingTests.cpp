#include "hardware/pipewire/io/Interleaving.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

namespace {

using orv::pipewire::HeardPorts;
using orv::pipewire::PlayedPorts;

constexpr std::uint32_t kFrames = 200;  // not a multiple of anything

float sampleOf(std::size_t frame, std::size_t channel) {
  return static_cast<float>(frame * 1000 + channel + 1);
}

std::vector<std::vector<float>> channelsOf(std::size_t count) {
  std::vector<std::vector<float>> channels(count, std::vector<float>(kFrames));
  for (std::size_t channel = 0; channel < count; ++channel) {
    for (std::size_t frame = 0; frame < kFrames; ++frame) {
      channels[channel][frame] = sampleOf(frame, channel);
    }
  }
  return channels;
}

}  // namespace

TEST(Interleaving, PutsEachPortsSamplesIntoItsChannelAndBack) {
  for (const std::size_t count : {1U, 2U, 3U, 8U, 64U, 100U}) {
    const auto channels = channelsOf(count);
    HeardPorts heard;
    for (const auto& channel : channels) {
      heard.push_back({channel.data(), kFrames});
    }
    std::vector<float> interleaved(kFrames * count);
    orv::pipewire::interleave(heard, 0, kFrames, interleaved.data());
    for (std::size_t i = 0; i < interleaved.size(); ++i) {
      ASSERT_EQ(interleaved[i], sampleOf(i / count, i % count)) << count << " " << i;
    }
    std::vector<std::vector<float>> back(count, std::vector<float>(kFrames));
    PlayedPorts played;
    for (auto& channel : back) {
      played.push_back({channel.data(), kFrames});
    }
    orv::pipewire::deinterleave(interleaved.data(), 0, kFrames, played);
    EXPECT_EQ(back, channels);
  }
}

TEST(Interleaving, BeginsAtAFrameOfThePorts) {
  for (const std::size_t count : {2U, 3U}) {
    auto channels = channelsOf(count);
    HeardPorts heard;
    PlayedPorts played;
    for (auto& channel : channels) {
      heard.push_back({channel.data(), kFrames});
      played.push_back({channel.data(), kFrames});
    }
    std::vector<float> interleaved(50 * count);
    orv::pipewire::interleave(heard, 150, 50, interleaved.data());
    EXPECT_EQ(interleaved[0], sampleOf(150, 0));
    EXPECT_EQ(interleaved.back(), sampleOf(199, count - 1));
    interleaved[0] = 5.0F;
    orv::pipewire::deinterleave(interleaved.data(), 150, 50, played);
    EXPECT_EQ(channels[0][149], sampleOf(149, 0));
    EXPECT_EQ(channels[0][150], 5.0F);
  }
}

TEST(Interleaving, HearsSilenceWhereNothingIsLinkedOrTooLittleComes) {
  for (const std::size_t count : {2U, 3U}) {
    const auto channels = channelsOf(count);
    HeardPorts heard(count);
    heard[1] = {channels[1].data(), 70};
    std::vector<float> interleaved(kFrames * count, 9.0F);
    orv::pipewire::interleave(heard, 0, kFrames, interleaved.data());
    for (std::size_t i = 0; i < interleaved.size(); ++i) {
      const bool isHeard = i % count == 1 && i / count < 70;
      ASSERT_EQ(interleaved[i], isHeard ? sampleOf(i / count, 1) : 0.0F) << i;
    }
  }
}

TEST(Interleaving, PlaysOnlyToPortsThatAreLinkedAndAsMuchAsTheyTake) {
  for (const std::size_t count : {2U, 3U}) {
    const std::vector<float> interleaved(kFrames * count, 3.0F);
    std::vector<float> channel(kFrames, 9.0F);
    PlayedPorts played(count);
    played[1] = {channel.data(), 70};
    orv::pipewire::deinterleave(interleaved.data(), 0, kFrames, played);
    EXPECT_EQ(channel[69], 3.0F);
    EXPECT_EQ(channel[70], 9.0F);
  }
}

TEST(Interleaving, PlaysSilenceWhereThereIsNothingToPlay) {
  std::vector<float> left(kFrames, 9.0F);
  std::vector<float> right(kFrames, 9.0F);
  orv::pipewire::deinterleave(nullptr, 0, kFrames, {{left.data(), kFrames}, {right.data(), kFrames}});
  EXPECT_EQ(left, std::vector<float>(kFrames));
  EXPECT_EQ(right, std::vector<float>(kFrames));
}
