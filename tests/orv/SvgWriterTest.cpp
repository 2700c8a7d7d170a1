#include "SvgWriter.h"

#include <gtest/gtest.h>

namespace orv::cli {
namespace {

// Ten frames are one pixel.
Picture pictureOf(const std::vector<std::uint64_t>& begins) {
  Picture picture;
  picture.sampleRate = 100;
  picture.lengthInFrames = 15'000;
  for (std::size_t i = 0; i < begins.size(); ++i) {
    const bool last = i + 1 == begins.size();
    picture.tracks.push_back({"", begins[i], last ? picture.lengthInFrames : begins[i + 1], false});
  }
  return picture;
}

bool shows(const std::string& svg, const std::string& text) {
  return svg.find(">" + text + "</text>") != std::string::npos;
}

TEST(OrvSvgWriter, TracksWithRoomShowNumberAndTime) {
  const std::string svg = drawSvg(pictureOf({0, 6000}));
  EXPECT_TRUE(shows(svg, "1"));
  EXPECT_TRUE(shows(svg, "2"));
  EXPECT_TRUE(shows(svg, "1:00"));
}

TEST(OrvSvgWriter, NarrowTracksShowTheirNumberAlone) {
  const std::string svg = drawSvg(pictureOf({0, 6000, 6200}));
  EXPECT_TRUE(shows(svg, "2"));
  EXPECT_TRUE(shows(svg, "1:02"));
  EXPECT_FALSE(shows(svg.substr(0, svg.find("class=\"axis\"")), "1:00"));
}

TEST(OrvSvgWriter, NumbersWithRoomWinOverThoseThatWouldRunIntoThem) {
  const std::string svg = drawSvg(pictureOf({0, 6000, 6040, 6080}));
  EXPECT_TRUE(shows(svg, "1"));
  EXPECT_FALSE(shows(svg, "2"));
  EXPECT_FALSE(shows(svg, "3"));
  EXPECT_TRUE(shows(svg, "4"));
}

TEST(OrvSvgWriter, StretchesThatBelongToNoTrackHaveCutsOnBothSides) {
  Picture picture = pictureOf({3000, 6000});
  picture.tracks[0].end = 5000;
  const std::string svg = drawSvg(picture);
  for (const char* x : {"350.0", "550.0", "650.0"}) {
    EXPECT_NE(svg.find(std::string("class=\"cut\" x1=\"") + x), std::string::npos) << x;
  }
}

}  // namespace
}  // namespace orv::cli
