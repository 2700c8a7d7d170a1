// Pins the bytes of archives: files that were written must stay readable.
#include <gtest/gtest.h>

#include "TestRecords.h"
#include "archiver/Checksum.h"

namespace orv::test {
namespace {

ArchiveBytes operator+(ArchiveBytes first, const ArchiveBytes& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

ArchiveBytes text(std::string_view characters) {
  return {characters.begin(), characters.end()};
}

const ArchiveBytes kNoFiller{0x5A, 0, 0, 0, 0};

ArchiveBytes framed(char form, ArchiveBytes checksum, const ArchiveBytes& object) {
  return ArchiveBytes{0x85, 0x65} + text("orv1") + ArchiveBytes{static_cast<std::uint8_t>(form), 0x1A} +
         std::move(checksum) + kNoFiller + object + kNoFiller;
}

TEST(ArchiveBytes, ChecksumIsThatOfZipFiles) {
  EXPECT_EQ(archiver::checksum(text("123456789")), 0xCBF43926U);
  EXPECT_EQ(archiver::checksum(text("6789"), archiver::checksum(text("12345"))), 0xCBF43926U);
}

TEST(ArchiveBytes, OfATextInSequence) {
  EXPECT_EQ(archive("abc", ArchiveForm::sequential),
            framed('s', {0xF9, 0x1D, 0xEA, 0xFA}, ArchiveBytes{0x63} + text("abc")));
}

TEST(ArchiveBytes, OfEveryKindOfObject) {
  const ArchiveValue object = list({{},
                                    true,
                                    false,
                                    -2,
                                    3U,
                                    std::int64_t{-4},
                                    std::uint64_t{5},
                                    0.5F,
                                    0.1,
                                    "t",
                                    list({}),
                                    dictionary({{"k", 6U}}),
                                    labelled("l")});
  const ArchiveBytes expected =
      ArchiveBytes{0x8E, 0x00,                                                        // array of 13
                   0xF6, 0xF5, 0xF4,                                                  // nothing, true, false
                   0x82, 1,    0x21,                                                  // signed 32 bits
                   0x82, 2,    3,                                                     // unsigned 32 bits
                   0x82, 3,    0x23,                                                  // signed 64 bits
                   0x82, 4,    5,                                                     // unsigned 64 bits
                   0x82, 5,    0xFA, 0x3F, 0,    0,    0,                             // float
                   0x82, 6,    0xFB, 0x3F, 0xB9, 0x99, 0x99, 0x99, 0x99, 0x99, 0x9A,  // double
                   0x61, 't',                                                         //
                   0x81, 0,                                                           // empty array
                   0xA1, 0x61, 'k',  0x82, 2,    6,                                   // dictionary
                   0x84, 7,    0x68} +                                                // record
      text("Labelled") +
      ArchiveBytes{0x61, 'l', 0xF6};
  EXPECT_EQ(archive(object, ArchiveForm::sequential), framed('s', {0xD1, 0xC2, 0x31, 0x04}, expected));
}

TEST(ArchiveBytes, OfARecordByKey) {
  const ArchiveBytes expected = ArchiveBytes{0x83, 7, 0x68} + text("Labelled") + ArchiveBytes{0xA2, 0x67} +
                                text("content") + ArchiveBytes{0xF6, 0x65} + text("label") + ArchiveBytes{0x61, 'l'};
  EXPECT_EQ(archive(labelled("l"), ArchiveForm::keyed), framed('k', {0xCB, 0x5E, 0x64, 0x67}, expected));
}

TEST(ArchiveBytes, FillerStandsInFrontOfTheObjectAndBehind) {
  const auto filled = archiveWithFiller(archive("abc", ArchiveForm::sequential), ArchiveBytes{1, 2}, 30);
  ASSERT_TRUE(filled);
  const ArchiveBytes behindChecksum(filled->begin() + 12, filled->end());
  EXPECT_EQ(behindChecksum, (ArchiveBytes{0x5A, 0, 0, 0, 2, 1, 2, 0x63, 'a', 'b', 'c', 0x5A, 0, 0, 0, 2, 0, 0}));
}

}  // namespace
}  // namespace orv::test
