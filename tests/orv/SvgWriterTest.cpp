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

Detection::Boundary boundaryAt(std::uint64_t frame, double confidence) {
  return {frame, frame - 100, frame + 100, 40, 2, confidence, "quiet & <short>"};
}

TEST(OrvSvgWriter, CutsShowTheirConfidenceAndTellTheirReason) {
  Picture picture = pictureOf({0, 6000});
  picture.cuts = {boundaryAt(6000, 0.97)};
  const std::string svg = drawSvg(picture);
  EXPECT_NE(svg.find("<text class=\"cutConfidence\" x=\"653.0\" y=\"268.0\">0.97</text>"), std::string::npos);
  EXPECT_NE(svg.find("<rect class=\"cutQuiet\" x=\"640.0\" y=\"276.0\" width=\"20.0\" height=\"180.0\">"
                     "<title>1:00.000, confidence 0.97: quiet &amp; &lt;short&gt;</title>"),
            std::string::npos);
}

TEST(OrvSvgWriter, DoubtfulPlacesAreDashedLinesOfTheirOwn) {
  Picture picture = pictureOf({0});
  picture.doubtful = {boundaryAt(3000, 0.3)};
  const std::string svg = drawSvg(picture);
  EXPECT_NE(svg.find("<line class=\"doubtful\" x1=\"350.0\" y1=\"38.0\" x2=\"350.0\" y2=\"460.0\"/>"),
            std::string::npos);
  EXPECT_NE(svg.find(".doubtful{stroke:#6d5a9c;stroke-width:1.2;stroke-dasharray:"), std::string::npos);
  EXPECT_EQ(svg.find("class=\"cut\""), std::string::npos);
  EXPECT_TRUE(shows(svg, "0.30"));
  EXPECT_TRUE(shows(svg, "doubtful, not cut"));
}

TEST(OrvSvgWriter, ConfidenceOfCutsThenOfTheLikeliestDoubtfulPlacesTakesTheRoom) {
  Picture picture = pictureOf({0, 6000});
  picture.cuts = {boundaryAt(6000, 0.6)};
  picture.doubtful = {boundaryAt(5900, 0.4), boundaryAt(9000, 0.1), boundaryAt(9100, 0.2)};
  const std::string svg = drawSvg(picture);
  EXPECT_TRUE(shows(svg, "0.60"));
  EXPECT_FALSE(shows(svg, "0.40"));
  EXPECT_FALSE(shows(svg, "0.10"));
  EXPECT_TRUE(shows(svg, "0.20"));
}

TEST(OrvSvgWriter, LevelsAndFloorLieOnADecibelScale) {
  Picture picture = pictureOf({0});
  // The lane runs from 276 at 0 dB to 456 at -60 dB, the round level below the quietest one.
  picture.columns = {{0, -0.5F, 0.25F, -40, -20}, {7500, 0, 0, -55, -50}};
  picture.floor = {{0, -60}, {15'000, -30}};
  const std::string svg = drawSvg(picture);
  EXPECT_TRUE(shows(svg, "0 dB"));
  EXPECT_TRUE(shows(svg, "−60"));
  EXPECT_FALSE(shows(svg, "−80"));
  EXPECT_NE(svg.find("<path class=\"level\" d=\"M50.0 336.0V336.0H800.0V426.0H1550.0V441.0H800.0V396.0H50.0Z\"/>"),
            std::string::npos);
  EXPECT_NE(svg.find("<polyline class=\"floor\" points=\"50.0,456.0 1550.0,366.0\"/>"), std::string::npos);
  EXPECT_TRUE(shows(svg, "noise floor"));
}

TEST(OrvSvgWriter, DigitalSilenceLiesAtTheBottomOfTheScale) {
  Picture picture = pictureOf({0});
  picture.columns = {{0, 0, 0, -150, -150}};
  const std::string svg = drawSvg(picture);
  EXPECT_TRUE(shows(svg, "−100"));
  EXPECT_FALSE(shows(svg, "−120"));
  EXPECT_NE(svg.find("d=\"M50.0 456.0V456.0H1550.0V456.0H50.0Z\""), std::string::npos);
}

TEST(OrvSvgWriter, WaveformIsDrawnLargerByPowersOfTwoWhereItIsQuiet) {
  Picture picture = pictureOf({0});
  picture.columns = {{0, -0.25F, 0.125F, -40, -20}};
  picture.peak = 0.25F;
  const std::string svg = drawSvg(picture);
  // Around its middle, 164, full scale takes 84.6.
  EXPECT_NE(svg.find("<path class=\"wave\" d=\"M50.0 121.7V121.7H1550.0V248.6H50.0Z\"/>"), std::string::npos);
  EXPECT_NE(svg.find("peak -12.0 dBFS, drawn ×4"), std::string::npos);
}

TEST(OrvSvgWriter, LegendExplainsOnlyWhatThereIs) {
  const std::string svg = drawSvg(pictureOf({0}));
  EXPECT_TRUE(shows(svg, "waveform of all channels"));
  EXPECT_FALSE(shows(svg, "noise floor"));
  EXPECT_FALSE(shows(svg, "doubtful, not cut"));
  EXPECT_FALSE(shows(svg, "cut"));
  EXPECT_TRUE(shows(drawSvg(pictureOf({0, 6000})), "cut"));
}

}  // namespace
}  // namespace orv::cli
