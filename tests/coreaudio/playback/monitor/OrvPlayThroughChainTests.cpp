// What happens to a block between the devices.
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <utility>
#include <vector>

#include "MonitorFixture.h"
#include "support/RealTimeInterposer.h"

namespace {

class Chain : public PlayThrough {
 protected:
  static constexpr float kGain = 0.5F;

  void startWith(bool hasProcessor, bool hasVolume) {
    connect();
    if (hasProcessor) {
      handler->setAudioProcessor(processor);
    }
    if (hasVolume) {
      volume->setVolumeScalar(kGain);
      handler->setVolumeControl(volume);
    }
    handler->start();
  }

  /// A microphone at another rate: blocks go through a converter.
  void useRates(double heard, double played) {
    for (const AudioDeviceID id : {kMicrophone, kSpeaker}) {
      hardware->at(id).frames = 512;
    }
    hardware->at(kMicrophone).rate = heard;
    hardware->at(kSpeaker).rate = played;
  }

  /// The largest sample of the tenth block of a constant input.
  float levelHeard(float level) {
    hardware->at(kMicrophone).input.assign(1024, level);
    for (int i = 0; i < 10; ++i) {
      hardware->cycle(kMicrophone);
      play();
    }
    return hardware->at(kSpeaker).output[400];
  }

  std::vector<float> oneBlock() {
    hear(2);
    return play();
  }

  const std::shared_ptr<AddingProcessor> processor = std::make_shared<AddingProcessor>(10.0F);
  const std::shared_ptr<OrvSoftwareVolumeControl> volume = OrvSoftwareVolumeControl::init();
};

}  // namespace

TEST_F(Chain, TheVolumeIsAppliedAlone) {
  startWith(false, true);
  EXPECT_EQ(oneBlock()[0], 1.0F);
}

TEST_F(Chain, TheProcessorIsAppliedAlone) {
  startWith(true, false);
  EXPECT_EQ(oneBlock()[0], 12.0F);
  EXPECT_EQ(processor->channels, 2U);
}

TEST_F(Chain, TheProcessorComesBeforeTheVolume) {
  startWith(true, true);
  EXPECT_EQ(oneBlock()[0], 6.0F);
}

TEST_F(Chain, AVolumeThatIsSetWhileItRunsTakesEffectWithTheNextBlock) {
  startWith(false, false);
  EXPECT_EQ(oneBlock()[0], 2.0F);
  handler->setVolumeControl(volume);
  handler->setVolumeScalar(0.25F);
  EXPECT_EQ(oneBlock()[0], 0.5F);
  handler->setVolumeDecibels(0.0F);
  EXPECT_EQ(oneBlock()[0], 2.0F);
  handler->setVolumeControl(nullptr);
  handler->setVolumeScalar(9.0F);
  EXPECT_EQ(oneBlock()[0], 2.0F);
}

TEST_F(Chain, StoppingResetsTheProcessor) {
  startWith(true, false);
  EXPECT_EQ(processor->resets, 0);
  handler->stop();
  EXPECT_EQ(processor->resets, 1);
}

TEST_F(Chain, AProcessorThatFailsMakesSilence) {
  startWith(true, true);
  processor->fails = true;
  EXPECT_EQ(oneBlock(), std::vector<float>(32));
}

TEST_F(Chain, FramesThatAProcessorDidNotMakeAreSilence) {
  startWith(true, false);
  processor->mostFrames = 1;
  const auto heard = oneBlock();
  EXPECT_EQ(heard[0], 12.0F);
  EXPECT_EQ(std::vector<float>(heard.begin() + 2, heard.end()), std::vector<float>(30));
}

TEST_F(Chain, ALongerInputBlockIsCut) {
  hardware->at(kMicrophone).frames = 32;
  startWith(false, false);
  hear(1);
  EXPECT_EQ(play(), ramp(32, 1));
  EXPECT_EQ(play(), std::vector<float>(32));
}

TEST_F(Chain, AShorterInputBlockEndsInSilence) {
  hardware->at(kMicrophone).frames = 32;
  startWith(true, true);
  hear(1);  // leaves its traces in the buffers
  play();
  hardware->at(kMicrophone).frames = 8;
  hardware->at(kSpeaker).frames = 32;
  handler->setAudioProcessor(nullptr);
  hear(2);
  auto expected = ramp(16, 2);
  for (float& sample : expected) {
    sample *= kGain;
  }
  expected.resize(64);
  EXPECT_EQ(play(), expected);
}

TEST_F(Chain, ChannelsOfDevicesOfOneRateAreNotRemapped) {
  hardware->at(kMicrophone).inputChannels = 1;
  startWith(false, false);
  hear(1);
  auto expected = ramp(16, 1);
  expected.resize(32);
  EXPECT_EQ(play(), expected);
}

TEST_F(Chain, ChannelsOfDevicesOfOneRateAreMappedWhereThatIsAskedFor) {
  hardware->at(kMicrophone).inputChannels = 1;
  handler->setMapsChannels(true);
  startWith(false, false);
  const auto heard = hear(1);
  std::vector<float> expected;
  for (const float sample : heard) {
    expected.insert(expected.end(), 2, sample);
  }
  EXPECT_EQ(play(), expected);  // bit for bit, and of the same length
}

TEST_F(Chain, DevicesOfOneRateAndAsManyChannelsNeedNoMapping) {
  handler->setMapsChannels(true);
  startWith(false, false);
  const auto heard = hear(1);
  EXPECT_EQ(play(), heard);
}

TEST_F(Chain, ABlockBeyondWhatTheDeviceAnnouncedIsSilenceUntilThereIsRoom) {
  startWith(false, false);
  hardware->at(kMicrophone).frames = 100000;
  hardware->at(kSpeaker).frames = 100000;
  hear(1);
  EXPECT_EQ(play(), std::vector<float>(200000));
  pump();
  hear(1);
  EXPECT_EQ(play(), ramp(200000, 1));
}

TEST_F(Chain, BuffersWithoutDataOrChannelsAreLeftAlone) {
  startWith(true, true);
  const AudioTimeStamp time{};
  AudioBufferList noData{1, {{2, 64, nullptr}}};
  std::vector<float> samples(4, 1.0F);
  AudioBufferList noChannels{1, {{0, 16, samples.data()}}};
  AudioBufferList none{0, {{0, 0, nullptr}}};
  for (AudioBufferList* const list : {&noData, &none, static_cast<AudioBufferList*>(nullptr), &noChannels}) {
    for (const auto& device : {microphone, speaker}) {
      handler->audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
          device.get(), &time, list, &time, list, &time, nullptr);
    }
  }
  EXPECT_EQ(samples, std::vector<float>(4));  // silence, as there is nothing that could be played
}

TEST_F(Chain, DifferentRatesGoThroughAConverter) {
  useRates(48000, 44100);
  startWith(false, false);
  EXPECT_NEAR(levelHeard(0.5F), 0.5F, 1e-3F);
  // A block of the input is too short for the output at this pair of rates.
  EXPECT_EQ(hardware->at(kSpeaker).output[1023], 0.0F);
}

TEST_F(Chain, AConverterIsFollowedByProcessorAndVolume) {
  useRates(44100, 48000);
  startWith(true, true);
  EXPECT_NEAR(levelHeard(0.5F), (0.5F + 10.0F) * kGain, 1e-3F);
}

TEST_F(Chain, AConverterIsFollowedByTheVolumeAlone) {
  useRates(96000, 48000);
  startWith(false, true);
  EXPECT_NEAR(levelHeard(0.5F), 0.25F, 1e-3F);
}

TEST_F(Chain, AConverterIsFollowedByTheProcessorAlone) {
  useRates(44100, 96000);
  startWith(true, false);
  EXPECT_NEAR(levelHeard(0.5F), 10.5F, 1e-3F);
}

TEST_F(Chain, AConverterMapsChannels) {
  useRates(44100, 48000);
  hardware->at(kMicrophone).inputChannels = 1;
  startWith(false, false);
  hardware->at(kMicrophone).input.assign(512, 0.5F);
  for (int i = 0; i < 10; ++i) {
    hardware->cycle(kMicrophone);
    play();
  }
  EXPECT_NEAR(hardware->at(kSpeaker).output[100], 0.5F, 1e-3F);
  EXPECT_NEAR(hardware->at(kSpeaker).output[101], 0.5F, 1e-3F);
}

TEST_F(Chain, RatesThatDifferByLessThanAHertzNeedNoConverter) {
  useRates(44100, 44100.4);
  startWith(false, false);
  const auto heard = hear(1);
  EXPECT_EQ(play(), heard);  // bit for bit
}

TEST_F(Chain, AConverterStaysWhenTheNextOutputHasTheRateOfTheInput) {
  useRates(96000, 48000);
  startWith(false, false);
  handler->stop();
  hardware->at(kDuplex).rate = 96000;
  hardware->at(kDuplex).frames = 512;
  handler->setAudioDevice_isInput(deviceOf(kDuplex), false);
  handler->start();
  hardware->at(kMicrophone).input.assign(1024, 0.5F);
  for (int i = 0; i < 10; ++i) {
    hardware->cycle(kMicrophone);
    hardware->cycle(kDuplex);
  }
  // Half as many frames come out of it.
  EXPECT_NEAR(hardware->at(kDuplex).output[400], 0.5F, 1e-3F);
  EXPECT_EQ(hardware->at(kDuplex).output[600], 0.0F);
}

TEST_F(Chain, TakingADeviceOutForgetsTheConverter) {
  useRates(96000, 48000);
  startWith(false, false);
  handler->stop();
  hardware->at(kDuplex).rate = 96000;
  hardware->at(kDuplex).frames = 512;
  handler->setAudioDevice_isInput(nullptr, false);
  handler->setAudioDevice_isInput(deviceOf(kDuplex), false);
  handler->start();
  const auto heard = hear(1);
  EXPECT_EQ(hardware->cycle(kDuplex), heard);
}

TEST_F(Chain, RatesOfZeroAreNoReasonToConvert) {
  useRates(0, 0);
  startWith(false, false);
  const auto heard = hear(1);
  EXPECT_EQ(play(), heard);
  handler->stop();
  hardware->at(kDuplex).frames = 512;
  handler->setAudioDevice_isInput(deviceOf(kDuplex), false);  // 48000 Hz: nothing converts from 0
  handler->start();
  hear(1);
  EXPECT_EQ(hardware->cycle(kDuplex), hardware->at(kMicrophone).input);
}

TEST_F(Chain, ConversionNeverAllocatesInACycle) {
  for (const auto& [from, to] : {std::pair(48000.0, 44100.0), std::pair(44100.0, 48000.0), std::pair(44100.0, 192000.0),
                                 std::pair(192000.0, 44100.0)}) {
    useRates(from, to);
    handler->setAudioDevice_isInput(nullptr, false);
    startWith(false, false);
    for (int i = 0; i < 300; ++i) {  // REAL_TIME looks on
      hardware->cycle(kMicrophone);
      play();
    }
    handler->stop();
  }
  EXPECT_EQ(orv::test::realTimeViolations(), 0U);
}
