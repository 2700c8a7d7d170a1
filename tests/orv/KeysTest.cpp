#include "Keys.h"

#include <gtest/gtest.h>

namespace orv::cli {
namespace {

using Keys = std::vector<Key>;

TEST(Keys, SpaceAndQAreKnown) {
  EXPECT_EQ(KeyReader().take(" qQ"), (Keys{Key::pause, Key::quit, Key::quit}));
}

TEST(Keys, ArrowsAreKnownInBothModesOfATerminal) {
  const Keys all{Key::up, Key::down, Key::right, Key::left};
  EXPECT_EQ(KeyReader().take("\x1B[A\x1B[B\x1B[C\x1B[D"), all);
  EXPECT_EQ(KeyReader().take("\x1BOA\x1BOB\x1BOC\x1BOD"), all);
}

TEST(Keys, AnArrowThatComesInPiecesIsOneKey) {
  KeyReader reader;
  EXPECT_EQ(reader.take("\x1B"), Keys{});
  EXPECT_EQ(reader.take("["), Keys{});
  EXPECT_EQ(reader.take("C "), (Keys{Key::right, Key::pause}));
}

TEST(Keys, EscapeIsAKeyWhenNothingFollowsIt) {
  KeyReader reader;
  EXPECT_EQ(reader.take("\x1B"), Keys{});
  EXPECT_EQ(reader.take(""), Keys{Key::quit});
  EXPECT_EQ(reader.take(""), Keys{});
}

TEST(Keys, EscapeTwiceIsEscape) {
  EXPECT_EQ(KeyReader().take("\x1B\x1B"), Keys{Key::quit});
}

TEST(Keys, WhatHasNoMeaningIsSkipped) {
  KeyReader reader;
  EXPECT_EQ(reader.take("x\n\x1B[3~\x1B[1;5C\x1BOP\x1Bq "), Keys{Key::pause});  // Delete, Ctrl-Right, F1, Alt-q
  EXPECT_EQ(reader.take("\x1B["), Keys{});
  EXPECT_EQ(reader.take(""), Keys{});
}

TEST(Keys, ASequenceWithoutAnEndIsGivenUp) {
  KeyReader reader;
  EXPECT_EQ(reader.take("\x1B[" + std::string(100, '1')), Keys{});
  EXPECT_EQ(reader.take(" "), Keys{Key::pause});
}

}  // namespace
}  // namespace orv::cli
