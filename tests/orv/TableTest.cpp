#include "Table.h"

#include <gtest/gtest.h>

namespace orv::cli {
namespace {

TEST(OrvTable, AlignsColumnsByCharacters) {
  Table table({{"Name"}, {"Time", Table::Align::right}});
  table.addRow({"Zähler", "1:00"});
  table.addRow({"x", "10:00"});
  EXPECT_EQ(table.text(), "Name     Time\nZähler   1:00\nx       10:00\n");
}

}  // namespace
}  // namespace orv::cli
