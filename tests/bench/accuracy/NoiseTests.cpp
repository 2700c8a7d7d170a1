#include "accuracy/Noise.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "accuracy/Applause.h"

namespace orv::accuracy {
namespace {

Sound noiseOf(const NoiseRecipe& recipe, const std::string& seed, const Sound& groove = {}) {
  Random random(seed);
  Sound sound;
  sound.appendSilence(4);
  addNoise(recipe, groove, random, sound);
  return sound;
}

double levelOf(const Sound& sound) {
  return 20 * std::log10(rmsOf(sound));
}

float peakOf(const Sound& sound) {
  float peak = 0;
  for (const float sample : sound.samples) {
    peak = std::max(peak, std::fabs(sample));
  }
  return peak;
}

TEST(AccuracyNoise, HasTheLevelOfItsRecipe) {
  EXPECT_NEAR(levelOf(noiseOf({.hiss = -45}, "a")), -45, 0.01);
  EXPECT_NEAR(levelOf(noiseOf({.hum = -50}, "a")), -50, 0.01);
  EXPECT_NEAR(levelOf(noiseOf({.rumble = -35}, "a")), -35, 0.01);
}

TEST(AccuracyNoise, IsNoneWithoutARecipe) {
  EXPECT_EQ(rmsOf(noiseOf({}, "a")), 0);
}

TEST(AccuracyNoise, IsTheSameForTheSameSeedAndOtherForAnother) {
  const NoiseRecipe recipe = {.hiss = -60, .clickPeak = -20, .hum = -50, .rumble = -40};
  EXPECT_EQ(noiseOf(recipe, "a").samples, noiseOf(recipe, "a").samples);
  EXPECT_NE(noiseOf(recipe, "a").samples, noiseOf(recipe, "b").samples);
}

TEST(AccuracyNoise, ClicksStayBelowTheirPeakAndAreSeldom) {
  const Sound clicks = noiseOf({.clickPeak = -20}, "a");
  EXPECT_GT(peakOf(clicks), fromDecibels(-45));
  EXPECT_LE(peakOf(clicks), fromDecibels(-20) * 1.0001F);
  const auto busy = std::count_if(clicks.samples.begin(), clicks.samples.end(), [](float x) { return x != 0; });
  EXPECT_LT(busy, static_cast<std::ptrdiff_t>(clicks.samples.size() / 20));
}

TEST(AccuracyNoise, RumbleLiesBelowSixtyHertz) {
  const Sound rumble = noiseOf({.rumble = -35}, "a");
  double differences = 0;
  for (std::size_t i = 2; i < rumble.samples.size(); ++i) {
    differences += std::pow(rumble.samples[i] - rumble.samples[i - 2], 2);
  }
  const double slope = std::sqrt(differences / static_cast<double>(rumble.samples.size())) / rmsOf(rumble);
  const double meanFrequency = slope * kRate / (2 * 3.14159);
  EXPECT_GT(meanFrequency, 20);
  EXPECT_LT(meanFrequency, 60);
}

TEST(AccuracyNoise, DriftMovesTheHissBySeveralDecibels) {
  const Sound hiss = noiseOf({.hiss = -50, .hissDrift = 6}, "a");
  double least = 0;
  double most = -200;
  for (std::size_t i = 0; i < 20; ++i) {
    const double level = levelOf(hiss.excerpt(i * framesIn(0.2), framesIn(0.2)));
    least = std::min(least, level);
    most = std::max(most, level);
  }
  EXPECT_GT(most - least, 4);
  EXPECT_GE(least, -56.5);
  EXPECT_LE(most, -43.5);
}

TEST(AccuracyNoise, TheGrooveIsLoopedWithoutAJump) {
  Sound sample;
  sample.appendSilence(1);
  for (std::size_t i = 0; i < sample.samples.size(); ++i) {
    sample.samples[i] = 0.1F + static_cast<float>(i) * 1e-6F;
  }
  const Sound looped = noiseOf({.groove = -20}, "a", sample);
  for (std::size_t i = 2; i < looped.samples.size(); ++i) {
    ASSERT_LT(std::fabs(looped.samples[i] - looped.samples[i - 2]), 0.005F) << i;
  }
}

TEST(AccuracyApplause, HoldsItsLevelAndDiesAway) {
  Random random("a");
  const Sound applause = makeApplause({0.5, 3, 3}, -25, random);
  EXPECT_NEAR(levelOf(applause.excerpt(framesIn(1), framesIn(2))), -25, 1);
  EXPECT_LT(levelOf(applause.excerpt(framesIn(6.2), framesIn(0.3))), -65);
}

}  // namespace
}  // namespace orv::accuracy
