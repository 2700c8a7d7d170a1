#include "Text.h"

#include <gtest/gtest.h>

#include "Table.h"
#include "TimeText.h"
#include "TrackFiles.h"

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

TEST(OrvTable, AlignsColumnsByCharacters) {
  Table table({{"Name"}, {"Time", Table::Align::right}});
  table.addRow({"Zähler", "1:00"});
  table.addRow({"x", "10:00"});
  EXPECT_EQ(table.text(), "Name     Time\nZähler   1:00\nx       10:00\n");
}

TEST(OrvTimeText, HoursShowWhereThereAreAnyOrWhereAskedFor) {
  EXPECT_EQ(timeText(0), "0:00.000");
  EXPECT_EQ(timeText(208.4), "3:28.400");
  EXPECT_EQ(timeText(3599.9996), "1:00:00.000");
  EXPECT_EQ(timeText(86'400), "24:00:00.000");
  EXPECT_EQ(timeText(61, {.hours = true}), "0:01:01.000");
  EXPECT_EQ(timeText(61.26, {.decimals = 1}), "1:01.3");
  EXPECT_EQ(timeText(59.6, {.decimals = 0}), "1:00");
  EXPECT_EQ(timeText(1e300), "very long");
}

TEST(OrvTimeText, PositionsAreFramesOrTimes) {
  const auto frame = [](const char* text) { return Position::parse(text).value().frame(44'100); };
  EXPECT_EQ(frame("0"), 0U);
  EXPECT_EQ(frame("007"), 7U);
  EXPECT_EQ(frame("18446744073709551615"), std::numeric_limits<std::uint64_t>::max());
  EXPECT_EQ(frame("2s"), 88'200U);
  EXPECT_EQ(frame("0.5s"), 22'050U);
  EXPECT_EQ(frame("10ms"), 441U);
  EXPECT_EQ(frame("1:23.5"), 3'682'350U);
  EXPECT_EQ(frame("1:02:03"), 3723U * 44'100);
  EXPECT_EQ(frame("99999999999999999999s"), std::numeric_limits<std::uint64_t>::max());
}

TEST(OrvTrackFileName, NumberNameAndExtension) {
  EXPECT_EQ(trackFileName(1, "Untitled Track 0", ".aiff"), "01 Untitled Track 0.aiff");
  EXPECT_EQ(trackFileName(98, "Für Elise", ".aifc"), "98 Für Elise.aifc");
}

TEST(OrvTrackFileName, NothingLeadsOutOfTheDirectory) {
  EXPECT_EQ(trackFileName(1, "../../etc/passwd", ".aiff"), "01 -..-etc-passwd.aiff");
  EXPECT_EQ(trackFileName(2, "..", ".aiff"), "02 Untitled.aiff");
  EXPECT_EQ(trackFileName(3, "", ".aiff"), "03 Untitled.aiff");
  EXPECT_EQ(trackFileName(4, " . hidden ", ".aiff"), "04 hidden.aiff");
  EXPECT_EQ(trackFileName(5, "AC\\DC", ".aiff"), "05 AC-DC.aiff");
  EXPECT_EQ(trackFileName(6, "a\nb", ".aiff"), "06 a\uFFFDb.aiff");
}

TEST(OrvTrackFileName, FitsIntoWhatFileSystemsAllow) {
  std::string name;
  for (int i = 0; i < 500; ++i) {
    name += "音";
  }
  const std::string file = trackFileName(7, name, ".aiff");
  EXPECT_LE(file.size(), 255U);
  EXPECT_EQ(validUtf8(file), file);
}

}  // namespace
}  // namespace orv::cli
