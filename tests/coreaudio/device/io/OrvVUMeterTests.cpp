#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <limits>
#include <vector>

#include "DeviceFixture.h"
#include "OrvCoreAudio/OrvVUMeterData.h"
#include "OrvCoreAudio/OrvVUMeterDataProvider.h"

namespace {

class OrvVUMeter : public DeviceFixture {
 protected:
  /// Hands the provider one cycle of input, and returns the peaks that were announced for it; none when none were.
  static std::vector<float> meter(OrvVUMeterDataProvider& provider, std::vector<float> samples,
                                  std::uint32_t channels) {
    const AudioBufferList input{
        1, {{channels, static_cast<std::uint32_t>(samples.size() * sizeof(float)), samples.data()}}};
    AudioTimeStamp time{};
    AudioBufferList none{0, {{0, 0, nullptr}}};
    const Listening listening;
    EXPECT_EQ(provider.audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
                  nullptr, &time, &input, &time, &none, &time, nullptr),
              0);
    pump();
    std::vector<float> peaks;
    for (const Listening::Heard& one : listening.heard) {
      if (const auto data = std::dynamic_pointer_cast<OrvVUMeterData>(one.object)) {
        for (std::uint32_t channel = 1; channel <= 8; ++channel) {
          peaks.push_back(data->floatValueForChannel(channel));
        }
      }
    }
    return peaks;
  }

  std::shared_ptr<OrvVUMeterDataProvider> running() {
    auto provider = OrvVUMeterDataProvider::initWithAudioDevice(device);
    provider->start();
    pump();
    return provider;
  }
};

using Peaks = std::unique_ptr<float, decltype(&std::free)>;

Peaks maxima(const std::vector<float>& samples, std::uint32_t channels, std::uint32_t length) {
  return {OrvVUMeterDataProvider::init()->findMaxValues_numChannels_length(samples.data(), channels, length),
          &std::free};
}

}  // namespace

TEST_F(OrvVUMeter, ARecordBeginsWithZeros) {
  const auto data = OrvVUMeterData::init();
  for (std::uint32_t channel = 0; channel <= 9; ++channel) {
    EXPECT_EQ(data->floatValueForChannel(channel), 0.0F);
  }
  EXPECT_EQ(data->scaler(), 0.0F);
  EXPECT_EQ(data->name(), "OrvVUMeterDataProviderNewDataIsAvailableNotification");
}

TEST_F(OrvVUMeter, ChannelsOfARecordCountFromOne) {
  const std::array<float, 2> values{0.25F, 0.5F};
  const auto data = OrvVUMeterData::initWithData_length(values.data(), 2);
  EXPECT_EQ(data->floatValueForChannel(1), 0.25F);
  EXPECT_EQ(data->floatValueForChannel(2), 0.5F);
  EXPECT_EQ(data->data()[0], 0.25F);
}

TEST_F(OrvVUMeter, AChannelZeroOrAboveEightReadsZero) {
  std::array<float, 12> values{};
  values.fill(1.0F);
  const auto data = OrvVUMeterData::initWithData_length(values.data(), 12);
  EXPECT_EQ(data->floatValueForChannel(8), 1.0F);
  EXPECT_EQ(data->floatValueForChannel(0), 0.0F);
  EXPECT_EQ(data->floatValueForChannel(9), 0.0F);
  EXPECT_EQ(data->floatValueForChannel(0xFFFFFFFF), 0.0F);
}

TEST_F(OrvVUMeter, TheScalerIsKeptOnlyWithData) {
  const float value = 1.0F;
  EXPECT_EQ(OrvVUMeterData::initWithData_length_scaler(&value, 1, 3.0F)->scaler(), 3.0F);
  EXPECT_EQ(OrvVUMeterData::initWithData_length_scaler(nullptr, 1, 3.0F)->scaler(), 0.0F);
}

TEST_F(OrvVUMeter, SettingFewerValuesLeavesTheOthers) {
  const std::array<float, 3> three{1.0F, 2.0F, 3.0F};
  const float one = 9.0F;
  const auto data = OrvVUMeterData::initWithData_length(three.data(), 3);
  data->setData_length(&one, 1);
  data->setData_length(nullptr, 8);
  EXPECT_EQ(data->floatValueForChannel(1), 9.0F);
  EXPECT_EQ(data->floatValueForChannel(2), 2.0F);
}

TEST_F(OrvVUMeter, TheLargestSampleOfEachChannelIsFound) {
  const auto peaks = maxima({0.1F, -0.9F, 0.5F, 0.3F, -0.7F, 0.2F}, 2, 24);
  EXPECT_EQ(peaks.get()[0], 0.5F);
  EXPECT_EQ(peaks.get()[1], 0.3F);
}

TEST_F(OrvVUMeter, AllNegativeInputGivesZero) {
  EXPECT_EQ(maxima({-0.1F, -0.9F, -0.5F, -0.3F}, 1, 16).get()[0], 0.0F);
}

TEST_F(OrvVUMeter, AnIncompleteLastFrameCounts) {
  const auto peaks = maxima({0.1F, 0.1F, 0.9F}, 2, 12);
  EXPECT_EQ(peaks.get()[0], 0.9F);
  EXPECT_EQ(peaks.get()[1], 0.1F);
}

TEST_F(OrvVUMeter, LengthsBelowOneSampleGiveZeros) {
  const auto peaks = maxima({0.5F}, 3, 3);
  EXPECT_EQ(peaks.get()[0], 0.0F);
  EXPECT_EQ(peaks.get()[2], 0.0F);
  EXPECT_EQ(maxima({0.5F}, 0, 4).get(), nullptr);
}

TEST_F(OrvVUMeter, EveryNumberOfChannelsIsScanned) {
  for (const std::uint32_t channels : {1U, 2U, 3U, 8U, 9U, 64U, 100U}) {
    std::vector<float> samples(std::size_t{channels} * 50);
    for (std::size_t i = 0; i < samples.size(); ++i) {
      samples[i] = i / channels == 37 ? static_cast<float>(i % channels) : -1.0F;
    }
    const auto peaks = maxima(samples, channels, static_cast<std::uint32_t>(samples.size() * sizeof(float)));
    for (std::uint32_t channel = 0; channel < channels; ++channel) {
      ASSERT_EQ(peaks.get()[channel], static_cast<float>(channel));
    }
  }
}

TEST_F(OrvVUMeter, NaNIsNoPeak) {
  EXPECT_EQ(maxima({std::numeric_limits<float>::quiet_NaN(), 0.25F}, 1, 8).get()[0], 0.25F);
}

TEST_F(OrvVUMeter, MoreThanEightChannelsMeterTheFirstEight) {
  const auto provider = running();
  std::vector<float> samples(24);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    samples[i] = static_cast<float>(i % 12 + 1);
  }
  EXPECT_EQ(meter(*provider, samples, 12), (std::vector<float>{1, 2, 3, 4, 5, 6, 7, 8}));
  provider->stop();
}

TEST_F(OrvVUMeter, AProviderThatIsNotRunningMetersNothing) {
  const auto provider = OrvVUMeterDataProvider::initWithAudioDevice(device);
  EXPECT_TRUE(meter(*provider, {1.0F}, 1).empty());
}

TEST_F(OrvVUMeter, AnEmptyOrMissingInputMetersNothing) {
  const auto provider = running();
  const Listening listening;
  AudioTimeStamp time{};
  AudioBufferList none{0, {{0, 0, nullptr}}};
  provider->audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
      nullptr, &time, nullptr, &time, &none, &time, nullptr);
  provider->audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
      nullptr, &time, &none, &time, &none, &time, nullptr);
  pump();
  EXPECT_TRUE(listening.heard.empty());
  EXPECT_EQ(meter(*provider, {}, 0), std::vector<float>(8));
  provider->stop();
}

TEST_F(OrvVUMeter, WithAnIntervalTheFirstCycleSendsAndThenEveryNth) {
  const auto provider = running();
  provider->setNotificationInterval(3);
  std::vector<bool> sent;
  for (int cycle = 0; cycle < 8; ++cycle) {
    sent.push_back(!meter(*provider, {0.5F}, 1).empty());
  }
  EXPECT_EQ(sent, (std::vector<bool>{true, false, false, true, false, false, true, false}));
  provider->stop();
}

TEST_F(OrvVUMeter, AnIntervalOfZeroCountsAsOne) {
  const auto provider = running();
  provider->setNotificationInterval(0);
  EXPECT_FALSE(meter(*provider, {0.5F}, 1).empty());
  EXPECT_FALSE(meter(*provider, {0.5F}, 1).empty());
  provider->stop();
}

TEST_F(OrvVUMeter, StartingStartsTheDeviceSubscribesAndTells) {
  const Listening listening;
  const auto provider = OrvVUMeterDataProvider::initWithAudioDevice(device);
  provider->start();
  provider->start();
  EXPECT_TRUE(hardware->isRunning());
  EXPECT_EQ(device->audioSubscribersForInput(true).size(), 1U);
  pump();
  ASSERT_EQ(listening.heard.size(), 1U);
  EXPECT_EQ(listening.heard[0].name, "OrvVUMeterDataProviderDidStartNotification");
  EXPECT_EQ(listening.heard[0].object, provider);
  provider->stop();
  provider->stop();
  EXPECT_FALSE(hardware->isRunning());
  EXPECT_EQ(device->audioSubscribersForInput(true).size(), 0U);
  pump();
  ASSERT_EQ(listening.heard.size(), 2U);
  EXPECT_EQ(listening.heard[1].name, "OrvVUMeterDataProviderDidStopNotification");
  EXPECT_EQ(listening.heard[1].object, provider);
}

TEST_F(OrvVUMeter, ARunningDeviceIsMeteredThroughItsCycles) {
  const auto provider = running();
  const Listening listening;
  hardware->input.fill(-0.25F);
  hardware->input[5] = 0.75F;
  hardware->cycle();
  pump();
  ASSERT_EQ(listening.heard.size(), 1U);
  const auto data = std::dynamic_pointer_cast<OrvVUMeterData>(listening.heard[0].object);
  ASSERT_NE(data, nullptr);
  EXPECT_EQ(data->floatValueForChannel(1), 0.0F);
  EXPECT_EQ(data->floatValueForChannel(2), 0.75F);
  provider->stop();
}

TEST_F(OrvVUMeter, EveryNotificationCarriesTheSameRecord) {
  const auto provider = running();
  const Listening listening;
  hardware->cycle();
  hardware->cycle();
  pump();
  ASSERT_EQ(listening.heard.size(), 2U);
  EXPECT_EQ(listening.heard[0].object, listening.heard[1].object);
  provider->stop();
}

TEST_F(OrvVUMeter, WithoutADeviceNothingStarts) {
  const auto provider = OrvVUMeterDataProvider::init();
  const Listening listening;
  provider->start();
  provider->stop();
  pump();
  EXPECT_TRUE(listening.heard.empty());
  EXPECT_EQ(provider->audioDevice(), nullptr);
}

TEST_F(OrvVUMeter, ChangingTheDeviceOfARunningProviderKeepsItRunning) {
  const auto provider = running();
  const auto other = OrvAudioDevice::initWithDeviceID(Hardware::kDevice);
  provider->setAudioDevice(other);
  EXPECT_EQ(provider->audioDevice(), other);
  EXPECT_EQ(device->audioSubscribersForInput(true).size(), 0U);
  EXPECT_EQ(other->audioSubscribersForInput(true).size(), 1U);
  provider->stop();
}

TEST_F(OrvVUMeter, ADeviceKeepsItsInputProviderAndIsNotKeptByIt) {
  auto mine = OrvAudioDevice::initWithDeviceID(Hardware::kDevice);
  EXPECT_EQ(mine->inputVUMeterDataProvider(), mine->inputVUMeterDataProvider());
  EXPECT_EQ(mine->inputVUMeterDataProvider()->audioDevice(), mine);
  const std::weak_ptr<OrvAudioDevice> observed = mine;
  mine = nullptr;
  EXPECT_TRUE(observed.expired());
}

TEST_F(OrvVUMeter, AProviderOfADeviceStartsAndStopsAsAnyOther) {
  const auto provider = device->inputVUMeterDataProvider();
  provider->start();
  EXPECT_TRUE(hardware->isRunning());
  provider->stop();
  EXPECT_FALSE(hardware->isRunning());
  EXPECT_EQ(provider->audioDevice(), device);
}

TEST_F(OrvVUMeter, TheClassHasADescription) {
  EXPECT_EQ(OrvVUMeterDataProvider::classDescription(), "OrvVUMeterDataProvider");
}
