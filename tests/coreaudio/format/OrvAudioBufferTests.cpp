#include <OrvCoreAudio/OrvAudioBuffer.h>
#include <gtest/gtest.h>

#include <string>

TEST(OrvAudioBuffer, CopiesTheSamples) {
  std::string samples = "abcdefgh";
  const AudioBuffer record{2, 8, samples.data()};
  const auto buffer = OrvAudioBuffer::initWithAudioBuffer(&record);
  samples = "--------";
  EXPECT_EQ(buffer->numberChannels(), 2U);
  EXPECT_EQ(buffer->dataByteSize(), 8U);
  ASSERT_NE(buffer->data(), samples.data());
  EXPECT_EQ(std::string(static_cast<const char*>(buffer->data()), 8), "abcdefgh");
}

TEST(OrvAudioBuffer, TheRecordBelongsToTheObjectAndPointsToItsSamples) {
  char samples[4] = {1, 2, 3, 4};
  const AudioBuffer record{1, 4, samples};
  const auto buffer = OrvAudioBuffer::initWithAudioBuffer(&record);
  EXPECT_EQ(buffer->audioBuffer()->mData, buffer->data());
  EXPECT_EQ(buffer->audioBuffer(), buffer->audioBuffer());
  EXPECT_EQ(buffer->audioBuffer()->mDataByteSize, 4U);
}

TEST(OrvAudioBuffer, WithoutDataItKeepsTheSizeThatIsStated) {
  const AudioBuffer record{6, 4096, nullptr};
  const auto buffer = OrvAudioBuffer::initWithAudioBuffer(&record);
  EXPECT_EQ(buffer->data(), nullptr);
  EXPECT_EQ(buffer->dataByteSize(), 4096U);
  EXPECT_EQ(buffer->numberChannels(), 6U);
}

TEST(OrvAudioBuffer, NullGivesAnObjectOfZeros) {
  const auto buffer = OrvAudioBuffer::initWithAudioBuffer(nullptr);
  ASSERT_NE(buffer, nullptr);
  EXPECT_EQ(buffer->numberChannels(), 0U);
  EXPECT_EQ(buffer->dataByteSize(), 0U);
  EXPECT_EQ(buffer->data(), nullptr);
}

TEST(OrvAudioBuffer, DescribesChannelsAndSize) {
  const AudioBuffer record{2, 512, nullptr};
  EXPECT_EQ(OrvAudioBuffer::initWithAudioBuffer(&record)->debugDescription(),
            "\tNumber of Channels:      2\n\tBuffer size (bytes):     512\n");
}
