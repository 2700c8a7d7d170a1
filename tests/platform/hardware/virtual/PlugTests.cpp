#include <gtest/gtest.h>

#include "VirtualHardwareTestSupport.h"

namespace orv::test {
namespace {

class Plug : public testing::Test {
 protected:
  Plug() { hardware_->setEvents(&events_); }

  AudioDeviceID defaultInput() { return hardwareDevice(*hardware_, kAudioHardwarePropertyDefaultInputDevice); }
  AudioDeviceID defaultOutput() { return hardwareDevice(*hardware_, kAudioHardwarePropertyDefaultOutputDevice); }

  std::vector<AudioDeviceID> devices() {
    std::uint32_t size = 0;
    bool writable = true;
    EXPECT_EQ(hardware_->hardwarePropertyInfo(kAudioHardwarePropertyDevices, &size, &writable), noErr);
    EXPECT_FALSE(writable);
    std::vector<AudioDeviceID> ids(size / sizeof(AudioDeviceID));
    EXPECT_EQ(hardware_->hardwareProperty(kAudioHardwarePropertyDevices, &size, ids.data()), noErr);
    return ids;
  }

  RecordedEvents events_;
  std::shared_ptr<VirtualHardware> hardware_ = handHardware();
};

TEST_F(Plug, GivesOutIDsAndListsDevicesInTheOrderOfPlugging) {
  const AudioDeviceID first = hardware_->plug(simpleDevice("a"));
  VirtualDevice own = simpleDevice("b");
  own.id = 7;
  EXPECT_EQ(hardware_->plug(own), 7U);
  const AudioDeviceID third = hardware_->plug(simpleDevice("c"));
  EXPECT_NE(first, 0U);
  EXPECT_NE(third, first);
  EXPECT_EQ(devices(), (std::vector<AudioDeviceID>{first, 7, third}));
  EXPECT_EQ(hardware_->deviceForUID("b"), 7U);
  EXPECT_EQ(hardware_->deviceForUID("nobody"), 0U);
}

TEST_F(Plug, TellsTheListAndThenTheDefaultsThatItBecomes) {
  hardware_->plug(simpleDevice("a"));
  EXPECT_EQ(events_.take(), (std::vector<ToldChange>{{0, 0, false, kAudioHardwarePropertyDevices},
                                                     {0, 0, false, kAudioHardwarePropertyDefaultInputDevice},
                                                     {0, 0, false, kAudioHardwarePropertyDefaultOutputDevice},
                                                     {0, 0, false, kAudioHardwarePropertyDefaultSystemOutputDevice}}));
  hardware_->plug(simpleDevice("b"));
  EXPECT_EQ(events_.take(), (std::vector<ToldChange>{{0, 0, false, kAudioHardwarePropertyDevices}}));
}

TEST_F(Plug, ADeviceThatCannotBeTheDefaultIsPassedOver) {
  VirtualDevice shy = simpleDevice("shy");
  shy.canBeDefault = false;
  shy.canBeSystemDefault = false;
  hardware_->plug(shy);
  EXPECT_EQ(defaultInput(), 0U);
  VirtualDevice outputOnly = simpleDevice("out");
  outputOnly.input = {};
  const AudioDeviceID out = hardware_->plug(outputOnly);
  EXPECT_EQ(defaultInput(), 0U);
  EXPECT_EQ(defaultOutput(), out);
}

TEST_F(Plug, RefusesAUIDAndAnIDThatAreThereAlready) {
  VirtualDevice device = simpleDevice("a");
  device.id = 9;
  hardware_->plug(device);
  std::string problem;
  EXPECT_EQ(hardware_->plug(simpleDevice("a"), &problem), 0U);
  EXPECT_EQ(problem, "device \"a\": uid: there is a device with it already");
  device.uid = "b";
  EXPECT_EQ(hardware_->plug(device, &problem), 0U);
  EXPECT_EQ(problem, "device \"b\": id: there is a device with the ID 9 already");
  EXPECT_EQ(hardware_->plug(device), 0U);
}

TEST_F(Plug, UnpluggingTellsAndChoosesDefaultsAnew) {
  const AudioDeviceID a = hardware_->plug(simpleDevice("a"));
  const AudioDeviceID b = hardware_->plug(simpleDevice("b"));
  events_.take();
  EXPECT_TRUE(hardware_->unplug(a));
  EXPECT_EQ(events_.take(), (std::vector<ToldChange>{{a, 0, false, kAudioDevicePropertyDeviceIsAlive},
                                                     {0, 0, false, kAudioHardwarePropertyDevices},
                                                     {0, 0, false, kAudioHardwarePropertyDefaultInputDevice},
                                                     {0, 0, false, kAudioHardwarePropertyDefaultOutputDevice},
                                                     {0, 0, false, kAudioHardwarePropertyDefaultSystemOutputDevice}}));
  EXPECT_EQ(defaultInput(), b);
  EXPECT_TRUE(hardware_->unplug(b));
  EXPECT_EQ(defaultInput(), 0U);
  EXPECT_FALSE(hardware_->unplug(b));
}

TEST_F(Plug, ADeviceThatIsGoneAnswersBadDeviceAndIsStoppedAlready) {
  const AudioDeviceID device = hardware_->plug(simpleDevice("a"));
  const auto stream = deviceList<AudioStreamID>(*hardware_, device, true, kAudioDevicePropertyStreams).front();
  RecordingSink sink;
  ASSERT_EQ(hardware_->start(device, &sink), noErr);
  hardware_->step();
  hardware_->unplug(device);
  EXPECT_EQ(hardware_->step(), 0U);
  EXPECT_EQ(sink.cycles().size(), 1U);
  EXPECT_EQ(deviceStatus(*hardware_, device, true, kAudioDevicePropertyDeviceIsAlive), kAudioHardwareBadDeviceError);
  std::uint32_t size = 4;
  std::uint32_t value = 0;
  EXPECT_EQ(hardware_->streamProperty(stream, 0, kAudioStreamPropertyDirection, &size, &value),
            kAudioHardwareBadStreamError);
  EXPECT_EQ(setDeviceValue(*hardware_, device, true, kAudioDevicePropertyMute, 1U), kAudioHardwareBadDeviceError);
  EXPECT_EQ(hardware_->start(device, &sink), kAudioHardwareBadDeviceError);
  EXPECT_EQ(hardware_->stop(device), noErr);
  EXPECT_EQ(hardware_->cycles(device), 0U);
}

TEST_F(Plug, UnplugAndReplugKeepsTheUID) {
  hardware_->unplug(hardware_->plug(simpleDevice("a")));
  const AudioDeviceID again = hardware_->plug(simpleDevice("a"));
  EXPECT_EQ(hardware_->deviceForUID("a"), again);
}

TEST_F(Plug, UnpluggingInTheDevicesOwnCycleEndsItWithThatCycle) {
  const AudioDeviceID device = hardware_->plug(simpleDevice("a"));
  RecordingSink sink([&](const HardwareCycle&) { EXPECT_TRUE(hardware_->unplug(device)); });
  ASSERT_EQ(hardware_->start(device, &sink), noErr);
  EXPECT_EQ(hardware_->step(5), 1U);
  EXPECT_TRUE(devices().empty());
}

TEST_F(Plug, ASwapIsToldAsOneChange) {
  const AudioDeviceID a = hardware_->plug(simpleDevice("a"));
  const AudioDeviceID c = hardware_->plug(simpleDevice("c"));
  events_.take();
  const AudioDeviceID b = hardware_->swap(a, simpleDevice("b"));
  EXPECT_EQ(events_.count(kAudioHardwarePropertyDevices), 1U);
  EXPECT_EQ(devices(), (std::vector<AudioDeviceID>{c, b}));
  EXPECT_EQ(defaultInput(), c);
}

TEST_F(Plug, ASwapMayKeepTheUIDAndTheID) {
  const AudioDeviceID a = hardware_->plug(simpleDevice("a"));
  VirtualDevice next = simpleDevice("a", 4);
  next.id = a;
  EXPECT_EQ(hardware_->swap(a, next), a);
  EXPECT_EQ(devices().size(), 1U);
}

TEST_F(Plug, ASwapForADeviceThatMakesNoSenseChangesNothing) {
  const AudioDeviceID a = hardware_->plug(simpleDevice("a"));
  events_.take();
  std::string problem;
  EXPECT_EQ(hardware_->swap(a, VirtualDevice(), &problem), 0U);
  EXPECT_EQ(problem, "device \"\": uid: it is missing");
  EXPECT_EQ(hardware_->swap(a + 100, simpleDevice("b"), &problem), 0U);
  EXPECT_EQ(problem, "device \"b\": the device that it is to replace is not there");
  EXPECT_EQ(devices(), std::vector<AudioDeviceID>{a});
  EXPECT_TRUE(events_.take().empty());
}

TEST_F(Plug, AThousandDevicesAndNoMore) {
  VirtualDevice device = simpleDevice("x", 1);
  std::size_t plugged = 0;
  std::string problem;
  while (hardware_->plug(device, &problem) != 0 && plugged < 2000) {
    device.uid = "x" + std::to_string(++plugged);
  }
  EXPECT_EQ(devices().size(), 1024U);
  EXPECT_NE(problem.find("there are too many devices"), std::string::npos);
}

TEST(DefaultSet, HasAStereoAnEightChannelAndASixChannelDevice) {
  const auto hardware = VirtualHardware::makeDefaultSet();
  std::uint32_t size = 3 * sizeof(AudioDeviceID);
  AudioDeviceID ids[3] = {};
  ASSERT_EQ(hardware->hardwareProperty(kAudioHardwarePropertyDevices, &size, ids), noErr);
  ASSERT_EQ(size, sizeof ids);
  EXPECT_EQ(hardwareDevice(*hardware, kAudioHardwarePropertyDefaultInputDevice), ids[0]);
  const auto channels = [&](AudioDeviceID device, bool isInput) {
    const auto words = deviceList<std::uint8_t>(*hardware, device, isInput, kAudioDevicePropertyStreamConfiguration);
    const auto* const list = reinterpret_cast<const AudioBufferList*>(words.data());
    return list->mNumberBuffers == 0 ? 0U : list->mBuffers[0].mNumberChannels;
  };
  EXPECT_EQ(channels(ids[0], true), 2U);
  EXPECT_EQ(channels(ids[1], true), 8U);
  EXPECT_EQ(channels(ids[2], true), 0U);
  EXPECT_EQ(channels(ids[2], false), 6U);
}

}  // namespace
}  // namespace orv::test
