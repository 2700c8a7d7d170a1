#include <gtest/gtest.h>

#include <fstream>

#include "OrvProgram.h"

namespace orv::test {
namespace {

TEST(OrvDevices, TheDefaultSetIsThreeDevices) {
  const auto devices = orvJson({"devices", "--hardware", "virtual", "--json"});
  ASSERT_EQ(devices.size(), 3U);
  EXPECT_EQ(devices[0]["input"]["channels"], 2);
  EXPECT_EQ(devices[0]["output"]["channels"], 2);
  EXPECT_EQ(devices[1]["input"]["channels"], 8);
  EXPECT_TRUE(devices[2]["input"].is_null());
  EXPECT_EQ(devices[2]["output"]["channels"], 6);
}

TEST(OrvDevices, OneDeviceOfEachDirectionIsTheDefault) {
  int inputs = 0;
  int outputs = 0;
  for (const auto& device : orvJson({"devices", "--hardware", "virtual", "--json"})) {
    inputs += !device["input"].is_null() && device["input"]["default"] == true ? 1 : 0;
    outputs += !device["output"].is_null() && device["output"]["default"] == true ? 1 : 0;
  }
  EXPECT_EQ(inputs, 1);
  EXPECT_EQ(outputs, 1);
}

TEST(OrvDevices, JsonTellsWhatTheNamesSay) {
  for (const auto& device : orvJson({"devices", "--hardware", "virtual", "--json"})) {
    EXPECT_TRUE(device["id"].is_number_unsigned());
    EXPECT_TRUE(device["uid"].is_string());
    EXPECT_TRUE(device["name"].is_string());
    EXPECT_TRUE(device["manufacturer"].is_string());
    EXPECT_GE(device["output"]["sampleRate"], 44100.0);
    EXPECT_EQ(device["output"]["bufferFrameSize"], 512);
  }
}

TEST(OrvDevices, JsonTellsTheVolumesThatThereAre) {
  const TemporaryDirectory scratch;
  const std::string path = scratch / "devices.json";
  std::ofstream(path) << R"({"devices": [{"uid": "x", "output": {"streams": [{"channels": 2}],
      "controls": [{"channel": 0, "hasVolume": false, "isMuted": true}, {"channel": 2, "volume": 0.25}]}}]})";
  const auto device = orvJson({"devices", "--hardware", "virtual", "--virtual-devices", path, "--json"})[0];
  EXPECT_EQ(device["output"]["muted"], true);
  EXPECT_TRUE(device["output"]["masterVolume"].is_null());
  ASSERT_EQ(device["output"]["volumes"].size(), 2U);
  EXPECT_TRUE(device["output"]["volumes"][0].is_null());
  EXPECT_EQ(device["output"]["volumes"][1], 0.25);
}

TEST(OrvDevices, TheTableNamesEachDevice) {
  const auto table = runOrv({"devices", "--hardware", "virtual"});
  EXPECT_EQ(table.status, 0);
  for (const auto& device : orvJson({"devices", "--hardware", "virtual", "--json"})) {
    EXPECT_NE(table.output.find(device["name"].get<std::string>()), std::string::npos);
    EXPECT_NE(table.output.find(device["uid"].get<std::string>()), std::string::npos);
  }
}

TEST(OrvDevices, VerbosePrintsTheReports) {
  const auto reports = runOrv({"devices", "--hardware", "virtual", "--verbose"});
  EXPECT_EQ(reports.status, 0);
  EXPECT_NE(reports.output.find("---- GLOBAL DEVICE DATA ---"), std::string::npos);
  EXPECT_NE(reports.output.find("---- INPUTS ----"), std::string::npos);
  EXPECT_NE(reports.output.find("---- OUTPUT BUFFER INFO ----"), std::string::npos);
}

TEST(OrvDevices, JsonAndReportsExcludeEachOther) {
  expectWrongUsage(runOrv({"devices", "--json", "--verbose"}), {"--verbose"});
}

TEST(OrvDevices, AnUnknownKindOfHardwareIsWrongUsage) {
  expectWrongUsage(runOrv({"devices", "--hardware", "abacus"}), {"--hardware"});
}

TEST(OrvDevices, ADescriptionThatIsNotThereIsOneLine) {
  expectFailure(runOrv({"devices", "--hardware", "virtual", "--virtual-devices", "/nowhere.json"}), {"/nowhere.json"});
}

TEST(OrvDevices, ADescriptionThatMakesNoSenseIsOneLine) {
  const TemporaryDirectory scratch;
  const std::string path = scratch / "devices.json";
  std::ofstream(path) << R"({"devices": [{"uid": "a", "wings": 2}]})";
  expectFailure(runOrv({"devices", "--hardware", "virtual", "--virtual-devices", path}), {"devices.json", "wings"});
}

TEST(OrvDevices, AVirtualInputThatIsNotThereIsOneLine) {
  expectFailure(runOrv({"devices", "--hardware", "virtual", "--virtual-input", "/nowhere.aiff"}), {"/nowhere.aiff"});
}

}  // namespace
}  // namespace orv::test
