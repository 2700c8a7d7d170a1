#include <gtest/gtest.h>

#include "CompanionRecipes.h"

/// The companion that says how the sound of a Sound Designer II file is stored: its bytes, and what is wrong with bad
/// ones.
namespace orv::test {
namespace {

const Bytes kAudio = audioBytes(400);

class SD2Companion : public ::testing::Test {
 protected:
  void put(const Bytes& companion) {
    files_->put("f.sd2", kAudio);
    files_->put("._f.sd2", companion);
  }

  /// Both ways to open the file refuse it, and touch nothing.
  void expectRefusal(const Bytes& companion, OSStatus status, const std::string& problem) {
    put(companion);
    for (const bool forUpdate : {false, true}) {
      const Opened file = forUpdate ? openForUpdate("f.sd2") : openForReading("f.sd2");
      EXPECT_EQ(fourCCText(static_cast<FourCharCode>(file.status)), fourCCText(static_cast<FourCharCode>(status)));
      EXPECT_EQ(file.problem, problem);
    }
    EXPECT_EQ(files_->file("f.sd2"), kAudio);
    EXPECT_EQ(files_->file("._f.sd2"), companion);
  }

  void expectBadNumber(const ForkRecipe& recipe, OSStatus status, const std::string& problem) {
    expectRefusal(appleDouble(resourceFork(recipe)), status, "Sound Designer II: " + problem);
  }

  void expectDamaged(const Bytes& companion, const std::string& problem) {
    expectRefusal(companion, kAudioFileInvalidFileError, "Sound Designer II: " + problem);
  }

  /// What damage does must be one of two: a clear refusal, or a file of sane format with audio that is there.
  void expectRefusalOrSanity(const Bytes& companion) {
    put(companion);
    const Opened file = openForReading("f.sd2");
    EXPECT_EQ(files_->file("f.sd2"), kAudio);
    EXPECT_EQ(files_->file("._f.sd2"), companion);
    if (file.status != noErr) {
      EXPECT_EQ(file.session, nullptr);
      EXPECT_FALSE(file.problem.empty());
      EXPECT_EQ(file.problem.find('\n'), std::string::npos);
      return;
    }
    const AudioStreamBasicDescription& format = file.session->format();
    ASSERT_GE(format.mChannelsPerFrame, 1U);
    ASSERT_LE(format.mChannelsPerFrame, 1024U);
    ASSERT_GT(format.mSampleRate, 0.0);
    ASSERT_EQ(format.mBytesPerFrame, format.mChannelsPerFrame * format.mBitsPerChannel / 8);
    const Bytes audio = audioOf(*file.session);
    EXPECT_EQ(audio.size(), kAudio.size() - kAudio.size() % format.mBytesPerFrame);
    EXPECT_TRUE(std::equal(audio.begin(), audio.end(), kAudio.begin()));
  }

  InstalledMemoryFiles files_;
};

const Bytes kGood = appleDouble(resourceFork());

// -- Bytes ---------------------------------------------------------------------------------------------------------

TEST_F(SD2Companion, WhatWeWriteIsAppleDoubleWithTheThreeTexts) {
  for (const auto& [bits, channels, rate, texts] :
       {std::tuple{16U, 2U, 44100.0, soundTexts("2", "44100.000000", "2")},
        std::tuple{8U, 1U, 22050.0, soundTexts("1", "22050.000000", "1")},
        std::tuple{24U, 12U, 44099.5, soundTexts("3", "44099.500000", "12")},
        std::tuple{32U, 1024U, 192000.0, soundTexts("4", "192000.000000", "1024")}}) {
    writeAudioFile("f.sd2", kAudioFileSoundDesigner2Type, signedBig(bits, channels, rate), {});
    EXPECT_EQ(files_->file("._f.sd2"), appleDouble(resourceFork(texts)));
    files_->remove("f.sd2");
  }
}

TEST_F(SD2Companion, ItsSizesAndPlacesArePinned) {
  writeAudioFile("f.sd2", kAudioFileSoundDesigner2Type, signedBig(16), {});
  const Bytes& companion = files_->file("._f.sd2");
  ASSERT_EQ(companion.size(), 474U);
  const auto at = [&](std::size_t offset, std::size_t length) {
    return Bytes(companion.begin() + static_cast<std::ptrdiff_t>(offset),
                 companion.begin() + static_cast<std::ptrdiff_t>(offset + length));
  };
  EXPECT_EQ(at(0, 8), (Bytes{0x00, 0x05, 0x16, 0x07, 0x00, 0x02, 0x00, 0x00}));
  EXPECT_EQ(at(24, 2), (Bytes{0, 2}));
  EXPECT_EQ(at(50, 4), text("Sd2f"));
  EXPECT_EQ(at(82, 16), (Bytes{0, 0, 1, 0, 0, 0, 1, 0x1D, 0, 0, 0, 0x1D, 0, 0, 0, 0x6B}));
  EXPECT_EQ(at(82 + 256, 29),
            (Bytes{0, 0, 0, 2, 1, '2'} + Bytes{0, 0, 0, 13, 12} + text("44100.000000") + Bytes{0, 0, 0, 2, 1, '2'}));
  EXPECT_EQ(at(82 + 256 + 29 + 28, 10), (Bytes{0, 0} + text("STR ") + Bytes{0, 2, 0, 10}));
}

// -- Companions that others write ----------------------------------------------------------------------------------

TEST_F(SD2Companion, AResourceForkAloneIsRead) {
  put(resourceFork());
  EXPECT_EQ(audioOf("f.sd2"), kAudio);
}

TEST_F(SD2Companion, EntriesMayComeInAnyOrderAndPlace) {
  const Bytes fork = resourceFork();
  put(Bytes{0, 5, 0x16, 7, 0, 2, 0, 0} + Bytes(16, ' ') + Bytes{0, 3} +                       // header
      bigEndian(2, 4) + bigEndian(5000, 4) + bigEndian(fork.size(), 4) +                      // resource fork
      bigEndian(3, 4) + bigEndian(62, 4) + bigEndian(4, 4) +                                  // name
      bigEndian(8, 4) + bigEndian(66, 4) + bigEndian(16, 4) + Bytes(5000 - 62, 'x') + fork);  // dates
  EXPECT_EQ(audioOf("f.sd2"), kAudio);
}

TEST_F(SD2Companion, OtherTextsAroundOursDoNotMatter) {
  put(appleDouble(
      resourceFork({{{128, "comment"}, {1002, "2"}, {1003, ""}, {1001, "44100"}, {1000, "2"}, {1000, "3"}}, "STR "})));
  EXPECT_TRUE(isSameFormat(openForReading("f.sd2").session->format(), signedBig(16)));
}

TEST_F(SD2Companion, NumbersMayHaveBlanksAndAComma) {
  put(appleDouble(resourceFork(soundTexts(" 2 ", "44100,500000", "2.0"))));
  EXPECT_TRUE(isSameFormat(openForReading("f.sd2").session->format(), signedBig(16, 2, 44100.5)));
}

// -- Numbers that are none -----------------------------------------------------------------------------------------

TEST_F(SD2Companion, AbsurdSampleSizesAreRefused) {
  for (const char* size : {"0", "-2", "2.5", "99999999999", "1e300"}) {
    expectBadNumber(soundTexts(size, "44100", "2"), kAudioFileUnsupportedDataFormatError,
                    "samples of 0 bits in 0 bytes can't be read");
  }
  expectBadNumber(soundTexts("5", "44100", "2"), kAudioFileUnsupportedDataFormatError,
                  "samples of 40 bits in 5 bytes can't be read");
  for (const char* size : {"", "two", "2x", "0x2", "1e999", "- 2"}) {
    expectBadNumber(soundTexts(size, "44100", "2"), kAudioFileInvalidFileError,
                    "what the companion says for the sample size is no number");
  }
}

TEST_F(SD2Companion, AbsurdChannelCountsAreRefused) {
  for (const char* channels : {"0", "-1", "1.5", "65536", "nan"}) {
    expectBadNumber(soundTexts("2", "44100", channels), kAudioFileInvalidFileError, "the file has no channels");
  }
  expectBadNumber(soundTexts("2", "44100", "1025"), kAudioFileInvalidFileError,
                  "1025 channels are more than the 1024 that can be read");
  expectBadNumber(soundTexts("2", "44100", "stereo"), kAudioFileInvalidFileError,
                  "what the companion says for the number of channels is no number");
}

TEST_F(SD2Companion, AbsurdRatesAreRefused) {
  expectBadNumber(soundTexts("2", "0.000000", "2"), kAudioFileInvalidFileError, "0 is not a sample rate");
  expectBadNumber(soundTexts("2", "-44100", "2"), kAudioFileInvalidFileError, "-44100 is not a sample rate");
  expectBadNumber(soundTexts("2", "inf", "2"), kAudioFileInvalidFileError, "inf is not a sample rate");
  expectBadNumber(soundTexts("2", "nan", "2"), kAudioFileInvalidFileError, "nan is not a sample rate");
  expectBadNumber(soundTexts("2", "44.1 kHz", "2"), kAudioFileInvalidFileError,
                  "what the companion says for the sample rate is no number");
  expectBadNumber(soundTexts("2", std::string(255, '9') + "x", "2"), kAudioFileInvalidFileError,
                  "what the companion says for the sample rate is no number");
}

// -- Missing and damaged companions --------------------------------------------------------------------------------

TEST_F(SD2Companion, WithoutOneAFileOfThatNameIsRefused) {
  for (const char* path : {"f.sd2", "g.SD2"}) {
    files_->put(path, kAudio);
    const Opened file = openForReading(path);
    EXPECT_EQ(file.status, kAudioFileInvalidFileError);
    EXPECT_EQ(file.problem, "Sound Designer II: the file '" + companionOf(path) + "' that says the format is missing");
  }
}

TEST_F(SD2Companion, EachTextMustBeThere) {
  expectBadNumber({{{1001, "44100"}, {1002, "2"}}, "STR "}, kAudioFileInvalidFileError,
                  "the companion does not say the sample size");
  expectBadNumber({{{1000, "2"}, {1002, "2"}}, "STR "}, kAudioFileInvalidFileError,
                  "the companion does not say the sample rate");
  expectBadNumber({{{1000, "2"}, {1001, "44100"}}, "STR "}, kAudioFileInvalidFileError,
                  "the companion does not say the number of channels");
}

TEST_F(SD2Companion, AnEmptyOneIsRefused) {
  expectDamaged({}, "the companion is cut short");
}

TEST_F(SD2Companion, OneWithoutAResourceForkIsRefused) {
  expectDamaged(patched(kGood, 41, {7}), "the companion has no resource fork");
}

TEST_F(SD2Companion, OneWithoutTextsIsRefused) {
  expectDamaged(appleDouble(resourceFork({{{1000, "2"}}, "vers"})), "the resource fork holds no texts");
}

TEST_F(SD2Companion, AForkThatReachesBeyondTheFileIsRefused) {
  expectDamaged(patched(kGood, 42, bigEndian(0xFFFFFFFF, 4)), "the companion is cut short");
  expectDamaged(patched(kGood, 46, bigEndian(0xFFFFFFFF, 4)), "the companion is cut short");
}

TEST_F(SD2Companion, PartsThatReachBeyondTheForkAreRefused) {
  for (const std::size_t field : {0U, 4U, 8U, 12U}) {
    expectDamaged(patched(kGood, 82 + field, bigEndian(0xFFFFFFFF, 4)), "the resource fork is cut short");
    expectDamaged(patched(kGood, 82 + field, bigEndian(0x7FFFFFFF, 4)), "the resource fork is cut short");
  }
}

TEST_F(SD2Companion, AMapOverTheDataIsRefused) {
  expectDamaged(patched(kGood, 86, bigEndian(256, 4)), "the resource fork is damaged: its parts overlap");
}

TEST_F(SD2Companion, AMapOverTheHeaderIsRefused) {
  expectDamaged(patched(kGood, 86, bigEndian(0, 4)), "the resource fork is damaged: its parts overlap");
}

TEST_F(SD2Companion, ATypeListBeyondTheMapIsRefused) {
  expectDamaged(patched(kGood, 82 + 256 + 29 + 24, {0xFF, 0xFF}), "the resource map is cut short");
}

TEST_F(SD2Companion, MoreTypesThanTheMapHoldsAreRefused) {
  const Bytes otherType = patched(kGood, 82 + 256 + 29 + 30, text("vers"));
  expectDamaged(patched(otherType, 82 + 256 + 29 + 28, {0xFF, 0xFE}), "the resource map is cut short");
}

TEST_F(SD2Companion, AMapThatLeadsIntoItselfIsRefused) {
  // The references of the texts begin where the list of types does, and claim to be as many as can be.
  const Bytes recursing = patched(kGood, 82 + 256 + 29 + 34, {0xFF, 0xFE, 0, 0});
  expectDamaged(recursing, "the companion does not say the sample size");
}

TEST_F(SD2Companion, TextsBeyondTheDataAreRefused) {
  const std::size_t firstReference = 82 + 256 + 29 + 38;
  expectDamaged(patched(kGood, firstReference + 5, {0xFF, 0xFF, 0xFF}), "the companion does not say the sample size");
  expectDamaged(patched(kGood, 82 + 256, bigEndian(0xFFFFFFFF, 4)), "the companion does not say the sample size");
  expectDamaged(patched(kGood, 82 + 256, bigEndian(0, 4)), "the companion does not say the sample size");
  expectDamaged(patched(kGood, 82 + 256 + 4, {200}), "the companion does not say the sample size");
}

TEST_F(SD2Companion, CutAnywhereItIsRefused) {
  for (const Bytes& good : {kGood, resourceFork()}) {
    for (std::size_t length = 0; length < good.size(); ++length) {
      put(Bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(length)));
      const Opened file = openForReading("f.sd2");
      EXPECT_EQ(file.status, kAudioFileInvalidFileError) << length;
      EXPECT_TRUE(file.problem.ends_with("cut short")) << length << ": " << file.problem;
    }
  }
}

TEST_F(SD2Companion, EveryFlippedBitGivesARefusalOrSaneAudio) {
  for (const Bytes& good : {kGood, resourceFork()}) {
    for (std::size_t i = 0; i < good.size() && !HasFailure(); ++i) {
      for (const unsigned mask : {0x01U, 0x02U, 0x04U, 0x08U, 0x10U, 0x20U, 0x40U, 0x80U, 0xFFU}) {
        SCOPED_TRACE("byte " + std::to_string(i));
        expectRefusalOrSanity(patched(good, i, {static_cast<std::uint8_t>(good[i] ^ mask)}));
      }
    }
  }
}

TEST_F(SD2Companion, EveryPairOfBytesSetToExtremesGivesARefusalOrSaneAudio) {
  for (std::size_t i = 0; i + 2 <= kGood.size() && !HasFailure(); ++i) {
    SCOPED_TRACE("byte " + std::to_string(i));
    for (const Bytes& extreme : {Bytes{0, 0}, Bytes{0xFF, 0xFF}, Bytes{0x7F, 0xFF}, Bytes{0x80, 0}}) {
      expectRefusalOrSanity(patched(kGood, i, extreme));
    }
  }
}

TEST_F(SD2Companion, TextsFarBehindOthersAreFound) {
  // Ours are far behind the block that is read at once.
  ForkRecipe recipe;
  recipe.texts.clear();
  for (std::uint32_t i = 0; i < 2000; ++i) {
    recipe.texts.push_back({i % 1000, std::string(200, 'x')});
  }
  recipe.texts.push_back({1000, "2"});
  recipe.texts.push_back({1001, "48000"});
  recipe.texts.push_back({1002, "2"});
  put(appleDouble(resourceFork(recipe)));
  EXPECT_TRUE(isSameFormat(openForReading("f.sd2").session->format(), signedBig(16, 2, 48000)));
}

}  // namespace
}  // namespace orv::test
