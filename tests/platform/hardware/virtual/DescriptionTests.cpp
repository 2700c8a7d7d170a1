#include <gtest/gtest.h>

#include <functional>
#include <limits>

#include "VirtualHardwareTestSupport.h"

namespace orv::test {
namespace {

struct BadDescription {
  const char* name;
  std::function<void(VirtualDevice& device)> spoil;
  const char* problem;  ///< behind the device's name
};

class Description : public testing::TestWithParam<BadDescription> {};

TEST_P(Description, IsRefusedWithOneLineThatSaysWhere) {
  VirtualDevice device = simpleDevice("a");
  GetParam().spoil(device);
  std::string problem;
  EXPECT_EQ(handHardware()->plug(device, &problem), 0U);
  EXPECT_EQ(problem, std::string("device \"a\": ") + GetParam().problem);
}

constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();

INSTANTIATE_TEST_SUITE_P(
    Bad, Description,
    testing::Values(
        BadDescription{"NoRates", [](VirtualDevice& d) { d.nominalSampleRates.clear(); },
                       "nominalSampleRates: there is none"},
        BadDescription{"AbsurdRate",
                       [](VirtualDevice& d) {
                         d.nominalSampleRates = {{44100.0, 1e300}};
                       },
                       "nominalSampleRates: 1e+300 is not between 1 and 1e+07"},
        BadDescription{"RateThatIsNoNumber",
                       [](VirtualDevice& d) {
                         d.nominalSampleRates = {{kNoNumber, 1e4}};
                       },
                       "nominalSampleRates: nan is not between 1 and 1e+07"},
        BadDescription{"RangeTheWrongWay",
                       [](VirtualDevice& d) {
                         d.nominalSampleRates = {{48000.0, 44100.0}};
                       },
                       "nominalSampleRates: the minimum 48000 is above the maximum 44100"},
        BadDescription{"NominalRateNotOffered", [](VirtualDevice& d) { d.nominalSampleRate = 48000.0; },
                       "nominalSampleRate: 48000 is not among the nominalSampleRates"},
        BadDescription{"NoFrames",
                       [](VirtualDevice& d) {
                         d.bufferFrameSizes = {0.0, 4096.0};
                       },
                       "bufferFrameSizes: 0 is not between 1 and 65536"},
        BadDescription{"FramesOutOfRange", [](VirtualDevice& d) { d.bufferFrameSize = 8; },
                       "bufferFrameSize: 8 is not between 16 and 4096"},
        BadDescription{"NoFormats", [](VirtualDevice& d) { d.input.streams[0].physicalFormats.clear(); },
                       "input.streams[0].physicalFormats: there is none"},
        BadDescription{"NoChannels", [](VirtualDevice& d) { d.output.streams[0].physicalFormats = {pcm(0, 16)}; },
                       "output.streams[0].channels: 0 is not between 1 and 256"},
        BadDescription{"DifferentChannels",
                       [](VirtualDevice& d) {
                         d.input.streams[0].physicalFormats = {pcm(2, 16), pcm(1, 16)};
                       },
                       "input.streams[0].physicalFormats: they have different numbers of channels"},
        BadDescription{
            "NoPCM", [](VirtualDevice& d) { d.input.streams[0].physicalFormats[0].mFormatID = 1; },
            "input.streams[0].physicalFormats: one is not linear PCM of 8 to 32 bits, or floats of 32 or 64"},
        BadDescription{"FormatOfAnotherRate",
                       [](VirtualDevice& d) { d.input.streams[0].physicalFormats = {pcm(2, 16, 11025)}; },
                       "input.streams[0].physicalFormats: one has a sample rate that the device lacks"},
        BadDescription{"NoFormatAtTheNominalRate",
                       [](VirtualDevice& d) { d.input.streams[0].physicalFormats = {pcm(2, 16, 88200)}; },
                       "input.streams[0].physicalFormats: none has the device's nominal sample rate"},
        BadDescription{"TooManyChannels",
                       [](VirtualDevice& d) {
                         d.input.streams = {2, {{pcm(200, 16)}, 0}};
                       },
                       "input.streams: more than 256 channels"},
        BadDescription{"TooManyStreams",
                       [](VirtualDevice& d) {
                         d.input.streams = {65, {{pcm(1, 16)}, 0}};
                       },
                       "input.streams: 65 are too many, 64 are possible"},
        BadDescription{"ControlOfNoChannel", [](VirtualDevice& d) { d.input.controls[1].channel = 3; },
                       "input.controls: channel: 3 is not between 0 and 2"},
        BadDescription{"TwoControlsOfAChannel", [](VirtualDevice& d) { d.input.controls[1].channel = 0; },
                       "input.controls: a channel has two"},
        BadDescription{"VolumeOutOfRange", [](VirtualDevice& d) { d.output.controls[1].volume = 1.5F; },
                       "output.controls: volume: 1.5 is not between 0 and 1"},
        BadDescription{"VolumeRangeTheWrongWay", [](VirtualDevice& d) { d.output.quietestDecibels = 0.0F; },
                       "output.quietestDecibels: they are not below loudestDecibels"},
        BadDescription{"SourceWithoutAnID",
                       [](VirtualDevice& d) {
                         d.input.dataSources = {{0, "x"}};
                       },
                       "input.dataSources: an ID is 0"},
        BadDescription{"TwoSourcesWithOneID",
                       [](VirtualDevice& d) {
                         d.input.dataSources = {{1, "x"}, {1, "y"}};
                       },
                       "input.dataSources: two have the same ID"},
        BadDescription{"CurrentSourceIsNone", [](VirtualDevice& d) { d.input.currentDataSource = 5; },
                       "input.currentDataSource: it is not among the dataSources"},
        BadDescription{"HalfAStereoPair", [](VirtualDevice& d) { d.input.preferredStereo[0] = 1; },
                       "input.preferredStereo: one of the two channels is missing"},
        BadDescription{"LabelsForOtherChannels", [](VirtualDevice& d) { d.input.channelLabels = {1}; },
                       "input.channelLabels: there is not one for each channel"},
        BadDescription{"AbsurdLatency", [](VirtualDevice& d) { d.output.latency = 2000000; },
                       "output.latency: 2e+06 is not between 0 and 1e+06"},
        BadDescription{"FilesWithoutFiles", [](VirtualDevice& d) { d.source.kind = VirtualInput::Kind::files; },
                       "source.files: there is none"},
        BadDescription{"AbsurdGap", [](VirtualDevice& d) { d.source.gapSeconds = -1.0; },
                       "source.gapSeconds: -1 is not between 0 and 1e+06"},
        BadDescription{"SourceWithoutInput",
                       [](VirtualDevice& d) {
                         d.input = {};
                         d.source.kind = VirtualInput::Kind::tone;
                       },
                       "source: the device has no input"},
        BadDescription{"CaptureWithoutOutput",
                       [](VirtualDevice& d) {
                         d.output = {};
                         d.sink.file = "x.wav";
                       },
                       "sink: the device has no output"}),
    [](const testing::TestParamInfo<BadDescription>& parameter) { return parameter.param.name; });

TEST(Descriptions, TheLargestOfEverythingIsPossible) {
  VirtualDevice device = simpleDevice("large", 256, 10e6 / 2, 65536);
  device.bufferFrameSizes = {1.0, 65536.0};
  device.input.latency = 1000000;
  const auto hardware = handHardware();
  std::string problem;
  const AudioDeviceID id = hardware->plug(device, &problem);
  ASSERT_NE(id, 0U) << problem;
  RecordingSink sink;
  EXPECT_EQ(hardware->start(id, &sink), noErr);
  EXPECT_EQ(hardware->step(), 1U);
}

}  // namespace
}  // namespace orv::test
