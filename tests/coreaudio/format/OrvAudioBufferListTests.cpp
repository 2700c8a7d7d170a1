#include <OrvCoreAudio/OrvAudioBufferList.h>
#include <gtest/gtest.h>

#include <cstddef>

namespace {

struct TwoBuffers {
  std::uint32_t count = 2;
  AudioBuffer buffers[2] = {};
  const AudioBufferList* list() const { return reinterpret_cast<const AudioBufferList*>(this); }
};
static_assert(offsetof(TwoBuffers, buffers) == offsetof(AudioBufferList, mBuffers));

}  // namespace

TEST(OrvAudioBufferList, HasAnObjectForEachBufferInOrder) {
  char first[2] = {1, 2};
  char second[3] = {3, 4, 5};
  TwoBuffers record;
  record.buffers[0] = {1, 2, first};
  record.buffers[1] = {3, 3, second};
  const auto list = OrvAudioBufferList::initWithAudioBufferList(record.list());
  ASSERT_EQ(list->numberBuffers(), 2U);
  EXPECT_EQ(list->audioBuffer(0)->numberChannels(), 1U);
  EXPECT_EQ(list->audioBuffer(1)->numberChannels(), 3U);
  second[2] = 0;
  EXPECT_EQ(static_cast<const char*>(list->audioBuffer(1)->data())[2], 5);
}

TEST(OrvAudioBufferList, TheIndexEqualToTheCountIsNull) {
  const TwoBuffers record;
  const auto list = OrvAudioBufferList::initWithAudioBufferList(record.list());
  EXPECT_EQ(list->audioBuffer(2), nullptr);
  EXPECT_EQ(list->audioBuffer(0xFFFFFFFF), nullptr);
}

TEST(OrvAudioBufferList, WithoutBuffersTheDescriptionIsEmpty) {
  const AudioBufferList record{};
  const auto list = OrvAudioBufferList::initWithAudioBufferList(&record);
  EXPECT_EQ(list->numberBuffers(), 0U);
  EXPECT_EQ(list->debugDescription(), "");
  EXPECT_EQ(list->audioBuffer(0), nullptr);
}

TEST(OrvAudioBufferList, NullGivesAnEmptyList) {
  const auto list = OrvAudioBufferList::initWithAudioBufferList(nullptr);
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(list->numberBuffers(), 0U);
}

TEST(OrvAudioBufferList, DescribesEachBufferUnderItsNumberAndAnEmptyLine) {
  TwoBuffers record;
  record.buffers[0] = {2, 16, nullptr};
  record.buffers[1] = {1, 8, nullptr};
  EXPECT_EQ(OrvAudioBufferList::initWithAudioBufferList(record.list())->debugDescription(),
            "AudioBuffer # 0\n\tNumber of Channels:      2\n\tBuffer size (bytes):     16\n\n"
            "AudioBuffer # 1\n\tNumber of Channels:      1\n\tBuffer size (bytes):     8\n\n");
}
