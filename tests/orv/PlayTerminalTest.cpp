#include <gtest/gtest.h>

#include "OrvOnTerminal.h"
#include "PlayFixture.h"

namespace orv::test {
namespace {

constexpr const char* kRight = "\x1B[C";
constexpr const char* kLeft = "\x1B[D";
constexpr const char* kUp = "\x1B[A";
constexpr const char* kDown = "\x1B[B";
constexpr const char* kEscape = "\x1B";
constexpr const char* kInterrupt = "\x03";
constexpr const char* kStop = "\x1A";
constexpr const char* kQuit = "\x1C";

class OrvPlayTerminal : public PlayFixture {
 protected:
  OrvPlayTerminal() {
    describe(44100, 2, "realTime");
    writeRecording(path, noise(std::int64_t{70} * 8000, 1, 8000));
  }

  static bool showsKeys(const termios& modes) { return (modes.c_lflag & (ICANON | ECHO)) != 0; }
  static void expectSame(const termios& modes, const termios& others) {
    EXPECT_EQ(modes.c_iflag, others.c_iflag);
    EXPECT_EQ(modes.c_oflag, others.c_oflag);
    EXPECT_EQ(modes.c_lflag, others.c_lflag);
    EXPECT_EQ(modes.c_cc[VMIN], others.c_cc[VMIN]);
    EXPECT_EQ(modes.c_cc[VTIME], others.c_cc[VTIME]);
  }
  /// The modes that a new terminal has.
  static termios usualModes() { return OrvOnTerminal({"--version"}).modes(); }

  const std::string path = scratch / "minute.aiff";
};

}  // namespace

TEST_F(OrvPlayTerminal, SpacePausesAndGoesOnAndNoFrameIsLostOrHeardTwice) {
  const std::string music = scratch / "music.aiff";
  writeRecording(music, noise(std::int64_t{60} * 44100, 2, 44100));
  OrvOnTerminal orv(command({music}));
  for (int i = 0; i < 5; ++i) {
    orv.awaitText("dBFS");
    orv.type(" ");
    orv.awaitText("paused");
    orv.type(" ");
  }
  orv.awaitText("dBFS");
  orv.type("q");
  EXPECT_EQ(orv.awaitEnd(), 0);
  orv.awaitText(": stopped at 0:0");

  const IndependentReading source = readIndependently(music).value();
  std::vector<double> heard;
  const IndependentReading captured = readIndependently(output).value();
  for (const double sample : captured.doubles) {
    if (sample != 0) {  // a cycle before the pause or behind it
      heard.push_back(sample);
    }
  }
  std::vector<double> played;
  for (std::size_t i = 0; played.size() < heard.size(); ++i) {
    if (source.doubles.at(i) != 0) {
      played.push_back(source.doubles[i]);
    }
  }
  EXPECT_GT(heard.size(), 5 * 1024U);
  EXPECT_EQ(heard, played);
}

TEST_F(OrvPlayTerminal, ArrowsMoveByFiveSecondsAndByThirty) {
  OrvOnTerminal orv(command({path}));
  orv.awaitText("0:00.");
  orv.type(kRight);
  orv.awaitText("0:05.");
  orv.type(kUp);
  orv.awaitText("0:35.");
  orv.type(kLeft);
  orv.awaitText("0:30.");
  orv.type(kDown);
  orv.awaitText("0:00.");
  orv.type(" ");
  orv.awaitText("paused");
  orv.type(kRight);
  orv.awaitText("0:05.");
  orv.awaitText("paused");
  orv.type(" ");
  orv.awaitText("0:05.");
  orv.type(kEscape);
  EXPECT_EQ(orv.awaitEnd(), 0);
  orv.awaitText("minute.aiff: stopped at 0:05.");
}

TEST_F(OrvPlayTerminal, WithTheGraphTheKeysAreTheSame) {
  OrvOnTerminal orv(command({path, "--graph"}));
  orv.awaitText("0:00.");
  orv.type(kUp);
  orv.awaitText("0:30.");
  orv.type(" ");
  orv.awaitText("paused");
  orv.type(" ");
  orv.awaitText("0:30.");
  orv.type("q");
  EXPECT_EQ(orv.awaitEnd(), 0);
  orv.awaitText("stopped at 0:30.");
}

TEST_F(OrvPlayTerminal, AMovePastAnEndOfTheRangeStaysInIt) {
  OrvOnTerminal orv(command({path, "--from", "10s", "--to", "20s"}));
  orv.awaitText("0:10.");
  orv.type(kDown);
  orv.awaitText("0:10.");
  orv.type(kUp);
  EXPECT_EQ(orv.awaitEnd(), 0);
  orv.awaitText("played to the end, 0:20.000");
}

TEST_F(OrvPlayTerminal, OfATrackTheTimeCountsFromItsBegin) {
  ASSERT_EQ(runOrv({"tracks", path, "--add", "One:0:20s", "--add", "Two:20s:50s"}).status, 0);
  OrvOnTerminal orv(command({path, "--track", "2"}));
  orv.awaitText("0:00.");
  orv.awaitText(" of 0:30.0");
  orv.type("q");
  EXPECT_EQ(orv.awaitEnd(), 0);
  orv.awaitText("stopped at 0:00.");
}

TEST_F(OrvPlayTerminal, TheTerminalIsAfterwardsAsItWas) {
  const termios before = usualModes();
  ASSERT_TRUE(showsKeys(before));
  for (const auto& [key, status] :
       std::vector<std::pair<const char*, int>>{{"q", 0}, {kInterrupt, 130}, {kQuit, 128 + SIGQUIT}}) {
    OrvOnTerminal orv(command({path}));
    orv.awaitText("0:00.");
    EXPECT_FALSE(showsKeys(orv.modes()));
    orv.type(key);
    EXPECT_EQ(orv.awaitEnd(), status);
    expectSame(orv.modes(), before);
  }
}

TEST_F(OrvPlayTerminal, WhatEndsByItselfLeavesTheTerminalAsItWas) {
  const termios before = usualModes();
  OrvOnTerminal orv(command({path, "--to", "200ms"}));
  EXPECT_EQ(orv.awaitEnd(), 0);
  orv.awaitText("played to the end, 0:00.200");
  expectSame(orv.modes(), before);
}

TEST_F(OrvPlayTerminal, WhileItIsStoppedTheTerminalIsTheShells) {
  const termios before = usualModes();
  OrvOnTerminal orv(command({path}));
  for (int i = 0; i < 2; ++i) {
    orv.awaitText("dBFS");
    orv.type(kStop);
    orv.awaitStop();
    expectSame(orv.modes(), before);
    orv.goOn();
  }
  orv.awaitText("dBFS");
  EXPECT_FALSE(showsKeys(orv.modes()));
  orv.type("q");
  EXPECT_EQ(orv.awaitEnd(), 0);
  expectSame(orv.modes(), before);
}

}  // namespace orv::test
