// Which fields go into archives, in which order, under which keys, as what; and what comes back.
#include <OrvCoreAudio/OrvArchiveKeys.h>
#include <OrvCoreAudio/OrvTrackAndProcessingInfo.h>
#include <gtest/gtest.h>

#include <map>
#include <vector>

namespace exposing {

/// Reads a private member, which an explicit instantiation may name: no operation tells the version.
template <auto member>
struct ArchivedVersion {
  friend std::uint32_t archivedVersionOf(const OrvAudioTrackInfo& track) { return track.*member; }
};
template struct ArchivedVersion<&OrvAudioTrackInfo::audioTrackInfoVersion>;

std::uint32_t archivedVersionOf(const OrvAudioTrackInfo& track);

}  // namespace exposing

namespace {

class Fields final : public orv::ArchiveEncoder, public orv::ArchiveDecoder {
 public:
  explicit Fields(bool keyed) : keyed_(keyed) {}

  bool isKeyed() const override { return keyed_; }
  void encodeObject(const orv::ArchiveValue& object) override { inOrder.push_back(object); }
  void encodeObject_forKey(const orv::ArchiveValue& object, const std::string& key) override { byKey[key] = object; }
  std::optional<orv::ArchiveValue> decodeObject() override {
    return next_ < inOrder.size() ? std::optional(inOrder[next_++]) : std::nullopt;
  }
  std::optional<orv::ArchiveValue> decodeObjectForKey(const std::string& key) override {
    return byKey.contains(key) ? std::optional(byKey[key]) : std::nullopt;
  }

  std::vector<orv::ArchiveValue> inOrder;
  std::map<std::string, orv::ArchiveValue> byKey;

 private:
  const bool keyed_;
  std::size_t next_ = 0;
};

std::shared_ptr<OrvAudioTrackInfo> track(const char* name, std::uint64_t begin, std::uint64_t end, bool isActive) {
  return OrvAudioTrackInfo::initWithTrackName_trackBeginFrame_trackEndFrame_isActive(name, begin, end, isActive);
}

std::shared_ptr<OrvAudioProcessingRangeInfo> processing(std::uint64_t start, std::uint64_t end) {
  return OrvAudioProcessingRangeInfo::initWithProcessNameAndRange_processingStartFrame_processingEndFrame("Gain", start,
                                                                                                          end);
}

constexpr std::uint64_t kOneReversed = 72'057'594'037'927'936;  // 1 with its eight bytes the other way round

}  // namespace

TEST(ArchivedTrack, HasNameReversedBeginReversedEndAndActivityInThisOrder) {
  Fields fields(false);
  track("Intro", 1, 0x0102, true)->encodeWithCoder(fields);
  ASSERT_EQ(fields.inOrder.size(), 4U);
  EXPECT_EQ(*fields.inOrder[0].text(), "Intro");
  EXPECT_EQ(*fields.inOrder[1].as<std::uint64_t>(), kOneReversed);
  EXPECT_EQ(*fields.inOrder[2].as<std::uint64_t>(), 0x0201'0000'0000'0000U);
  EXPECT_TRUE(*fields.inOrder[3].as<bool>());
}

TEST(ArchivedTrack, HasTheSameFieldsByKey) {
  Fields fields(true);
  track("Intro", 1, 0x0102, true)->encodeWithCoder(fields);
  ASSERT_EQ(fields.byKey.size(), 4U);
  EXPECT_EQ(*fields.byKey[OrvTrackName].text(), "Intro");
  EXPECT_EQ(*fields.byKey[OrvTrackBegin].as<std::uint64_t>(), kOneReversed);
  EXPECT_EQ(*fields.byKey[OrvTrackEnd].as<std::uint64_t>(), 0x0201'0000'0000'0000U);
  EXPECT_TRUE(*fields.byKey[OrvTrackIsActive].as<bool>());
}

TEST(ArchivedTrack, ComesBackWithVersion0) {
  for (const bool keyed : {false, true}) {
    Fields fields(keyed);
    const auto original = OrvAudioTrackInfo::init();
    original->setTrackBeginFrame(1);
    original->setTrackEndFrame(0xFEDC'BA98'7654'3210);
    original->encodeWithCoder(fields);
    EXPECT_EQ(original->trackBeginFrame(), 1U) << "encoding does not change the record";
    const auto back = OrvAudioTrackInfo::initWithCoder(fields);
    ASSERT_TRUE(back);
    EXPECT_FALSE(back->trackName());
    EXPECT_EQ(back->trackBeginFrame(), 1U);
    EXPECT_EQ(back->trackEndFrame(), 0xFEDC'BA98'7654'3210U);
    EXPECT_FALSE(back->isActive());
    EXPECT_EQ(exposing::archivedVersionOf(*back), 0U);
  }
}

TEST(ArchivedTrack, WithAFieldMissingOrOfAnotherTypeIsNone) {
  Fields whole(false);
  track("Intro", 1, 2, true)->encodeWithCoder(whole);
  for (std::size_t count = 0; count < 4; ++count) {
    Fields fields(false);
    fields.inOrder.assign(whole.inOrder.begin(), whole.inOrder.begin() + static_cast<std::ptrdiff_t>(count));
    EXPECT_EQ(OrvAudioTrackInfo::initWithCoder(fields), nullptr);
  }
  for (std::size_t at = 0; at < 4; ++at) {
    Fields fields(false);
    fields.inOrder = whole.inOrder;
    fields.inOrder[at] = std::int32_t{1};
    EXPECT_EQ(OrvAudioTrackInfo::initWithCoder(fields), nullptr);
  }
}

TEST(ArchivedProcessing, HasNameStartEndAndSettingsInThisOrderAndNotReversed) {
  Fields fields(false);
  const auto record = processing(1, 0x1'0000'0005);
  record->addProcessingSettingFloat_value("volume", 0.5F);
  record->encodeWithCoder(fields);
  ASSERT_EQ(fields.inOrder.size(), 4U);
  EXPECT_EQ(*fields.inOrder[0].text(), "Gain");
  EXPECT_EQ(*fields.inOrder[1].as<std::uint64_t>(), 1U);
  EXPECT_EQ(*fields.inOrder[2].as<std::uint64_t>(), 0x1'0000'0005U);
  EXPECT_EQ(*fields.inOrder[3].dictionary()->at("volume").as<float>(), 0.5F);
}

TEST(ArchivedProcessing, HasTheSameFieldsByKey) {
  Fields fields(true);
  processing(1, 2)->encodeWithCoder(fields);
  ASSERT_EQ(fields.byKey.size(), 4U);
  EXPECT_EQ(*fields.byKey[OrvProcessName].text(), "Gain");
  EXPECT_EQ(*fields.byKey[OrvProcessingStart].as<std::uint64_t>(), 1U);
  EXPECT_EQ(*fields.byKey[OrvProcessingEnd].as<std::uint64_t>(), 2U);
  EXPECT_TRUE(fields.byKey[OrvProcessingSettings].dictionary()->empty());
}

TEST(ArchivedProcessing, StartAndEndComeBackWithoutWhatTheyHaveAbove32Bits) {
  for (const bool keyed : {false, true}) {
    Fields fields(keyed);
    processing(0x7'0000'0003, 0x1'0000'0005)->encodeWithCoder(fields);
    const auto back = OrvAudioProcessingRangeInfo::initWithCoder(fields);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->processingStartFrame(), 3U);
    EXPECT_EQ(back->processingEndFrame(), 5U);
  }
}

TEST(ArchivedProcessing, TheDecodedDictionaryIsTheOneKept) {
  Fields fields(false);
  processing(1, 2)->encodeWithCoder(fields);
  const auto settings = std::make_shared<orv::ArchiveDictionary>();
  fields.inOrder[3] = settings;
  EXPECT_EQ(OrvAudioProcessingRangeInfo::initWithCoder(fields)->processingSettings(), settings);
}

TEST(ArchivedProcessing, WithoutSettingsIsNone) {
  Fields fields(false);
  processing(1, 2)->encodeWithCoder(fields);
  fields.inOrder[3] = {};
  EXPECT_EQ(OrvAudioProcessingRangeInfo::initWithCoder(fields), nullptr);
}

TEST(ArchivedContainer, HasTracksProcessingsAndFlagInThisOrder) {
  const auto info = OrvTrackAndProcessingInfo::init();
  info->addTrackInfo(track("a", 1, 2, false));
  info->setFileHasBeenProcessed(true);
  Fields fields(false);
  info->encodeWithCoder(fields);
  ASSERT_EQ(fields.inOrder.size(), 3U);
  ASSERT_EQ(fields.inOrder[0].array()->size(), 1U);
  EXPECT_EQ(fields.inOrder[0].array()->front().record(), info->trackInfos()->front());
  EXPECT_TRUE(fields.inOrder[1].isNil());
  EXPECT_TRUE(*fields.inOrder[2].as<bool>());
}

TEST(ArchivedContainer, HasTheSameFieldsByKey) {
  const auto info = OrvTrackAndProcessingInfo::init();
  info->addAudioProcessingInfo(processing(1, 2));
  Fields fields(true);
  info->encodeWithCoder(fields);
  ASSERT_EQ(fields.byKey.size(), 3U);
  EXPECT_TRUE(fields.byKey[OrvTrackInfos].isNil());
  EXPECT_EQ(fields.byKey[OrvProcessInfos].array()->size(), 1U);
  EXPECT_FALSE(*fields.byKey[OrvHasBeenProcessed].as<bool>());
}

TEST(ArchivedContainer, HoldsNothingForAListThatWasCleared) {
  const auto info = OrvTrackAndProcessingInfo::init();
  info->addTrackInfo(track("a", 1, 2, false));
  info->clearTrackInfos();
  Fields fields(false);
  info->encodeWithCoder(fields);
  EXPECT_TRUE(fields.inOrder[0].isNil());
  EXPECT_EQ(OrvTrackAndProcessingInfo::initWithCoder(fields)->trackInfos(), nullptr);
}

TEST(ArchivedContainer, ComesBackWholeInBothForms) {
  const auto info = OrvTrackAndProcessingInfo::init();
  info->addTrackInfo(track("a", 1, 2, true));
  info->addTrackInfo(track("b", 2, 3, false));
  info->addAudioProcessingInfo(processing(7, 9));
  info->setFileHasBeenProcessed(true);
  for (const bool keyed : {false, true}) {
    Fields fields(keyed);
    info->encodeWithCoder(fields);
    const auto back = OrvTrackAndProcessingInfo::initWithCoder(fields);
    ASSERT_TRUE(back);
    ASSERT_EQ(back->trackInfos()->size(), 2U);
    EXPECT_EQ(back->trackInfos()->at(1)->trackName(), "b");
    EXPECT_EQ(back->processingInfos()->size(), 1U);
    EXPECT_TRUE(back->fileHasBeenProcessed());
  }
}

TEST(ArchivedContainer, WhoseListsHoldOtherRecordsIsNone) {
  Fields fields(false);
  OrvTrackAndProcessingInfo::init()->encodeWithCoder(fields);
  const orv::ArchiveValue track1 = track("a", 1, 2, true);
  fields.inOrder[1] = std::make_shared<orv::ArchiveArray>(1, track1);
  EXPECT_EQ(OrvTrackAndProcessingInfo::initWithCoder(fields), nullptr);
  Fields others(false);
  others.inOrder = {std::make_shared<orv::ArchiveArray>(1, orv::ArchiveValue()), {}, false};
  EXPECT_EQ(OrvTrackAndProcessingInfo::initWithCoder(others), nullptr);
}

TEST(ArchivedContainer, LeavesOutWhatIsNullInAList) {
  const auto info = OrvTrackAndProcessingInfo::init();
  info->addTrackInfo(track("a", 1, 2, true));
  info->trackInfos()->push_back(nullptr);
  Fields fields(false);
  info->encodeWithCoder(fields);
  EXPECT_EQ(OrvTrackAndProcessingInfo::initWithCoder(fields)->trackInfos()->size(), 1U);
}

TEST(ArchiveKeys, AreTheirOwnNames) {
  EXPECT_STREQ(OrvTrackName, "OrvTrackName");
  EXPECT_STREQ(OrvTrackBegin, "OrvTrackBegin");
  EXPECT_STREQ(OrvTrackEnd, "OrvTrackEnd");
  EXPECT_STREQ(OrvTrackIsActive, "OrvTrackIsActive");
  EXPECT_STREQ(OrvProcessName, "OrvProcessName");
  EXPECT_STREQ(OrvProcessingStart, "OrvProcessingStart");
  EXPECT_STREQ(OrvProcessingEnd, "OrvProcessingEnd");
  EXPECT_STREQ(OrvProcessingSettings, "OrvProcessingSettings");
  EXPECT_STREQ(OrvTrackInfos, "OrvTrackInfos");
  EXPECT_STREQ(OrvProcessInfos, "OrvProcessInfos");
  EXPECT_STREQ(OrvHasBeenProcessed, "OrvHasBeenProcessed");
}
