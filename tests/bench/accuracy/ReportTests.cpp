#include "accuracy/Report.h"

#include <gtest/gtest.h>

namespace orv::accuracy {
namespace {

const std::vector<Detector> kDetectors = {{"levels", "", false, {}}, {"levels, number", "", true, {}}};

std::string printed(void (*print)(const std::vector<Detector>&, const std::vector<Outcome>&),
                    const std::vector<Outcome>& outcomes) {
  testing::internal::CaptureStdout();
  print(kDetectors, outcomes);
  return testing::internal::GetCapturedStdout();
}

Outcome outcomeOf(const std::string& kind, const std::vector<Interval>& gaps, const std::vector<Cut>& cuts) {
  return {kind + "-0", kind, 0, judge(gaps, cuts)};
}

TEST(AccuracyReport, SaysWhichTargetsAreMet) {
  const std::string text = printed(printTargets, {outcomeOf("clean", {{10, 11}, {20, 21}}, {{10.5, ""}})});
  EXPECT_NE(text.find("recall, clean                                 0.500 >=   0.950  NOT MET"), std::string::npos);
  EXPECT_NE(text.find("precision, clean                              1.000 >=   0.900  met"), std::string::npos);
  EXPECT_EQ(text.find("-60 dB"), std::string::npos);
}

TEST(AccuracyReport, ADetectorThatNeverCutsReachesNoPrecision) {
  const std::string text = printed(printTargets, {outcomeOf("clean", {{10, 11}}, {})});
  EXPECT_NE(text.find("precision, clean                                  - >=   0.900  NOT MET"), std::string::npos);
}

TEST(AccuracyReport, ACutInAWholePieceMissesTheTarget) {
  const std::string text = printed(printTargets, {outcomeOf("whole", {}, {{300, ""}})});
  EXPECT_NE(text.find("cuts in one piece of 20 minutes               1.000 <=   0.000  NOT MET"), std::string::npos);
}

TEST(AccuracyReport, DetailsTellWhatWasMissedAndWhatWasWrong) {
  const std::string text = printed(printDetails, {outcomeOf("hum", {{10, 11}}, {{50, "confidence 0.51: quiet"}})});
  EXPECT_NE(text.find("hum-0, levels: missed 10.000 to 11.000"), std::string::npos);
  EXPECT_NE(text.find("hum-0, levels: wrong 50.000, confidence 0.51: quiet"), std::string::npos);
}

TEST(AccuracyReport, TablesLeaveOutDetectorsThatDidNotRun) {
  const std::string text = printed(printKinds, {outcomeOf("hum", {{10, 11}}, {{10, ""}})});
  EXPECT_NE(text.find("levels                   1/1      0   1.000      1.000     0.000   0.000"), std::string::npos);
  EXPECT_EQ(text.find("levels, number"), std::string::npos);
}

}  // namespace
}  // namespace orv::accuracy
