#include <gtest/gtest.h>

#include <functional>
#include <thread>
#include <vector>

#include "VirtualHardwareTestSupport.h"
#include "support/TemporaryDirectory.h"

namespace orv::test {
namespace {

class Concurrency : public testing::Test {
 protected:
  Concurrency() {
    VirtualHardwareOptions options;
    options.clock = VirtualClock::asFastAsItGoes;
    hardware_ = VirtualHardware::make(options);
    hardware_->setEvents(&events_);
  }

  static void onThreads(std::size_t count, const std::function<void(std::size_t index)>& work) {
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < count; ++i) {
      threads.emplace_back(work, i);
    }
    for (std::thread& thread : threads) {
      thread.join();
    }
  }

  RecordedEvents events_;
  std::shared_ptr<VirtualHardware> hardware_;
};

TEST_F(Concurrency, StartsAndStopsFromManyThreadsNeverLetCyclesOverlapOrOutliveAStop) {
  const AudioDeviceID device = hardware_->plug(simpleDevice("a"));
  CountingSink sink;
  onThreads(4, [&](std::size_t) {
    for (int i = 0; i < 50; ++i) {
      hardware_->start(device, &sink);
      hardware_->stop(device);
    }
  });
  const std::uint64_t cycles = sink.cycles();
  EXPECT_EQ(hardware_->stop(device), noErr);
  EXPECT_EQ(sink.cycles(), cycles);
  EXPECT_FALSE(sink.overlapped());
}

TEST_F(Concurrency, AStopInACycleBesideAStopFromOutsideDoesNotDeadlock) {
  AudioDeviceID device = 0;
  CountingSink sink([&] { hardware_->stop(device); });
  device = hardware_->plug(simpleDevice("a"));
  for (int i = 0; i < 100; ++i) {
    hardware_->start(device, &sink);
    hardware_->stop(device);
  }
  EXPECT_FALSE(sink.overlapped());
}

TEST_F(Concurrency, TwoDevicesThatStopEachOtherInTheirCyclesDoNotDeadlock) {
  AudioDeviceID a = 0;
  AudioDeviceID b = 0;
  CountingSink first([&] { hardware_->stop(b); });
  CountingSink second([&] { hardware_->stop(a); });
  a = hardware_->plug(simpleDevice("a"));
  b = hardware_->plug(simpleDevice("b"));
  for (int i = 0; i < 50; ++i) {
    hardware_->start(a, &first);
    hardware_->start(b, &second);
    first.waitForCycles(static_cast<std::uint64_t>(i) / 50);
  }
  hardware_->stop(a);
  hardware_->stop(b);
  EXPECT_FALSE(first.overlapped());
}

TEST_F(Concurrency, PropertiesChangeAndAreReadWhileCyclesGoOn) {
  VirtualDevice described = simpleDevice("a");
  described.source.kind = VirtualInput::Kind::tone;
  described.hasPlayThru = true;
  const AudioDeviceID device = hardware_->plug(described);
  CountingSink sink;
  ASSERT_EQ(hardware_->start(device, &sink), noErr);
  onThreads(3, [&](std::size_t index) {
    for (std::uint32_t i = 0; i < 100; ++i) {
      const auto channel = static_cast<std::uint32_t>(index);
      setDeviceValue(*hardware_, device, true, kAudioDevicePropertyVolumeScalar, 0.01F * static_cast<float>(i),
                     channel);
      setDeviceValue(*hardware_, device, true, kAudioDevicePropertyPlayThru, i % 2, 1);
      setDeviceValue(*hardware_, device, true, kAudioDevicePropertyBufferFrameSize, 64 + i);
      deviceValue<double>(*hardware_, device, true, kAudioDevicePropertyActualSampleRate);
      hardware_->setDrift(device, i);
      hardware_->overload(device);
      hardware_->cycles(device);
    }
  });
  EXPECT_EQ(hardware_->stop(device), noErr);
}

TEST_F(Concurrency, PropertiesMayBeSetInACycleWhileTheDeviceIsStopped) {
  AudioDeviceID device = 0;
  CountingSink sink([&] {
    setDeviceValue(*hardware_, device, true, kAudioDevicePropertyBufferFrameSize, 32U);
    setDeviceValue(*hardware_, device, true, kAudioDevicePropertyBufferFrameSize, 64U);
  });
  device = hardware_->plug(simpleDevice("a"));
  for (int i = 0; i < 30; ++i) {
    hardware_->start(device, &sink);
    hardware_->stop(device);
  }
}

TEST_F(Concurrency, DevicesArePluggedAndUnpluggedInTheMiddleOfCyclesAndOfReads) {
  CountingSink sinks[3];
  onThreads(3, [&](std::size_t index) {
    const std::string uid = std::to_string(index);
    for (int i = 0; i < 30; ++i) {
      VirtualDevice described = simpleDevice(uid);
      described.source.kind = VirtualInput::Kind::loopback;
      described.source.loopbackUID = std::to_string((index + 1) % 3);
      const AudioDeviceID device = hardware_->plug(described);
      EXPECT_EQ(hardware_->start(device, &sinks[index]), noErr);
      hardware_->deviceForUID(std::to_string((index + 2) % 3));
      hardwareDevice(*hardware_, kAudioHardwarePropertyDefaultInputDevice);
      EXPECT_TRUE(hardware_->unplug(device));
    }
  });
  for (const CountingSink& sink : sinks) {
    EXPECT_FALSE(sink.overlapped());
  }
}

TEST_F(Concurrency, UnplugInTheDevicesOwnCycleAndDestructionWhileDevicesRun) {
  for (int i = 0; i < 20; ++i) {
    VirtualHardwareOptions options;
    options.clock = VirtualClock::asFastAsItGoes;
    auto hardware = VirtualHardware::make(options);
    AudioDeviceID device = 0;
    VirtualHardware* const plain = hardware.get();
    CountingSink leaving([&] { plain->unplug(device); });
    CountingSink staying;
    device = hardware->plug(simpleDevice("a"));
    const AudioDeviceID other = hardware->plug(simpleDevice("b"));
    EXPECT_EQ(hardware->start(device, &leaving), noErr);
    EXPECT_EQ(hardware->start(other, &staying), noErr);
    leaving.waitForCycles(1);
    hardware = nullptr;
    EXPECT_EQ(leaving.cycles(), 1U);
  }
}

TEST_F(Concurrency, InputsAndOutputsAreExchangedWhileCyclesGoOn) {
  const TemporaryDirectory folder;
  writeAudioFile(folder / "in.wav", 16, 2, 20000);
  const AudioDeviceID device = hardware_->plug(simpleDevice("a"));
  CountingSink sink;
  ASSERT_EQ(hardware_->start(device, &sink), noErr);
  onThreads(2, [&](std::size_t index) {
    for (int i = 0; i < 15; ++i) {
      std::string problem;
      if (index == 0) {
        VirtualInput input;
        input.kind = i % 2 == 0 ? VirtualInput::Kind::files : VirtualInput::Kind::tone;
        input.files = {folder / "in.wav"};
        EXPECT_TRUE(hardware_->setInput(device, input, &problem)) << problem;
        hardware_->inputIsAtEnd(device);
      } else {
        EXPECT_TRUE(hardware_->setOutput(device, {folder / ("out" + std::to_string(i) + ".wav")}, &problem)) << problem;
      }
      hardware_->setNominalSampleRate(device, i % 2 == 0 ? 88200.0 : 44100.0);
    }
  });
  EXPECT_EQ(hardware_->stop(device), noErr);
}

TEST_F(Concurrency, TwoThreadsThatStepByHandDoNotOverlap) {
  const auto hardware = handHardware();
  const AudioDeviceID device = hardware->plug(simpleDevice("a"));
  CountingSink sink;
  ASSERT_EQ(hardware->start(device, &sink), noErr);
  onThreads(3, [&](std::size_t index) {
    if (index < 2) {
      hardware->step(300);
    } else {
      hardware->stop(device);
      hardware->start(device, &sink);
    }
  });
  EXPECT_FALSE(sink.overlapped());
  EXPECT_EQ(hardware->cycles(device), sink.cycles());
}

}  // namespace
}  // namespace orv::test
