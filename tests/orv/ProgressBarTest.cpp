#include "ProgressBar.h"

#include <gtest/gtest.h>

namespace orv::cli {
namespace {

using namespace std::chrono_literals;

class OrvProgressBar : public testing::Test {
 protected:
  ProgressBar::Terminal terminal(int columns = 80) {
    return {[this](std::string_view text) { drawn_ += text; }, [this] { return now_; }, columns};
  }

  ProgressBar::Clock::time_point now_{1h};
  std::string drawn_;
};

TEST_F(OrvProgressBar, ShowsNothingInTheFirstHalfSecond) {
  {
    ProgressBar bar(terminal());
    bar.begin("Analysing");
    now_ += 499ms;
    bar.update(0.9);
  }
  EXPECT_EQ(drawn_, "");
}

TEST_F(OrvProgressBar, ShowsHowFarTheWorkHasComeThenClearsTheLine) {
  {
    ProgressBar bar(terminal(40));
    bar.begin("Analysing");
    now_ += 500ms;
    bar.update(0.5);
    EXPECT_EQ(drawn_, "\r\x1B[KAnalysing [##########-----------]  50 %");
    drawn_.clear();
  }
  EXPECT_EQ(drawn_, "\r\x1B[K");
}

TEST_F(OrvProgressBar, CountsTheTimeOfAllStretchesOfWorkTogether) {
  ProgressBar bar(terminal());
  bar.begin("Analysing");
  now_ += 400ms;
  bar.begin("Drawing");
  now_ += 100ms;
  bar.update(0.1);
  EXPECT_NE(drawn_.find("Drawing"), std::string::npos);
}

TEST_F(OrvProgressBar, IsDrawnTenTimesASecondAtMost) {
  ProgressBar bar(terminal());
  bar.begin("Analysing");
  now_ += 500ms;
  bar.update(0.1);
  const std::string once = drawn_;
  now_ += 99ms;
  bar.update(0.2);
  EXPECT_EQ(drawn_, once);
  now_ += 1ms;
  bar.update(0.3);
  EXPECT_NE(drawn_, once);
}

TEST_F(OrvProgressBar, NarrowTerminalsGetTheNumberAlone) {
  ProgressBar bar(terminal(12));
  bar.begin("Analysing");
  now_ += 500ms;
  bar.update(7);
  EXPECT_EQ(drawn_, "\r\x1B[K100 %");
}

TEST_F(OrvProgressBar, DrawsNothingWithoutATerminal) {
  ProgressBar bar(std::nullopt);
  bar.begin("Analysing");
  now_ += 1h;
  bar.update(0.5);
  bar.clear();
  EXPECT_EQ(drawn_, "");
}

}  // namespace
}  // namespace orv::cli
