#include <gtest/gtest.h>

#include "Picture.h"

namespace orv::cli {
namespace {

OrvLevelEnvelope envelopeOf(std::size_t blocks) {
  OrvLevelEnvelope envelope;
  envelope.sampleRate = 8000;
  envelope.framesPerBlock = 256;
  envelope.lengthInFrames = 256 * blocks;
  for (std::size_t i = 0; i < blocks; ++i) {
    const auto number = static_cast<std::int16_t>(i);
    envelope.blocks.push_back({{},
                               static_cast<std::int16_t>(-number),
                               static_cast<std::int16_t>(-10 * number),
                               static_cast<std::int16_t>(5 * number)});
  }
  return envelope;
}

TEST(OrvPictureColumns, FewBlocksAreAColumnEach) {
  const std::vector<Picture::Column> columns = columnsOf(envelopeOf(3));
  ASSERT_EQ(columns.size(), 3U);
  EXPECT_EQ(columns[2].begin, 512U);
  EXPECT_FLOAT_EQ(columns[2].quietest, -0.02F);
  EXPECT_FLOAT_EQ(columns[2].loudest, -0.02F);
  EXPECT_FLOAT_EQ(columns[2].minimum, -20.0F / 32'767);
  EXPECT_FLOAT_EQ(columns[2].maximum, 10.0F / 32'767);
}

TEST(OrvPictureColumns, ManyBlocksShareColumnsAndEachHasItsPlace) {
  const std::vector<Picture::Column> columns = columnsOf(envelopeOf(3001));
  ASSERT_EQ(columns.size(), Picture::kMostColumns);
  EXPECT_EQ(columns[0].begin, 0U);
  EXPECT_EQ(columns[1].begin, 512U);
  EXPECT_FLOAT_EQ(columns[1].loudest, -0.02F);
  EXPECT_FLOAT_EQ(columns[1].quietest, -0.03F);
  // The last of 1500 columns takes the three blocks that are left.
  EXPECT_EQ(columns.back().begin, 2998U * 256);
  EXPECT_FLOAT_EQ(columns.back().loudest, -29.98F);
  EXPECT_FLOAT_EQ(columns.back().quietest, -30.00F);
}

TEST(OrvPictureColumns, NothingHasNoColumns) {
  EXPECT_TRUE(columnsOf({}).empty());
}

}  // namespace
}  // namespace orv::cli
