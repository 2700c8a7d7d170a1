#include "Json.h"

#include <gtest/gtest.h>

#include <limits>
#include <nlohmann/json.hpp>

namespace orv::cli {
namespace {

TEST(OrvJsonWriter, NestedValuesReadBackAsTheyWere) {
  JsonWriter writer;
  writer.beginObject();
  writer.key("empty").beginArray().endArray();
  writer.key("list").beginArray().value(std::uint64_t{1}).value("two").value(true).endArray();
  writer.key("object").beginObject().key("negative").value(std::int64_t{-3}).endObject();
  writer.endObject();
  EXPECT_EQ(nlohmann::json::parse(writer.text()),
            nlohmann::json::parse(R"({"empty":[],"list":[1,"two",true],"object":{"negative":-3}})"));
}

TEST(OrvJsonWriter, EveryByteMakesAValidString) {
  for (int byte = 0; byte < 256; ++byte) {
    JsonWriter writer;
    writer.value("a" + std::string(1, static_cast<char>(byte)) + "b");
    const std::string text = nlohmann::json::parse(writer.text());
    EXPECT_EQ(text, byte < 128 ? "a" + std::string(1, static_cast<char>(byte)) + "b" : "a\uFFFDb");
  }
}

TEST(OrvJsonWriter, NumbersSurviveExactly) {
  for (const double number : {44'100.0, 44'100.1, 0.1, 1e300, 22'254.545454545456}) {
    JsonWriter writer;
    writer.value(number);
    EXPECT_EQ(nlohmann::json::parse(writer.text()).get<double>(), number);
  }
  JsonWriter writer;
  writer.value(std::numeric_limits<std::uint64_t>::max());
  EXPECT_EQ(nlohmann::json::parse(writer.text()).get<std::uint64_t>(), std::numeric_limits<std::uint64_t>::max());
}

TEST(OrvJsonWriter, WhatIsNoNumberIsNull) {
  JsonWriter writer;
  writer.value(std::numeric_limits<double>::quiet_NaN());
  EXPECT_EQ(writer.text(), "null");
}

}  // namespace
}  // namespace orv::cli
