// Bytes that no archiver has written: the whole object comes out, or nothing does.
#include <gtest/gtest.h>

#include "TestRecords.h"
#include "archiver/ArchiveFrame.h"
#include "archiver/CBORShape.h"
#include "archiver/ObjectBuilder.h"

namespace orv::test {
namespace {

/// CBOR in a frame whose checksum is right, as only an archive that means harm has it.
ArchiveBytes framed(const ArchiveBytes& object, ArchiveForm form = ArchiveForm::sequential) {
  return archiver::makeFrame({form, object, 1000}, {});
}

std::string outcome(const ArchiveBytes& bytes) {
  std::string problem;
  const auto object = unarchive(bytes, testMakers(), &problem);
  return object ? show(*object) : problem;
}

const ArchiveValue& sample() {
  static const ArchiveValue value =
      labelled("label", list({1U, 0.25, "text", dictionary({{"key", labelled("inner")}}), {}}));
  return value;
}

TEST(HostileArchive, CutOffAnywhereItIsRefused) {
  for (const ArchiveForm form : {ArchiveForm::sequential, ArchiveForm::keyed}) {
    const ArchiveBytes whole = archive(sample(), form);
    for (std::size_t length = 0; length < whole.size(); ++length) {
      EXPECT_FALSE(unarchive(std::span(whole).first(length), testMakers(), nullptr)) << "after byte " << length;
    }
  }
}

TEST(HostileArchive, WithAnyBitFlippedItIsRefused) {
  const ArchiveBytes whole = archive(sample(), ArchiveForm::sequential);
  for (std::size_t at = 0; at < whole.size(); ++at) {
    for (int bit = 0; bit < 8; ++bit) {
      ArchiveBytes flipped = whole;
      flipped[at] = static_cast<std::uint8_t>(flipped[at] ^ 1U << bit);
      EXPECT_FALSE(unarchive(flipped, testMakers(), nullptr)) << "bit " << bit << " of byte " << at;
    }
  }
}

TEST(HostileArchive, WithBytesBehindItIsRefused) {
  ArchiveBytes bytes = archive(sample(), ArchiveForm::sequential);
  bytes.push_back(0);
  EXPECT_EQ(outcome(bytes), "the archive is damaged");
}

/// What the checksum does not catch. Every object is whole: it can be written out, archived again, and is then the
/// same.
TEST(HostileArchive, AnyByteOfTheObjectMayBeAnotherWithARightChecksum) {
  const ArchiveBytes whole = archive(sample(), ArchiveForm::sequential);
  const char* problem = nullptr;
  const auto object = archiver::readFrame(whole, &problem)->object;
  int accepted = 0;
  for (std::size_t at = 0; at < object.size(); ++at) {
    for (int value = 0; value < 256; ++value) {
      ArchiveBytes changed(object.begin(), object.end());
      changed[at] = static_cast<std::uint8_t>(value);
      const auto read = unarchive(framed(changed), testMakers(), nullptr);
      if (read) {
        ++accepted;
        EXPECT_EQ(roundTrip(*read, ArchiveForm::sequential), show(*read));
      }
    }
  }
  EXPECT_GT(accepted, 256) << "texts at least may be any";
}

TEST(HostileArchive, WhatIsNoArchiveIsCalledSo) {
  EXPECT_EQ(outcome({}), "not an archive");
  EXPECT_EQ(outcome(ArchiveBytes(100, 'a')), "not an archive");
  EXPECT_EQ(outcome(ArchiveBytes(1U << 20, 0)), "not an archive");
}

TEST(HostileArchive, CountsBeyondItsEndAreRefused) {
  const std::vector<ArchiveBytes> objects{
      {0x9B, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0},  // array
      {0x9A, 0x40, 0, 0, 0, 0},                                   //
      {0xBB, 0x7F, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF},     // map
      {0xBB, 0x80, 0, 0, 0, 0, 0, 0, 0},                          // map whose count of items wraps to 0
      {0x7B, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF},     // text
      {0x7A, 0x10, 0, 0, 0, 'a'},
  };
  for (const ArchiveBytes& object : objects) {
    EXPECT_EQ(outcome(framed(object)), "the archive is damaged");
  }
}

TEST(HostileArchive, EndlessNestingIsRefusedWithoutRunningOutOfStack) {
  constexpr std::size_t kMany = 4'000'000;
  EXPECT_EQ(outcome(framed(ArchiveBytes(kMany, 0x81))), "the archive is damaged");
  EXPECT_EQ(outcome(framed(ArchiveBytes(kMany, 0x9F))), "the archive is damaged");
  EXPECT_EQ(outcome(framed(ArchiveBytes(kMany, 0x7F))), "the archive is damaged");
  EXPECT_EQ(outcome(framed(ArchiveBytes(kMany, 0x5F))), "the archive is damaged");
  EXPECT_EQ(outcome(framed(ArchiveBytes(kMany, 0xC1))), "the archive is damaged");
  EXPECT_EQ(outcome(framed(ArchiveBytes(kMany, 0xA1))), "the archive is damaged");
}

TEST(HostileArchive, WhatStandsForNoObjectIsRefused) {
  const std::vector<ArchiveBytes> objects{
      {0x05},                                                           // a bare number
      {0x25},                                                           //
      {0xFA, 0, 0, 0, 0},                                               //
      {0x80},                                                           // an array without a kind
      {0x81, 8},                                                        // an unknown kind
      {0x81, 0x18, 0xFF},                                               //
      {0x81, 0x61, 'a'},                                                // a text for a kind
      {0x81, 2},                                                        // a number without a value
      {0x83, 2, 5, 5},                                                  // with two
      {0x82, 2, 0x61, 'a'},                                             // a text for a number
      {0x82, 2, 0xF6},                                                  //
      {0x82, 2, 0x82, 2, 5},                                            // a number in a number
      {0x82, 2, 0x20},                                                  // −1, unsigned
      {0x82, 2, 0x1B, 0, 0, 0, 1, 0, 0, 0, 0},                          // 2^32 in 32 bits
      {0x82, 1, 0x1A, 0x80, 0, 0, 0},                                   // 2^31, signed
      {0x82, 3, 0x1B, 0x80, 0, 0, 0, 0, 0, 0, 0},                       // 2^63, signed
      {0x82, 5, 5},                                                     // an integer for a float
      {0x82, 2, 0xFA, 0x3F, 0x80, 0, 0},                                // a float for an integer
      {0x82, 5, 0xFB, 0x3F, 0xB9, 0x99, 0x99, 0x99, 0x99, 0x99, 0x9A},  // a double for a float
      {0x82, 5, 0xFB, 0x7F, 0xE0, 0, 0, 0, 0, 0, 0},                    // one that no float can hold
      {0x81, 7},                                                        // a record without a name
      {0x82, 7, 0xF6},                                                  //
      {0x82, 7, 0x81, 0},                                               //
      {0xA2, 0x61, 'k', 0xF6, 0x61, 'k', 0xF6},                         // a key twice
  };
  for (const ArchiveBytes& object : objects) {
    EXPECT_EQ(outcome(framed(object)), "the archive holds something that is no object")
        << ::testing::PrintToString(object);
  }
}

TEST(HostileArchive, FormsOfCBORThatNoArchiveHasAreRefused) {
  const std::vector<ArchiveBytes> objects{
      {0x3B, 0x80, 0, 0, 0, 0, 0, 0, 0},  // below the least 64-bit number
      {0x41, 'a'},                        // bytes
      {0x9F, 0, 0xFF},                    // lengths to be found out
      {0xBF, 0xFF},                       //
      {0x7F, 0x61, 'a', 0xFF},            //
      {0xC0, 0x61, 'a'},                  // a tag
      {0xF7},                             // undefined
      {0xF8, 0x20},                       // simple values
      {0xE0},                             //
      {0xFF},                             // a break
      {0x1C},                             // reserved
      {0xA1, 0x01},                       // cut short
  };
  for (const ArchiveBytes& object : objects) {
    EXPECT_EQ(outcome(framed(object)), "the archive is damaged") << ::testing::PrintToString(object);
  }
}

TEST(HostileArchive, AMapWhoseKeysAreNoTextsIsRefused) {
  EXPECT_FALSE(unarchive(framed({0xA1, 0x01, 0xF6}), testMakers(), nullptr));
  EXPECT_FALSE(unarchive(framed({0xA1, 0x81, 0x00, 0xF6}), testMakers(), nullptr));
  EXPECT_FALSE(unarchive(framed({0xA1, 0xF6, 0xF6}), testMakers(), nullptr));
}

TEST(HostileArchive, ARecordByKeyWithoutItsDictionaryIsRefused) {
  const ArchiveBytes named{0x68, 'L', 'a', 'b', 'e', 'l', 'l', 'e', 'd'};
  for (ArchiveBytes tail : {ArchiveBytes{}, ArchiveBytes{0xF6}, ArchiveBytes{0xA0, 0xA0}, ArchiveBytes{0xA0}}) {
    ArchiveBytes object{static_cast<std::uint8_t>(0x82 + tail.size()), 7};
    object.insert(object.end(), named.begin(), named.end());
    object.insert(object.end(), tail.begin(), tail.end());
    EXPECT_EQ(outcome(framed(object, ArchiveForm::keyed)), "the archive holds a record whose fields are not its own");
  }
}

TEST(HostileArchive, FillerThatReachesBeyondTheEndIsRefused) {
  ArchiveBytes bytes = framed({0xF6});
  const auto setFillerLength = [&](std::size_t at, std::uint8_t first) {
    ArchiveBytes changed = bytes;
    changed[at] = first;
    return changed;
  };
  // The checksum is wrong as well; what counts is that nothing outside is touched.
  EXPECT_EQ(outcome(setFillerLength(13, 0xFF)), "the archive is damaged");
  EXPECT_EQ(outcome(setFillerLength(19, 0xFF)), "the archive is damaged");
}

TEST(CBORShape, ReadsNothingBehindTheBytes) {
  for (const std::uint8_t first : ArchiveBytes{0x18, 0x19, 0x1A, 0x1B, 0x58, 0x7B, 0xF9, 0xFB}) {
    const ArchiveBytes bytes{first};
    EXPECT_FALSE(archiver::readHead(bytes));
    EXPECT_FALSE(archiver::itemLength(bytes, 1));
  }
  EXPECT_FALSE(archiver::readHead({}));
}

TEST(CBORShape, TellsTheLengthOfTheFirstItem) {
  const ArchiveBytes bytes{0x82, 0x61, 'a', 0xA1, 0x60, 0x19, 1, 0, 0xF6};
  EXPECT_EQ(archiver::itemLength(bytes, 2), 8U);
  EXPECT_FALSE(archiver::itemLength(bytes, 1)) << "too deep";
}

}  // namespace
}  // namespace orv::test
