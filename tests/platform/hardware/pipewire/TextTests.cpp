#include "hardware/pipewire/Text.h"

#include <gtest/gtest.h>

namespace orv::pipewire {
namespace {

TEST(PipeWireText, ValidUTF8StaysAsItIs) {
  EXPECT_EQ(validText("Plattenspieler \xC3\xBC \xE2\x82\xAC \xF0\x9F\x8E\xB5"),
            "Plattenspieler \xC3\xBC \xE2\x82\xAC \xF0\x9F\x8E\xB5");
  EXPECT_EQ(validText(""), "");
}

TEST(PipeWireText, WhatIsNoUTF8IsReplaced) {
  EXPECT_EQ(validText("a\xFF"
                      "b"),
            "a\xEF\xBF\xBD"
            "b");
  EXPECT_EQ(validText("cut \xE2\x82"), "cut \xEF\xBF\xBD");
  EXPECT_EQ(validText("\xC0\x80"), "\xEF\xBF\xBD\xEF\xBF\xBD");  // a zero in too many bytes
  EXPECT_EQ(validText("\xED\xA0\x80"), "\xEF\xBF\xBD");          // half of a pair
  EXPECT_EQ(validText("\xF4\x90\x80\x80"), "\xEF\xBF\xBD");      // beyond the last character
}

TEST(PipeWireText, ANameGoesThroughItsObjectAndBack) {
  for (const std::string name : {"alsa_output.pci-0000", "with \"quotes\" and \\", "\xC3\xBC", ""}) {
    EXPECT_EQ(nameInObject(nameObject(name).c_str()), name);
  }
}

TEST(PipeWireText, WhatIsNoNameObjectHasNoName) {
  EXPECT_EQ(nameInObject(nullptr), "");
  EXPECT_EQ(nameInObject(""), "");
  EXPECT_EQ(nameInObject("sink"), "");
  EXPECT_EQ(nameInObject("{ \"other\": \"sink\" }"), "");
  EXPECT_EQ(nameInObject("{ \"name\": "), "");
  EXPECT_EQ(nameInObject("{ \"other\": { \"name\": \"inner\" }, \"name\": \"outer\" }"), "outer");
}

TEST(PipeWireText, ANumberIsReadFromTheStart) {
  EXPECT_EQ(numberIn("48000", 1), 48000);
  EXPECT_EQ(numberIn("x", 7), 7);
  EXPECT_EQ(numberIn(nullptr, 7), 7);
}

}  // namespace
}  // namespace orv::pipewire
