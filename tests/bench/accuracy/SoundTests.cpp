#include "accuracy/Sound.h"

#include <gtest/gtest.h>

#include "support/TemporaryDirectory.h"

namespace orv::accuracy {
namespace {

Sound steady(double seconds, float value) {
  Sound sound;
  sound.samples.assign(framesIn(seconds) * 2, value);
  return sound;
}

TEST(AccuracySound, TrimmingTakesFaintEndsAndLeavesTheSilenceInside) {
  Sound sound = steady(0.5, 0.0001F);
  sound.mix(steady(1, 0.1F), sound.frames());
  sound.appendSilence(1);
  sound.mix(steady(1, 0.1F), sound.frames());
  sound.appendSilence(2);
  trimSilence(sound);
  EXPECT_EQ(sound.frames(), framesIn(3));
}

TEST(AccuracySound, TrimmingSilenceLeavesNothing) {
  Sound sound;
  sound.appendSilence(1.003);
  trimSilence(sound);
  EXPECT_LT(sound.frames(), framesIn(0.01));
}

TEST(AccuracySound, NormalisingReachesTheLevel) {
  Sound sound = steady(1, 0.5F);
  normalise(sound, -20);
  EXPECT_NEAR(rmsOf(sound), 0.1, 1e-6);
}

TEST(AccuracySound, NormalisingNeverClips) {
  Sound sound = steady(10, 0.001F);
  sound.samples[0] = 0.5F;
  normalise(sound, -20);
  EXPECT_NEAR(sound.samples[0], fromDecibels(-1), 1e-6);
}

TEST(AccuracySound, FadesReachSilenceAtTheEnds) {
  Sound sound = steady(1, 0.5F);
  fadeIn(sound, 0.25);
  fadeOut(sound, 5);
  EXPECT_EQ(sound.samples.front(), 0);
  EXPECT_NEAR(sound.samples.back(), 0, 1e-6);
}

TEST(AccuracySound, IsReadAsItWasWritten) {
  const test::TemporaryDirectory folder;
  Sound sound = steady(0.01, 0.25F);
  sound.samples[1] = -2;
  writeSound(sound, folder / "sound.aiff");
  const Sound read = readSound(folder / "sound.aiff");
  ASSERT_EQ(read.samples.size(), sound.samples.size());
  EXPECT_EQ(read.samples[0], 0.25F);
  EXPECT_EQ(read.samples[1], -1);
  EXPECT_EQ(sampleRateOf(folder / "sound.aiff"), kRate);
  EXPECT_DOUBLE_EQ(secondsOf(folder / "sound.aiff"), 0.01);
}

}  // namespace
}  // namespace orv::accuracy
