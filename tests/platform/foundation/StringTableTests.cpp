#include "OrvPlatform/StringTable.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "support/LogCapture.h"

namespace {

class StringTableTest : public testing::Test {
 protected:
  ~StringTableTest() override { orv::setStringTable(nullptr); }
};

}  // namespace

TEST_F(StringTableTest, WithoutATableTheFallbackIsTheText) {
  EXPECT_EQ(orv::localizedString("key", "fallback"), "fallback");
}

TEST_F(StringTableTest, ATableGivesTheText) {
  orv::setStringTable([](std::string_view key) { return std::optional<std::string>(std::string(key) + " in French"); });
  EXPECT_EQ(orv::localizedString("key", ""), "key in French");
}

TEST_F(StringTableTest, AnEntryThatIsMissingGivesTheFallback) {
  orv::setStringTable([](std::string_view) { return std::optional<std::string>(); });
  EXPECT_EQ(orv::localizedString("key", ""), "");
}

TEST_F(StringTableTest, AnEmptyEntryIsAnEntry) {
  orv::setStringTable([](std::string_view) { return std::optional<std::string>(""); });
  EXPECT_EQ(orv::localizedString("key", "fallback"), "");
}

TEST_F(StringTableTest, ATableThatThrowsGivesTheFallbackAndALine) {
  const orv::test::LogCapture capture;
  orv::setStringTable([](std::string_view) -> std::optional<std::string> { throw std::runtime_error("torn page"); });
  EXPECT_EQ(orv::localizedString("key", "fallback"), "fallback");
  EXPECT_TRUE(capture.contains("the string table failed: torn page"));
}

TEST_F(StringTableTest, TheTableBeforeIsHandedBack) {
  orv::setStringTable([](std::string_view) { return std::optional<std::string>("first"); });
  const orv::StringTable before =
      orv::setStringTable([](std::string_view) { return std::optional<std::string>("second"); });
  EXPECT_EQ(before("key"), "first");
  EXPECT_EQ(orv::localizedString("key", ""), "second");
}
