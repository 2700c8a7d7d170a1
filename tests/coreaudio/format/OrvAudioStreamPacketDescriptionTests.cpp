#include <OrvCoreAudio/OrvAudioStreamPacketDescription.h>
#include <gtest/gtest.h>

#include <cstdlib>

TEST(OrvAudioStreamPacketDescription, KeepsOffsetAndSize) {
  const AudioStreamPacketDescription record{-5'000'000'000, 64, 34};
  const auto description = OrvAudioStreamPacketDescription::initWithAudioStreamPacketDescription(&record);
  EXPECT_EQ(description->mStartOffset(), -5'000'000'000);
  EXPECT_EQ(description->mDataByteSize(), 34U);
}

TEST(OrvAudioStreamPacketDescription, TheRecordIsACopyThatTheCallerFrees) {
  const AudioStreamPacketDescription record{12, 64, 34};
  const auto description = OrvAudioStreamPacketDescription::initWithAudioStreamPacketDescription(&record);
  AudioStreamPacketDescription* const copy = description->audioStreamPacketDescription();
  EXPECT_EQ(copy->mStartOffset, 12);
  EXPECT_EQ(copy->mVariableFramesInPacket, 64U);
  EXPECT_EQ(copy->mDataByteSize, 34U);
  std::free(copy);
}

TEST(OrvAudioStreamPacketDescription, NullGivesNull) {
  EXPECT_EQ(OrvAudioStreamPacketDescription::initWithAudioStreamPacketDescription(nullptr), nullptr);
}
