#include "OrvPlatform/Status.h"

#include <gtest/gtest.h>

#include <cerrno>

TEST(Status, TheFirstCharacterOfACodeIsTheMostSignificantByte) {
  EXPECT_EQ(orv::fourCC("lpcm"), 0x6C70636DU);
}

TEST(Status, ACodeIsShownInReadingOrder) {
  EXPECT_EQ(orv::fourCCText(orv::fourCC("AIFF")), "AIFF");
  EXPECT_EQ(orv::fourCCText(0x41000142), "A..B");
}

TEST(Status, ACodeInMemoryOrderIsReversedOnALittleEndianHost) {
  EXPECT_EQ(orv::fourCCInMemoryOrder(orv::fourCC("abcd")), "dcba");
}

TEST(Status, ACodeInMemoryOrderEndsAtAZeroByteAndIsPadded) {
  EXPECT_EQ(orv::fourCCInMemoryOrder(0x00000041), "A   ");
}

TEST(Status, KnownStatusesHaveWords) {
  EXPECT_EQ(orv::describeStatus(kDiskFullStatus), "disk full");
  EXPECT_EQ(orv::describeStatus(orv::statusCC("fmt?")), "unsupported data format");
}

TEST(Status, AnUnknownStatusIsShownByItsCharactersAndNumber) {
  EXPECT_EQ(orv::describeStatus(orv::statusCC("abcd")), "status 'abcd' (1633837924)");
}

TEST(Status, ErrorsOfTheSystemHaveStatuses) {
  EXPECT_EQ(orv::statusFromErrno(0), noErr);
  EXPECT_EQ(orv::statusFromErrno(ENOSPC), kDiskFullStatus);
  EXPECT_EQ(orv::statusFromErrno(ENOENT), kFileNotFoundStatus);
  EXPECT_EQ(orv::statusFromErrno(EACCES), orv::statusCC("prm?"));
  EXPECT_EQ(orv::statusFromErrno(EISDIR), kWrongFileKindStatus);
  EXPECT_EQ(orv::statusFromErrno(EIO), kInputOutputErrorStatus);
}
