#include "Playback.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <functional>
#include <numbers>

#include "Failure.h"
#include "OrvCoreAudio/OrvAudioFile.h"
#include "OrvPlatform/RunLoop.h"
#include "OrvPlatform/VirtualHardware.h"
#include "Recordings.h"
#include "coreaudio/support/FakeAudioFileService.h"
#include "support/IndependentReader.h"
#include "support/LogCapture.h"
#include "support/TemporaryDirectory.h"

namespace orv::cli {
namespace {

using namespace std::chrono_literals;

constexpr int kRate = 44100;

/// Playing in this process, on a device to which something happens meanwhile.
class PlaybackOnADevice : public testing::Test {
 protected:
  PlaybackOnADevice() {
    device = hardware->plug(virtualStereoInterface());
    installAudioHardware(hardware);
    waitForHardwareNotifications();
  }
  ~PlaybackOnADevice() override {
    installAudioHardware(nullptr);
    waitForHardwareNotifications();
    while (RunLoop::main().pump() > 0) {
    }
  }

  std::string write(double seconds) const {
    test::Recording tone{kRate, 2, {}};
    for (int frame = 0; frame < std::lround(seconds * kRate); ++frame) {
      tone.samples.insert(tone.samples.end(), 2, 0.5 * std::sin(2 * std::numbers::pi * 1000 * frame / kRate));
    }
    std::string path = folder / "music.aiff";
    writeRecording(path, tone);
    return path;
  }

  PlayRequest request(const std::string& path, double seconds, Deck::Kind kind = Deck::Kind::direct) const {
    PlayRequest request;
    request.path = path;
    request.to = request.length = static_cast<std::uint32_t>(std::lround(seconds * kRate));
    request.sampleRate = kRate;
    request.device = OrvAudioDevice::initWithDeviceID(device);
    request.kind = kind;
    request.isQuiet = true;
    return request;
  }

  /// Plays, and has `event` come about after a while. What the person is told; empty: nothing.
  static std::string play(const PlayRequest& request, std::chrono::milliseconds delay,
                          const std::function<void()>& event) {
    const Timer timer = RunLoop::main().after(delay, event);
    try {
      Playback(request).run();
    } catch (const Failure& failure) {
      return failure.what();
    }
    return "";
  }

  const test::LogCapture log;
  const std::shared_ptr<VirtualHardware> hardware = VirtualHardware::make();
  const test::TemporaryDirectory folder;
  AudioDeviceID device = 0;
};

}  // namespace

TEST_F(PlaybackOnADevice, ADeviceThatGoesAwayEndsItAndThePlaceIsTold) {
  const std::string path = write(10);
  for (const Deck::Kind kind : {Deck::Kind::direct, Deck::Kind::graph}) {
    const std::string told = play(request(path, 10, kind), 150ms, [&] { hardware->unplug(device); });
    EXPECT_NE(told.find(": the device is gone; played up to 0:00."), std::string::npos) << told;
    device = hardware->plug(virtualStereoInterface());
    waitForHardwareNotifications();
  }
}

TEST_F(PlaybackOnADevice, ADeviceThatRefusesToStartIsTold) {
  const std::string path = write(1);
  for (const Deck::Kind kind : {Deck::Kind::direct, Deck::Kind::graph}) {
    hardware->addFault(device, {.kind = VirtualFault::Kind::start, .times = 0});
    const std::string told = play(request(path, 1, kind), 1h, [] {});
    EXPECT_NE(told.find("the device can't be started; played up to 0:00.000"), std::string::npos) << told;
    hardware->clearFaults(device);
  }
}

TEST_F(PlaybackOnADevice, WhenTheDevicesRateChangesThePitchStays) {
  for (const Deck::Kind kind : {Deck::Kind::direct, Deck::Kind::graph}) {
    const std::string path = write(0.6);
    ASSERT_EQ(hardware->setNominalSampleRate(device, kRate), noErr);
    waitForHardwareNotifications();
    VirtualOutput sink;
    sink.file = folder / "heard.wav";
    ASSERT_TRUE(hardware->setOutput(device, sink));
    EXPECT_EQ(play(request(path, 0.6, kind), 100ms, [&] { hardware->setNominalSampleRate(device, 96000); }), "");
    ASSERT_TRUE(hardware->setOutput(device, {}));
    const auto heard = test::readIndependently(*sink.file).value();
    ASSERT_EQ(heard.sampleRate, kRate);  // of the file that was begun
    std::size_t rises = 0;
    std::size_t last = 0;
    for (std::size_t i = 2 * kRate * 3 / 10; i < 2 * kRate * 5 / 10; i += 2) {
      const bool isRise = heard.doubles[i] < 0 && heard.doubles[i + 2] >= 0;
      rises += isRise ? 1 : 0;
      last = isRise ? i : last;
    }
    EXPECT_NEAR(static_cast<double>(rises), 200, 2);  // of 1 kHz, in a fifth of a second
    EXPECT_GT(last, 0U);
  }
}

TEST_F(PlaybackOnADevice, ARecordingThatShrinksMeanwhileIsTold) {
  for (const Deck::Kind kind : {Deck::Kind::direct, Deck::Kind::graph}) {
    const std::string path = write(5);
    const std::string told = play(request(path, 5, kind), 50ms, [&] { std::filesystem::resize_file(path, 100000); });
    EXPECT_EQ(told, path + ": can't be read to its end any more");
  }
}

TEST_F(PlaybackOnADevice, CyclesForWhichTheDiskIsLateAreTold) {
  for (const Deck::Kind kind : {Deck::Kind::direct, Deck::Kind::graph}) {
    const test::InstalledFake disk;
    disk->format.mSampleRate = 192000;  // so that what is read ahead does not last long
    disk->data.resize(std::size_t{4} * 150000);
    PlayRequest request = this->request("any.aiff", 0, kind);
    request.sampleRate = 192000;
    request.to = 150000;
    const Timer end = RunLoop::main().after(700ms, [&] { disk->set(&test::FakeFile::readsWait, false); });
    const std::string told = play(request, 1ms, [&] { disk->set(&test::FakeFile::readsWait, true); });
    EXPECT_NE(told.find(" cycles were silent because the disk was late"), std::string::npos) << told;
  }
}

}  // namespace orv::cli
