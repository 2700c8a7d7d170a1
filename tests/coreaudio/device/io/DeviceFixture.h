#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "OrvCoreAudio/OrvAudioDevice.h"
#include "OrvPlatform/NotificationCenter.h"
#include "OrvPlatform/RunLoop.h"
#include "support/ScriptedHardware.h"

/// A device over hardware whose cycles the test makes.
class DeviceFixture : public testing::Test {
 protected:
  using Hardware = orv::test::ScriptedHardware;

  DeviceFixture() {
    orv::installAudioHardware(hardware);
    orv::waitForHardwareNotifications();
    device = OrvAudioDevice::initWithDeviceID(Hardware::kDevice);
    pump();
  }
  ~DeviceFixture() override {
    device = nullptr;
    pump();
    hardware->isThere = false;
    orv::waitForHardwareNotifications();
    orv::installAudioHardware(std::make_shared<Hardware>());
    orv::waitForHardwareNotifications();
    pump();
  }

  /// Does what waits for the main thread.
  static void pump() {
    while (orv::RunLoop::main().pump() > 0) {
    }
  }

  const std::shared_ptr<Hardware> hardware = std::make_shared<Hardware>();
  std::shared_ptr<OrvAudioDevice> device;
};

/// Counts its calls, and does what a test wants done in them.
class CountingSubscriber final : public OrvObject, public OrvCoreAudioIOSubscriber {
 public:
  int calls = 0;
  const AudioBufferList* input = nullptr;
  AudioBufferList* output = nullptr;
  OrvAudioDevice* device = nullptr;
  void* clientData = nullptr;
  double times[3] = {};
  std::function<void()> inCycle;
  std::vector<const CountingSubscriber*>* order = nullptr;

  OSStatus audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
      OrvAudioDevice* from, const AudioTimeStamp* now, const AudioBufferList* inputData,
      const AudioTimeStamp* inputTime, AudioBufferList* outputData, const AudioTimeStamp* outputTime,
      void* data) noexcept override {
    ++calls;
    device = from;
    input = inputData;
    output = outputData;
    clientData = data;
    times[0] = now->mSampleTime;
    times[1] = inputTime->mSampleTime;
    times[2] = outputTime->mSampleTime;
    if (order != nullptr) {
      order->push_back(this);  // room was made before
    }
    if (inCycle) {
      inCycle();
    }
    return 17;  // nobody looks at it
  }
};

/// Keeps what is posted to the default centre.
class Listening {
 public:
  struct Heard {
    std::string name;
    std::shared_ptr<orv::Object> object;
  };
  std::vector<Heard> heard;

  std::size_t count(const std::string& name) const {
    std::size_t all = 0;
    for (const Heard& one : heard) {
      all += one.name == name ? 1 : 0;
    }
    return all;
  }

 private:
  orv::Observation observation_ = orv::NotificationCenter::defaultCenter().addObserver(
      std::nullopt, nullptr, [this](const orv::Notification& told) {
        heard.push_back({told.name, told.object});
      });
};
