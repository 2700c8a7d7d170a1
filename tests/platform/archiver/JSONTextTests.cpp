#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "OrvPlatform/JSON.h"

namespace {

using orv::ArchiveValue;
using orv::parseJSON;

/// Why a text is refused; "" when it is not.
std::string problemOf(const std::string& text) {
  std::string problem;
  const auto value = parseJSON(text, &problem);
  EXPECT_EQ(value.has_value(), problem.empty()) << text;
  EXPECT_EQ(problem.find('\n'), std::string::npos);
  return problem;
}

}  // namespace

TEST(JSONText, EachKindOfValueIsReadAsItself) {
  const auto value = parseJSON(R"([null, true, "text", -3, 18446744073709551615, 0.5, {"key": []}])", nullptr);
  ASSERT_TRUE(value.has_value());
  const auto array = value->array();
  ASSERT_NE(array, nullptr);
  ASSERT_EQ(array->size(), 7U);
  EXPECT_TRUE((*array)[0].isNil());
  EXPECT_EQ(*(*array)[1].as<bool>(), true);
  EXPECT_EQ(*(*array)[2].text(), "text");
  EXPECT_EQ(*(*array)[3].as<std::int64_t>(), -3);
  EXPECT_EQ(*(*array)[4].as<std::uint64_t>(), UINT64_MAX);
  EXPECT_EQ(*(*array)[5].as<double>(), 0.5);
  ASSERT_NE((*array)[6].dictionary(), nullptr);
  EXPECT_EQ((*array)[6].dictionary()->count("key"), 1U);
}

TEST(JSONText, TextsOfAnyScriptAndEscapesAreRead) {
  const auto value = parseJSON(R"("Übung \u00e9\ud83c\udfb5 \"\\\n")", nullptr);
  ASSERT_TRUE(value.has_value());
  EXPECT_EQ(*value->text(), "Übung é🎵 \"\\\n");
}

TEST(JSONText, WhatIsNoJSONIsRefusedWithOneLine) {
  for (const char* const text :
       {"", "{", "[1,]", "{\"a\" 1}", "nul", "\"open", "[1] [2]", "{a: 1}", "\x80", "01", "NaN"}) {
    EXPECT_FALSE(problemOf(text).empty()) << text;
  }
}

TEST(JSONText, AKeyThatComesTwiceIsRefused) {
  EXPECT_NE(problemOf(R"({"a": 1, "a": 2})").find('a'), std::string::npos);
}

TEST(JSONText, DeepNestingIsRefused) {
  EXPECT_TRUE(problemOf(std::string(60, '[') + std::string(60, ']')).empty());
  EXPECT_FALSE(problemOf(std::string(100, '[') + std::string(100, ']')).empty());
  EXPECT_FALSE(problemOf(std::string(1000000, '[')).empty());
}

TEST(JSONText, ANumberThatNoDoubleHoldsIsRefused) {
  EXPECT_FALSE(problemOf("1e999").empty());
}

TEST(JSONText, ATextOfManyMegabytesIsRefused) {
  EXPECT_FALSE(problemOf('"' + std::string(5 << 20, 'x') + '"').empty());
}

TEST(JSONText, TooManyValuesAreRefused) {
  std::string text = "[0";
  for (int i = 0; i < 600000; ++i) {
    text += ",0";
  }
  EXPECT_FALSE(problemOf(text + "]").empty());
}
