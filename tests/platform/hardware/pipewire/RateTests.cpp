#include "PipeWireTestSupport.h"

namespace orv::test {
namespace {

double rate(AudioHardware& hardware, AudioDeviceID device) {
  return deviceValue<double>(hardware, device, false, kAudioDevicePropertyNominalSampleRate);
}

bool isForcedTo(const std::string& rate) {
  return run({"pw-metadata", "-n", "settings"}).output.find("'clock.force-rate' value:'" + rate + "'") !=
         std::string::npos;
}

TEST_F(PipeWireTest, TheRatesAreThoseThatTheServerAllows) {
  const auto rates = deviceList<AudioValueRange>(*hardware, device("orv-sink-a"), false,
                                                 kAudioDevicePropertyAvailableNominalSampleRates);
  ASSERT_EQ(rates.size(), 4U);
  EXPECT_EQ(rates.front().mMinimum, 44100);
  EXPECT_EQ(rates.front().mMaximum, 44100);
  EXPECT_EQ(rates.back().mMinimum, 96000);
}

TEST_F(PipeWireTest, ARateThatIsSetIsEverybodysAndIsPutBackInTheEnd) {
  const AudioDeviceID sink = device("orv-sink-a");
  EXPECT_EQ(setDeviceValue(*hardware, sink, false, kAudioDevicePropertyNominalSampleRate, 96000.0), noErr);
  EXPECT_EQ(rate(*hardware, sink), 96000);
  EXPECT_TRUE(comesTrue([&] { return isForcedTo("96000"); }));
  EXPECT_TRUE(comesTrue([&] { return rate(*hardware, device("orv-sink-b")) == 96000; }));
  EXPECT_TRUE(comesTrue([&] { return wasTold(device("orv-sink-b"), kAudioDevicePropertyNominalSampleRate); }));
  hardware = nullptr;
  EXPECT_TRUE(isForcedTo("0"));
}

TEST_F(PipeWireTest, ARateThatTheServerDoesNotAllowIsRefused) {
  EXPECT_EQ(setDeviceValue(*hardware, device("orv-sink-a"), false, kAudioDevicePropertyNominalSampleRate, 12345.0),
            kAudioDeviceUnsupportedFormatError);
}

TEST_F(PipeWireTest, ARateThatAnotherProgramForcesIsTold) {
  const AudioDeviceID sink = device("orv-sink-a");
  run({"pw-metadata", "-n", "settings", "0", "clock.force-rate", "88200"});
  EXPECT_TRUE(comesTrue([&] { return wasTold(sink, kAudioDevicePropertyNominalSampleRate); }));
  EXPECT_EQ(rate(*hardware, sink), 88200);
  EXPECT_EQ(deviceValue<double>(*hardware, sink, false, kAudioDevicePropertyActualSampleRate), 88200);
  EXPECT_EQ(
      deviceValue<AudioStreamBasicDescription>(*hardware, sink, false, kAudioDevicePropertyStreamFormat).mSampleRate,
      88200);
  hardware = nullptr;
  EXPECT_TRUE(isForcedTo("88200"));
}

TEST_F(PipeWireTest, ARateThatIsForcedWhileADeviceRunsIsTold) {
  const AudioDeviceID duplex = device("orv-duplex");
  CountingSink sink;
  ASSERT_EQ(hardware->start(duplex, &sink), noErr);
  sink.waitForCycles(2);
  run({"pw-metadata", "-n", "settings", "0", "clock.force-rate", "44100"});
  EXPECT_TRUE(comesTrue([&] { return rate(*hardware, duplex) == 44100; }));
  const auto before = sink.cycles();
  sink.waitForCycles(before + 3);
  EXPECT_EQ(hardware->stop(duplex), noErr);
}

TEST_F(PipeWireTest, TheFrameSizesAreThoseThatTheServerAllows) {
  const AudioDeviceID sink = device("orv-sink-a");
  const auto range = deviceValue<AudioValueRange>(*hardware, sink, false, kAudioDevicePropertyBufferFrameSizeRange);
  EXPECT_EQ(range.mMinimum, 16);
  EXPECT_EQ(range.mMaximum, 8192);
  EXPECT_EQ(deviceValue<std::uint32_t>(*hardware, sink, false, kAudioDevicePropertyBufferFrameSize), 512U);
  EXPECT_NE(setDeviceValue(*hardware, sink, false, kAudioDevicePropertyBufferFrameSize, 8193U), noErr);
}

TEST_F(PipeWireTest, AFrameSizeThatIsNoPowerOfTwoIsKeptToTheFrame) {
  const AudioDeviceID duplex = device("orv-duplex");
  EXPECT_EQ(setDeviceValue(*hardware, duplex, false, kAudioDevicePropertyBufferFrameSize, 441U), noErr);
  RecordingSink sink;
  ASSERT_EQ(hardware->start(duplex, &sink), noErr);
  EXPECT_TRUE(comesTrue([&] { return wasTold(duplex, kAudioDevicePropertyDeviceIsRunning); }));
  CountingSink other;
  ASSERT_EQ(hardware->start(device("orv-sink-b"), &other), noErr);
  other.waitForCycles(4);
  EXPECT_EQ(hardware->stop(device("orv-sink-b")), noErr);
  EXPECT_EQ(hardware->stop(duplex), noErr);
  ASSERT_FALSE(sink.cycles().empty());
  for (const RecordedCycle& cycle : sink.cycles()) {
    EXPECT_EQ(cycle.input.at(0).size(), 441U * 2);
    EXPECT_EQ(cycle.outputBytes.at(0), 441U * 2 * sizeof(float));
  }
}

}  // namespace
}  // namespace orv::test
