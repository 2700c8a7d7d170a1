// Output that is pulled from a delegate.
#include <OrvCoreAudio/OrvAudioConverter.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "support/LogCapture.h"

using orv::test::LogCapture;
using Format = OrvAudioStreamBasicDescription;

namespace {

std::shared_ptr<Format> linear(double rate, std::uint32_t channels, std::uint32_t bits, std::uint32_t flags) {
  const std::uint32_t frameBytes = channels * bits / 8;
  const AudioStreamBasicDescription record = {
      rate, kAudioFormatLinearPCM, flags | kAudioFormatFlagIsPacked, frameBytes, 1, frameBytes, channels, bits, 0};
  return Format::initWithAudioStreamBasicDescription(&record);
}

std::shared_ptr<Format> floats(double rate, std::uint32_t channels) {
  return linear(rate, channels, 32, kAudioFormatFlagIsFloat);
}

std::shared_ptr<Format> integers(double rate, std::uint32_t channels, std::uint32_t bits) {
  return linear(rate, channels, bits, kAudioFormatFlagIsSignedInteger);
}

/// Supplies bytes in packets until they run out.
class Delegate final : public OrvObject, public OrvAudioConverterDelegate {
 public:
  template <class Sample>
  Delegate(const std::vector<Sample>& samples, std::uint32_t packetBytes)
      : bytes_(samples.size() * sizeof(Sample)), packetBytes_(packetBytes) {
    if (!bytes_.empty()) {
      std::memcpy(bytes_.data(), samples.data(), bytes_.size());
    }
  }

  OSStatus audioConverterCallback_data_packetDescription(std::uint32_t* numPackets, AudioBufferList* data,
                                                         AudioStreamPacketDescription** descriptions) override {
    EXPECT_EQ(descriptions, nullptr);
    if (throws) {
      throw std::runtime_error("the tape tore");
    }
    asked.push_back(*numPackets);
    const auto there = static_cast<std::uint32_t>((bytes_.size() - next_) / packetBytes_);
    *numPackets = std::min(*numPackets, there);
    if (there == 0) {
      data->mBuffers[0].mDataByteSize = 0;
      return statusAtEnd;
    }
    const std::size_t size = std::size_t{*numPackets} * packetBytes_;
    if (fillsTheBuffer) {  // and leaves its size alone
      std::memcpy(data->mBuffers[0].mData, bytes_.data() + next_, size);
    } else {
      data->mBuffers[0].mData = bytes_.data() + next_;
      data->mBuffers[0].mDataByteSize = static_cast<std::uint32_t>(size);
    }
    next_ += size;
    return noErr;
  }

  std::vector<std::uint32_t> asked;
  OSStatus statusAtEnd = kEndOfFileStatus;
  bool fillsTheBuffer = false;
  bool throws = false;

 private:
  std::vector<std::byte> bytes_;
  std::uint32_t packetBytes_;
  std::size_t next_ = 0;
};

template <class Sample>
struct Filled {
  OSStatus status = noErr;
  std::vector<Sample> samples;
  std::uint32_t audioFrames = 0;
};

template <class Sample>
Filled<Sample> fill(OrvAudioConverter& converter, std::uint32_t frames, std::uint32_t channels) {
  Filled<Sample> filled;
  filled.samples.assign(std::size_t{frames} * channels, Sample(99));
  const auto bytes = static_cast<std::uint32_t>(filled.samples.size() * sizeof(Sample));
  AudioBufferList list{1, {{channels, bytes, filled.samples.data()}}};
  std::uint32_t count = frames;
  filled.status = converter.fillComplexBuffer_buffer_packetDescription(&count, &list, nullptr);
  filled.audioFrames = converter.framesFilled();
  EXPECT_EQ(count, frames);
  EXPECT_EQ(list.mBuffers[0].mDataByteSize, bytes);
  return filled;
}

std::vector<std::int16_t> counting(std::size_t count) {
  std::vector<std::int16_t> samples(count);
  for (std::size_t i = 0; i < count; ++i) {
    samples[i] = static_cast<std::int16_t>(i * 7 + 1);
  }
  return samples;
}

std::shared_ptr<OrvAudioConverter> converterFor(const std::shared_ptr<OrvObject>& delegate,
                                                const std::shared_ptr<Format>& from,
                                                const std::shared_ptr<Format>& to) {
  return OrvAudioConverter::initWithDelegate_sourceFormat_destinationFormat(delegate, from, to);
}

}  // namespace

TEST(OrvAudioConverterPull, DeliversExactlyTheFramesAskedFor) {
  const auto delegate = std::make_shared<Delegate>(counting(2000), 4);
  const auto converter = converterFor(delegate, integers(44100, 2, 16), integers(44100, 2, 16));
  const auto first = fill<std::int16_t>(*converter, 300, 2);
  EXPECT_EQ(first.status, noErr);
  EXPECT_EQ(first.audioFrames, 300U);
  EXPECT_EQ(first.samples, counting(600));
  const auto second = fill<std::int16_t>(*converter, 100, 2);
  EXPECT_EQ(second.samples[0], counting(601)[600]);
  EXPECT_EQ(delegate->asked, (std::vector<std::uint32_t>{300, 100}));
}

TEST(OrvAudioConverterPull, TheDelegateIsAskedFor8192FramesAtMost) {
  const auto delegate = std::make_shared<Delegate>(std::vector<std::int16_t>(60000, 1), 2);
  const auto converter = converterFor(delegate, integers(44100, 1, 16), integers(44100, 1, 16));
  EXPECT_EQ(fill<std::int16_t>(*converter, 50000, 1).samples, std::vector<std::int16_t>(50000, 1));
  EXPECT_EQ(*std::max_element(delegate->asked.begin(), delegate->asked.end()), 8192U);
}

TEST(OrvAudioConverterPull, TheEndIsPassedOnBehindWhatWasThereAndSilence) {
  const auto delegate = std::make_shared<Delegate>(counting(10), 2);
  const auto converter = converterFor(delegate, integers(44100, 1, 16), integers(44100, 1, 16));
  const auto filled = fill<std::int16_t>(*converter, 15, 1);
  EXPECT_EQ(filled.status, kEndOfFileStatus);
  EXPECT_EQ(filled.audioFrames, 10U);
  std::vector<std::int16_t> expected = counting(10);
  expected.resize(15, 0);
  EXPECT_EQ(filled.samples, expected);
  const auto after = fill<std::int16_t>(*converter, 5, 1);
  EXPECT_EQ(after.status, kEndOfFileStatus);
  EXPECT_EQ(after.audioFrames, 0U);
}

TEST(OrvAudioConverterPull, OtherStatusesOfTheDelegateArePassedOn) {
  const auto delegate = std::make_shared<Delegate>(counting(10), 2);
  delegate->statusAtEnd = orv::statusCC("abcd");
  const auto converter = converterFor(delegate, integers(44100, 1, 16), integers(44100, 1, 16));
  const auto filled = fill<std::int16_t>(*converter, 15, 1);
  EXPECT_EQ(filled.status, orv::statusCC("abcd"));
  EXPECT_EQ(filled.audioFrames, 10U);
}

TEST(OrvAudioConverterPull, TheResamplersTailIsDelivered) {
  for (const auto& [from, to] : {std::pair{44100.0, 48000.0}, {48000.0, 44100.0}, {44100.0, 22050.0}}) {
    const auto delegate = std::make_shared<Delegate>(std::vector<float>(20000, 0.5F), 8);
    const auto converter = converterFor(delegate, floats(from, 2), floats(to, 2));
    std::uint64_t frames = 0;
    Filled<float> filled;
    do {
      filled = fill<float>(*converter, 700, 2);
      frames += filled.audioFrames;
    } while (filled.status == noErr);
    EXPECT_EQ(filled.status, kEndOfFileStatus);
    EXPECT_NEAR(static_cast<double>(frames), 10000 * to / from, 1.0);
  }
}

TEST(OrvAudioConverterPull, EveryChannelAndEveryBitArrives) {
  const std::vector<std::int32_t> samples = {0x12345678, -0x12345678, 0x7FFFFFFF, INT32_MIN, 1, -1};
  const auto delegate = std::make_shared<Delegate>(samples, 24);
  const auto converter = converterFor(delegate, integers(96000, 6, 32), integers(96000, 6, 32));
  EXPECT_EQ(fill<std::int32_t>(*converter, 1, 6).samples, samples);
}

TEST(OrvAudioConverterPull, ChannelsAreConvertedOnceFromSourceToDestination) {
  const auto delegate = std::make_shared<Delegate>(std::vector<float>{0.5F, 0.25F}, 8);
  const auto toMono = converterFor(delegate, floats(44100, 2), floats(44100, 1));
  EXPECT_EQ(fill<float>(*toMono, 1, 1).samples, std::vector<float>{0.375F});
}

TEST(OrvAudioConverterPull, ADelegateMayFillTheBufferItIsGiven) {
  const auto delegate = std::make_shared<Delegate>(counting(100), 4);
  delegate->fillsTheBuffer = true;
  const auto converter = converterFor(delegate, integers(44100, 2, 16), integers(44100, 2, 16));
  const auto filled = fill<std::int16_t>(*converter, 60, 2);
  EXPECT_EQ(filled.status, kEndOfFileStatus);
  EXPECT_EQ(filled.audioFrames, 50U);
  EXPECT_TRUE(std::equal(filled.samples.begin(), filled.samples.begin() + 100, counting(100).begin()));
}

TEST(OrvAudioConverterPull, WithoutADelegateThereIsSilence) {
  class Mute final : public OrvObject {};
  const std::array<std::shared_ptr<OrvObject>, 2> delegates = {nullptr, std::make_shared<Mute>()};
  for (const std::shared_ptr<OrvObject>& delegate : delegates) {
    const auto converter = converterFor(delegate, floats(44100, 1), floats(44100, 1));
    const auto filled = fill<float>(*converter, 4, 1);
    EXPECT_EQ(filled.status, noErr);
    EXPECT_EQ(filled.audioFrames, 0U);
    EXPECT_EQ(filled.samples, std::vector<float>(4, 0.0F));
    std::uint32_t packets = 7;
    EXPECT_EQ(converter->audioConverterCallback_data_packetDescription(&packets, nullptr, nullptr), noErr);
    EXPECT_EQ(packets, 7U);
  }
}

TEST(OrvAudioConverterPull, TheDelegateLivesAsLongAsTheConverter) {
  auto delegate = std::make_shared<Delegate>(counting(10), 2);
  const std::weak_ptr<Delegate> observer = delegate;
  auto converter = converterFor(delegate, integers(44100, 1, 16), integers(44100, 1, 16));
  delegate.reset();
  EXPECT_FALSE(observer.expired());
  converter.reset();
  EXPECT_TRUE(observer.expired());
}

TEST(OrvAudioConverterPull, TheConverterPassesTheQuestionOnToItsDelegate) {
  const auto delegate = std::make_shared<Delegate>(counting(10), 2);
  const auto converter = converterFor(delegate, integers(44100, 1, 16), integers(44100, 1, 16));
  AudioBufferList list{1, {{1, 0, nullptr}}};
  std::uint32_t packets = 4;
  EXPECT_EQ(converter->audioConverterCallback_data_packetDescription(&packets, &list, nullptr), noErr);
  EXPECT_EQ(packets, 4U);
  EXPECT_EQ(list.mBuffers[0].mDataByteSize, 8U);
}

TEST(OrvAudioConverterPull, FramesAreAskedForInPackets) {
  const AudioStreamBasicDescription ima4 = {44100, kAudioFormatIMA4, 0, 34, 64, 0, 1, 0, 0};
  const auto delegate = std::make_shared<Delegate>(std::vector<char>(34 * 10, '\0'), 34);
  const auto converter =
      converterFor(delegate, Format::initWithAudioStreamBasicDescription(&ima4), integers(44100, 1, 16));
  EXPECT_EQ(fill<std::int16_t>(*converter, 100, 1).status, noErr);
  EXPECT_EQ(delegate->asked, std::vector<std::uint32_t>{2});
}

TEST(OrvAudioConverterPull, APacketOfNoFramesCountsAsOneFrame) {
  const auto delegate = std::make_shared<Delegate>(counting(10), 2);
  const auto source = integers(44100, 1, 16);
  source->setFramesPerPacket(0);
  const auto converter = converterFor(delegate, source, integers(44100, 1, 16));
  EXPECT_EQ(fill<std::int16_t>(*converter, 4, 1).samples, counting(4));
  EXPECT_EQ(delegate->asked, std::vector<std::uint32_t>{4});
}

TEST(OrvAudioConverterPull, AListWithoutRoomIsRefused) {
  const auto delegate = std::make_shared<Delegate>(counting(10), 2);
  const auto converter = converterFor(delegate, integers(44100, 1, 16), integers(44100, 1, 16));
  std::array<std::int16_t, 4> out{};
  std::uint32_t frames = 4;
  for (const AudioBufferList& refused :
       {AudioBufferList{1, {{1, 7, out.data()}}}, AudioBufferList{1, {{1, 8, nullptr}}},
        AudioBufferList{0, {{1, 8, out.data()}}}}) {
    AudioBufferList list = refused;
    EXPECT_EQ(converter->fillComplexBuffer_buffer_packetDescription(&frames, &list, nullptr),
              kAudioUnitErr_InvalidParameter);
  }
  EXPECT_EQ(converter->fillComplexBuffer_buffer_packetDescription(&frames, nullptr, nullptr),
            kAudioUnitErr_InvalidParameter);
  EXPECT_TRUE(delegate->asked.empty());
}

TEST(OrvAudioConverterPull, WhatADelegateThrowsBecomesAStatusAndALine) {
  const LogCapture log;
  const auto delegate = std::make_shared<Delegate>(counting(10), 2);
  delegate->throws = true;
  const auto converter = converterFor(delegate, integers(44100, 1, 16), integers(44100, 1, 16));
  const auto filled = fill<std::int16_t>(*converter, 4, 1);
  EXPECT_EQ(filled.status, kAudioUnitErr_OperationNotSupported);
  EXPECT_EQ(filled.audioFrames, 0U);
  EXPECT_EQ(log.lines(), std::vector<std::string>{"AudioUnitRender: the tape tore"});
}

TEST(OrvAudioConverterPull, TheInputUnitRendersTheSourceInTheInternalFormat) {
  const auto delegate = std::make_shared<Delegate>(std::vector<std::int16_t>{16384, -8192}, 2);
  const auto converter = converterFor(delegate, integers(8000, 1, 16), integers(44100, 1, 16));
  std::array<float, 2> out{};
  AudioBufferList list{1, {{1, 8, out.data()}}};
  const AudioTimeStamp now{};
  EXPECT_EQ(converter->render_numberFrames_ioData(&now, 2, &list), noErr);
  EXPECT_EQ(out, (std::array<float, 2>{0.5F, -0.25F}));
}

TEST(OrvAudioConverterPull, TheQualityIsSetForBothWaysAndTheCookieLeavesThePullAlone) {
  const auto converter = converterFor(nullptr, floats(44100, 1), floats(48000, 1));
  converter->setSampleRateConverterQuality(kAudioConverterQuality_Max);
  EXPECT_EQ(converter->sampleRateConverterQuality(), kAudioConverterQuality_Max);
  converter->setMagicCookie_length("cookie", 6);
  EXPECT_EQ(converter->sampleRateConverterQuality(), 0U);
}

namespace {

/// Units that refuse everything.
class RefusingUnit final : public orv::RenderUnit {
 public:
  OSStatus initialize() override { return 7; }
  OSStatus uninitialize() override { return 7; }
  OSStatus property(AudioUnitPropertyID, AudioUnitScope, AudioUnitElement, void*, std::uint32_t*) override { return 7; }
  OSStatus setProperty(AudioUnitPropertyID, AudioUnitScope, AudioUnitElement, const void*, std::uint32_t) override {
    return 7;
  }
  OSStatus connect(AudioUnitElement, orv::RenderUnit*, std::uint32_t) override { return 7; }
  OSStatus render(AudioUnitRenderActionFlags*, const AudioTimeStamp&, std::uint32_t, std::uint32_t,
                  AudioBufferList*) override {
    return 7;
  }
};

class RefusingUnits final : public orv::AudioUnitService {
 public:
  std::vector<ComponentDescription> components() const override { return {{0, 0, 0, 0, 0}}; }
  OSStatus make(std::size_t, std::unique_ptr<orv::RenderUnit>* unit) override {
    *unit = std::make_unique<RefusingUnit>();
    return noErr;
  }
};

/// Units of the kinds that are asked for, which refuse everything.
class RefusingUnitsOfEveryKind final : public orv::AudioUnitService {
 public:
  std::vector<ComponentDescription> components() const override {
    return {{kAudioUnitType_FormatConverter, kAudioUnitSubType_Converter, kAudioUnitManufacturer, 0, 0},
            {kAudioUnitType_Output, kAudioUnitSubType_DefaultOutput, kAudioUnitManufacturer, 0, 0}};
  }
  OSStatus make(std::size_t, std::unique_ptr<orv::RenderUnit>* unit) override {
    *unit = std::make_unique<RefusingUnit>();
    return noErr;
  }
};

class InstalledUnits {
 public:
  explicit InstalledUnits(std::shared_ptr<orv::AudioUnitService> service) {
    orv::installAudioUnitService(std::move(service));
  }
  InstalledUnits(const InstalledUnits&) = delete;
  InstalledUnits& operator=(const InstalledUnits&) = delete;
  ~InstalledUnits() { orv::installAudioUnitService(nullptr); }
};

std::string lines(std::initializer_list<std::pair<OSStatus, int>> failures) {
  std::string text;
  for (const auto& [status, line] : failures) {
    text += orv::formatText("Tarnwick Error: %ld ->  coreaudio/src/OrvAudioConverter:  %d\n", static_cast<long>(status),
                            line);
  }
  return text;
}

}  // namespace

TEST(OrvAudioConverterPull, EachStepOfTheGraphThatFailsIsToldAndDoesNotStopTheConstruction) {
  const InstalledUnits units(std::make_shared<RefusingUnitsOfEveryKind>());
  testing::internal::CaptureStderr();
  const auto converter = converterFor(nullptr, floats(44100, 1), floats(44100, 1));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), lines({{7, 140},
                                                           {7, 153},
                                                           {7, 163},
                                                           {7, 171},
                                                           {7, 287},
                                                           {7, 300},
                                                           {7, 312},
                                                           {7, 320},
                                                           {7, 329},
                                                           {7, 337},
                                                           {7, 262},
                                                           {7, 202},
                                                           {7, 205},
                                                           {7, 208}}));
  ASSERT_NE(converter, nullptr);
  float in = 0.5F;
  float out = 0;
  std::uint32_t size = sizeof out;
  EXPECT_EQ(converter->convertBuffer_inputBufferSize_outputBuffer_outputBufferSize(&in, sizeof in, &out, &size), noErr);
  EXPECT_EQ(out, 0.5F);
}

TEST(OrvAudioConverterPull, AGraphWithoutUnitsIsToldAndFillsNothing) {
  const InstalledUnits units(std::make_shared<RefusingUnits>());
  testing::internal::CaptureStderr();
  const auto converter = converterFor(nullptr, floats(44100, 1), floats(44100, 1));
  EXPECT_NE(testing::internal::GetCapturedStderr().find(":  250\n"), std::string::npos);
  ASSERT_NE(converter, nullptr);
  const auto filled = fill<float>(*converter, 4, 1);
  EXPECT_EQ(filled.status, kAudioUnitErr_InvalidParameter);
  EXPECT_EQ(filled.audioFrames, 0U);
}

TEST(OrvAudioConverterPull, AGraphThatWorksTellsNothing) {
  testing::internal::CaptureStderr();
  EXPECT_NE(converterFor(nullptr, floats(48000, 6), integers(44100, 1, 24)), nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}
