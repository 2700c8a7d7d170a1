#include "Text.h"

#include <gtest/gtest.h>

namespace orv::cli {
namespace {

TEST(OrvText, BytesThatAreNoUtf8AreReplacedOneByOne) {
  EXPECT_EQ(validUtf8("aä音😀"), "aä音😀");
  EXPECT_EQ(validUtf8("\xE9t\xE9"), "\uFFFDt\uFFFD");
  EXPECT_EQ(validUtf8("\xC0\xAF"), "\uFFFD\uFFFD");                 // overlong
  EXPECT_EQ(validUtf8("\xED\xA0\x80"), "\uFFFD\uFFFD\uFFFD");       // surrogate
  EXPECT_EQ(validUtf8("\xF4\x90\x80\x80").substr(0, 3), "\uFFFD");  // past the last code
  EXPECT_EQ(validUtf8("\xE9\x9F"), "\uFFFD\uFFFD");                 // cut short
  EXPECT_EQ(validUtf8("a\nb"), "a\nb");
}

TEST(OrvText, PrintableTextStaysOnOneLine) {
  EXPECT_EQ(printable("a\nb\x1B[31m\x7F"), "a\uFFFDb\uFFFD[31m\uFFFD");
  EXPECT_EQ(printable("a\u0085b\u2028c"), "a\uFFFDb\uFFFDc");
}

TEST(OrvText, ShorteningAndClippingKeepCharactersWhole) {
  EXPECT_EQ(shortened("äöü", 3), "äöü");
  EXPECT_EQ(shortened("äöüß", 3), "äö…");
  EXPECT_EQ(clipped("äöü", 3), "ä");
  EXPECT_EQ(clipped("äöü", 4), "äö");
  EXPECT_EQ(clipped("abc", 9), "abc");
}

}  // namespace
}  // namespace orv::cli
