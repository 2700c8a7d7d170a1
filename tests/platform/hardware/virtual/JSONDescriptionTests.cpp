#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "VirtualHardwareTestSupport.h"
#include "support/TemporaryDirectory.h"

namespace orv::test {
namespace {

std::string problemWith(const std::string& text) {
  std::string problem;
  EXPECT_EQ(VirtualHardware::fromJSON(text, &problem), nullptr) << text;
  EXPECT_EQ(problem.find('\n'), std::string::npos);
  return problem;
}

/// The problem of one device; `more` is added to a description that is fine.
std::string deviceProblem(const std::string& more) {
  return problemWith(R"({"devices": [{"uid": "x", "input": {"streams": [{"channels": 2}]}, )" + more + "}]}");
}

TEST(JSONDescription, ADeviceIsWhatItsDescriptionSays) {
  std::string problem;
  const auto hardware = VirtualHardware::fromJSON(R"({
    "clock": "byHand",
    "devices": [{
      "id": 300, "uid": "usb-1", "name": "Interface", "manufacturer": "Makers", "transport": "usb ",
      "nominalSampleRates": [44100, {"minimum": 48000, "maximum": 96000}], "nominalSampleRate": 48000,
      "bufferFrameSize": 256, "bufferFrameSizes": {"minimum": 32, "maximum": 1024},
      "canBeDefault": false, "supportsMixing": false,
      "input": {
        "streams": [{"channels": 2, "terminalType": 513,
                     "physicalFormats": [{"bits": 24, "isBigEndian": true}, {"bits": 32, "isFloat": true}]}],
        "controls": [{"channel": 0, "volume": 0.5}, {"channel": 1, "hasMute": false, "isWritable": false}],
        "quietestDecibels": -40, "loudestDecibels": 0,
        "dataSources": [{"id": "line", "name": "Line"}, {"id": "imic"}], "currentDataSource": "imic",
        "jackIsConnected": false, "preferredStereo": [1, 2], "channelLabels": [1, 2],
        "latency": 30, "safetyOffset": 12
      },
      "source": {"kind": "tone", "toneHertz": 441, "toneLevel": 0.25}
    }]
  })",
                                                  &problem);
  ASSERT_NE(hardware, nullptr) << problem;
  EXPECT_EQ(hardware->deviceForUID("usb-1"), 300U);
  EXPECT_EQ(hardwareDevice(*hardware, kAudioHardwarePropertyDefaultInputDevice), 0U);
  EXPECT_EQ(deviceText(*hardware, 300, kAudioDevicePropertyDeviceNameCFString), "Interface");
  const auto format =
      deviceValue<AudioStreamBasicDescription>(*hardware, 300, true, kAudioStreamPropertyPhysicalFormat);
  const auto expected = pcm(2, 24, 48000, false, true);
  EXPECT_EQ(std::memcmp(&format, &expected, sizeof format), 0);
  EXPECT_EQ(deviceValue<std::uint32_t>(*hardware, 300, true, kAudioDevicePropertyDataSource), fourCC("imic"));
  EXPECT_EQ(deviceValue<float>(*hardware, 300, true, kAudioDevicePropertyVolumeDecibels), -20.0F);
  EXPECT_FALSE(isWritable(*hardware, 300, true, kAudioDevicePropertyVolumeScalar, 1));
  EXPECT_EQ(deviceValue<std::uint32_t>(*hardware, 300, true, kAudioDevicePropertyLatency), 30U);
  EXPECT_EQ(deviceValue<std::uint32_t>(*hardware, 300, true, kAudioDevicePropertyJackIsConnected, 1), 0U);
  RecordingSink sink;
  hardware->start(300, &sink);
  EXPECT_EQ(hardware->step(), 1U);
  EXPECT_EQ(sink.cycles()[0].input[0].size(), 512U);
  EXPECT_NE(sink.cycles()[0].input[0][2], 0.0F);
}

TEST(JSONDescription, NoDevicesAtAllIsFine) {
  EXPECT_NE(VirtualHardware::fromJSON("{}", nullptr), nullptr);
}

TEST(JSONDescription, UnknownKeysAreNamedWithTheirPlace) {
  EXPECT_EQ(problemWith(R"({"clok": "byHand"})"), "clok: unknown key");
  EXPECT_EQ(deviceProblem(R"("colour": 1)"), "device \"x\": colour: unknown key");
  EXPECT_EQ(deviceProblem(R"("output": {"streams": [{"chanels": 2}]})"),
            "device \"x\": output.streams[0].chanels: unknown key");
}

TEST(JSONDescription, WrongTypesAreNamedWithTheirPlace) {
  EXPECT_EQ(problemWith("[]"), "it is no JSON object");
  EXPECT_EQ(problemWith(R"({"devices": {}})"), "devices: it is no list");
  EXPECT_EQ(problemWith(R"({"devices": [7]})"), "device 1: it is no JSON object");
  EXPECT_EQ(deviceProblem(R"("sink": 3)"), "device \"x\": sink: it is no JSON object");
  EXPECT_EQ(problemWith(R"({"devices": [{"uid": 7}]})"), "device 1: uid: it is no text");
  EXPECT_EQ(deviceProblem(R"("name": null)"), "device \"x\": name: it is no text");
  EXPECT_EQ(deviceProblem(R"("canBeDefault": 1)"), "device \"x\": canBeDefault: it is neither true nor false");
  EXPECT_EQ(deviceProblem(R"("nominalSampleRate": "fast")"), "device \"x\": nominalSampleRate: it is no number");
  EXPECT_EQ(deviceProblem(R"("source": {"files": [1]})"), "device \"x\": source.files[0]: it is no text");
  EXPECT_EQ(deviceProblem(R"("source": {"kind": "noise"})"),
            "device \"x\": source.kind: \"noise\" is none of the possible words");
}

TEST(JSONDescription, AbsurdNumbersAreRefused) {
  EXPECT_EQ(deviceProblem(R"("nominalSampleRate": 1e300)"),
            "device \"x\": nominalSampleRate: 1e+300 is not among the nominalSampleRates");
  EXPECT_EQ(problemWith(R"({"devices": [{"uid": "x", "nominalSampleRate": 1e999}]})"),
            "a number is too large at line 1, column 52");
  EXPECT_EQ(deviceProblem(R"("bufferFrameSize": -1)"),
            "device \"x\": bufferFrameSize: it is no whole number from 0 to 4294967295");
  EXPECT_EQ(deviceProblem(R"("id": 1.5)"), "device \"x\": id: it is no whole number from 0 to 4294967295");
  EXPECT_EQ(deviceProblem(R"("output": {"streams": [{"channels": 0}]})"),
            "device \"x\": output.streams[0].channels: 0 is not between 1 and 256");
  EXPECT_EQ(deviceProblem(R"("output": {"streams": [{"channels": 1000000000}]})"),
            "device \"x\": output.streams[0].channels: 1000000000 is not between 1 and 256");
  EXPECT_EQ(
      deviceProblem(R"("output": {"streams": [{"physicalFormats": [{"bits": 4}]}]})"),
      "device \"x\": output.streams[0].physicalFormats[0].bits: 4 is not possible: 8 to 32, or 32 or 64 for floats");
  EXPECT_EQ(deviceProblem(R"("output": {"quietestDecibels": -1e200})"),
            "device \"x\": output.quietestDecibels: it is too large");
  EXPECT_EQ(problemWith(R"({"acceleration": 0})"), "acceleration: it is not between 0.001 and 1e+06");
}

TEST(JSONDescription, FourCharacterCodesHaveFourCharacters) {
  EXPECT_EQ(deviceProblem(R"("transport": "firew")"), "device \"x\": transport: a code has four characters");
  EXPECT_EQ(deviceProblem(R"("transport": true)"),
            "device \"x\": transport: it is no whole number from 0 to 4294967295");
}

TEST(JSONDescription, DuplicateUIDsAndKeysAreRefused) {
  EXPECT_EQ(problemWith(R"({"devices": [{"uid": "x"}, {"uid": "x"}]})"),
            "device \"x\": uid: there is a device with it already");
  EXPECT_EQ(problemWith(R"({"devices": [{"uid": "x", "uid": "y"}]})"), "the key \"uid\" is there twice");
}

TEST(JSONDescription, MoreDevicesThanPossibleAreRefused) {
  std::string text = R"({"devices": [{"uid": "0"})";
  for (int i = 1; i < 1025; ++i) {
    text += R"(, {"uid": ")" + std::to_string(i) + R"("})";
  }
  EXPECT_EQ(problemWith(text + "]}"), "devices: more than 1024");
}

TEST(JSONDescription, MalformedTextIsRefusedWithItsPlace) {
  EXPECT_EQ(problemWith(""), "it is not JSON at line 1, column 1");
  EXPECT_EQ(problemWith("{\n  \"devices\": [}\n"), "it is not JSON at line 2, column 15");
  EXPECT_EQ(problemWith(std::string(100000, '[')), "it is nested too deeply");
}

TEST(JSONDescription, PathsInAFileAreTakenFromItsFolder) {
  const TemporaryDirectory folder;
  const std::vector<float> written = writeAudioFile(folder / "music.wav", 16, 2, 512);
  writeWholeFile(folder / "devices.json", R"({"clock": "byHand", "devices": [{"uid": "x",
    "input": {"streams": [{"channels": 2}]}, "source": {"kind": "files", "files": ["music.wav"]}}]})");
  std::string problem;
  const auto hardware = VirtualHardware::fromJSONFile(folder / "devices.json", &problem);
  ASSERT_NE(hardware, nullptr) << problem;
  RecordingSink sink;
  hardware->start(hardware->deviceForUID("x"), &sink);
  hardware->step();
  EXPECT_EQ(sink.input(), written);
}

TEST(JSONDescription, AFileThatCannotBeReadIsNamed) {
  std::string problem;
  EXPECT_EQ(VirtualHardware::fromJSONFile("/nowhere/devices.json", &problem), nullptr);
  EXPECT_NE(problem.find("/nowhere/devices.json"), std::string::npos);
  EXPECT_EQ(VirtualHardware::fromJSONFile("/nowhere/devices.json", nullptr), nullptr);
}

TEST(JSONDescription, TheExampleInTheDocumentationIsUnderstood) {
  std::ifstream file(ORV_SOURCE_DIR "/docs/virtual-hardware.md");
  std::stringstream document;
  document << file.rdbuf();
  const std::string text = document.str();
  const std::size_t begin = text.find("```json\n");
  ASSERT_NE(begin, std::string::npos);
  const std::string example = text.substr(begin + 8, text.find("\n```", begin) - begin - 8);
  const TemporaryDirectory folder;
  writeAudioFile(folder / "side-a.aiff", 24, 2, 100);
  writeAudioFile(folder / "side-b.aiff", 24, 2, 100);
  writeWholeFile(folder / "devices.json", example);
  std::string problem;
  const auto hardware = VirtualHardware::fromJSONFile(folder / "devices.json", &problem);
  ASSERT_NE(hardware, nullptr) << problem;
  EXPECT_EQ(hardware->deviceForUID("turntable"), 300U);
  EXPECT_NE(hardware->deviceForUID("listener"), 0U);
}

}  // namespace
}  // namespace orv::test
