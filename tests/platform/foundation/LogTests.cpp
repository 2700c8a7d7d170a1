#include "OrvPlatform/Log.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "support/LogCapture.h"

TEST(Log, LinesGoToTheSinkInOrder) {
  const orv::test::LogCapture capture;
  orv::log("one");
  orv::logf("%s %d", "two", 2);
  EXPECT_EQ(capture.lines(), (std::vector<std::string>{"one", "two 2"}));
}

TEST(Log, ReplacingTheSinkReturnsTheOneBefore) {
  int count = 0;
  orv::LogSink before = orv::setLogSink([&](std::string_view) { ++count; });
  orv::LogSink mine = orv::setLogSink(std::move(before));
  mine("a line");
  EXPECT_EQ(count, 1);
}

TEST(Log, WithoutASinkLinesGoToStandardError) {
  orv::LogSink before = orv::setLogSink(nullptr);
  testing::internal::CaptureStderr();
  orv::log("to whom it may concern");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "to whom it may concern\n");
  orv::setLogSink(std::move(before));
}

TEST(Log, WhatASinkThrowsDoesNotGetOutAndTheLineIsNotLost) {
  orv::LogSink before = orv::setLogSink([](std::string_view) { throw std::runtime_error("no room"); });
  testing::internal::CaptureStderr();
  orv::log("still here");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "still here\n");
  orv::setLogSink(std::move(before));
}

TEST(Log, FormattedTextsMayBeLong) {
  const std::string text(5000, 'x');
  EXPECT_EQ(orv::formatText("<%s>", text.c_str()), "<" + text + ">");
  EXPECT_EQ(orv::formatText("%s", ""), "");
}
