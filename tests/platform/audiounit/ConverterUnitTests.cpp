#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "platform/audiounit/AudioUnitTestSupport.h"

namespace orv::test {
namespace {

using Samples = std::vector<float>;

class ConverterUnit : public testing::Test {
 protected:
  ConverterUnit() { EXPECT_EQ(OpenAComponent(FindNextComponent(0, &kConverterUnit), &unit), noErr); }
  ~ConverterUnit() override { CloseComponent(unit); }

  void convert(const AudioStreamBasicDescription& from, const AudioStreamBasicDescription& to) {
    EXPECT_EQ(setFormat(unit, kAudioUnitScope_Input, from), noErr);
    EXPECT_EQ(setFormat(unit, kAudioUnitScope_Output, to), noErr);
    EXPECT_EQ(AudioUnitInitialize(unit), noErr);
  }

  /// All the audio there is, rendered `frames` at a time.
  Samples renderToTheEnd(std::uint32_t frames, std::uint32_t channels) {
    Samples all;
    for (int i = 0; i < 1000000; ++i) {
      const Rendered rendered = render(unit, frames, channels);
      const auto end = rendered.samples.begin() + static_cast<std::ptrdiff_t>(rendered.audioFrames * channels);
      all.insert(all.end(), rendered.samples.begin(), end);
      if (rendered.status != noErr) {
        EXPECT_EQ(rendered.status, kEndOfFileStatus);
        EXPECT_TRUE(std::all_of(end, rendered.samples.end(), [](float sample) { return sample == 0.0F; }));
        return all;
      }
      EXPECT_EQ(rendered.audioFrames, frames);
    }
    ADD_FAILURE() << "it never ends";
    return all;
  }

  OSStatus setGlobal(AudioUnitPropertyID property, std::uint32_t value) {
    return AudioUnitSetProperty(unit, property, kAudioUnitScope_Global, 0, &value, sizeof value);
  }

  AudioUnit unit = nullptr;
};

TEST_F(ConverterUnit, DeliversExactlyTheFramesAskedFor) {
  Source source(countedSamples(200), 2);
  source.feed(unit);
  convert(floatFormat(44100, 2), floatFormat(44100, 2));
  const Rendered rendered = render(unit, 30, 2);
  EXPECT_EQ(rendered.status, noErr);
  EXPECT_EQ(rendered.audioFrames, 30U);
  EXPECT_EQ(rendered.samples, countedSamples(60));
  EXPECT_EQ(source.asked, std::vector<std::uint32_t>{30});
}

TEST_F(ConverterUnit, PullsASliceAtMostAtOnce) {
  Source source(Samples(20000, 0.5F), 1);
  source.feed(unit);
  convert(floatFormat(44100, 1), floatFormat(44100, 1));
  EXPECT_EQ(render(unit, 20000, 1).samples, Samples(20000, 0.5F));
  EXPECT_EQ(source.asked, (std::vector<std::uint32_t>{8192, 8192, 3616}));
  EXPECT_EQ(setGlobal(kAudioUnitProperty_MaximumFramesPerSlice, 100), noErr);
  source.asked.clear();
  render(unit, 150, 1);
  EXPECT_EQ(source.asked.front(), 100U);
}

TEST_F(ConverterUnit, WhatIsMissingAtTheEndIsSilenceAndTheStatusIsPassedOn) {
  Source source(countedSamples(10), 1);
  source.feed(unit);
  convert(floatFormat(44100, 1), floatFormat(44100, 1));
  const Rendered rendered = render(unit, 14, 1);
  EXPECT_EQ(rendered.status, kEndOfFileStatus);
  EXPECT_EQ(rendered.audioFrames, 10U);
  Samples expected = countedSamples(10);
  expected.resize(14, 0.0F);
  EXPECT_EQ(rendered.samples, expected);
  EXPECT_EQ(render(unit, 2, 1).status, kEndOfFileStatus);
}

TEST_F(ConverterUnit, SilenceOfUnsignedSamplesIsTheirMidpoint) {
  Source source({}, 1);
  source.feed(unit);
  AudioStreamBasicDescription bytes = integerFormat(44100, 1, 8);
  bytes.mFormatFlags = kAudioFormatFlagIsPacked;
  convert(floatFormat(44100, 1), bytes);
  std::vector<std::uint8_t> out(5, 1);
  AudioBufferList list{1, {{1, 5, out.data()}}};
  const AudioTimeStamp now{};
  EXPECT_EQ(AudioUnitRender(unit, nullptr, &now, 0, 5, &list), kEndOfFileStatus);
  EXPECT_EQ(out, std::vector<std::uint8_t>(5, 0x80));
}

TEST_F(ConverterUnit, OtherStatusesArePassedOnBehindWhatWasDelivered) {
  Source source(countedSamples(10), 1);
  source.statusAtEnd = statusCC("abcd");
  source.feed(unit);
  convert(floatFormat(44100, 1), floatFormat(44100, 1));
  const Rendered rendered = render(unit, 14, 1);
  EXPECT_EQ(rendered.status, statusCC("abcd"));
  EXPECT_EQ(rendered.audioFrames, 10U);
}

TEST_F(ConverterUnit, ASourceThatSuppliesNothingEndsTheAudioWithoutAStatus) {
  Source source(countedSamples(10), 1);
  source.statusAtEnd = noErr;
  source.feed(unit);
  convert(floatFormat(44100, 1), floatFormat(44100, 1));
  const Rendered rendered = render(unit, 14, 1);
  EXPECT_EQ(rendered.status, noErr);
  EXPECT_EQ(rendered.audioFrames, 10U);
}

TEST_F(ConverterUnit, ASourceMaySupplyLessThanItWasAskedFor) {
  Source source(countedSamples(100), 1);
  source.mostAtOnce = 7;
  source.feed(unit);
  convert(floatFormat(44100, 1), floatFormat(44100, 1));
  EXPECT_EQ(render(unit, 100, 1).samples, countedSamples(100));
}

TEST_F(ConverterUnit, ASourceMayPointAtItsOwnMemory) {
  Source source(countedSamples(100), 2);
  source.pointsElsewhere = true;
  source.feed(unit);
  convert(floatFormat(44100, 2), floatFormat(44100, 2));
  EXPECT_EQ(render(unit, 20, 2).samples, countedSamples(40));
  EXPECT_EQ(renderToTheEnd(20, 2).size(), 60U);
}

TEST_F(ConverterUnit, ResampledAudioComesWithItsTailInBlocksOfAnySize) {
  const std::pair<double, double> rates[] = {{44100, 48000}, {48000, 44100}, {8000, 192000}, {192000, 8000}};
  for (const auto& [from, to] : rates) {
    for (const std::uint32_t frames : {1U, 100U, 8192U, 50000U}) {
      SCOPED_TRACE(std::to_string(from) + " to " + std::to_string(to) + " by " + std::to_string(frames));
      Samples tone(10000);
      for (std::size_t i = 0; i < tone.size(); ++i) {
        tone[i] = 0.5F * static_cast<float>(std::sin(2 * std::numbers::pi * 100.0 * static_cast<double>(i) / from));
      }
      Source source(tone, 1);
      source.feed(unit);
      convert(floatFormat(from, 1), floatFormat(to, 1));
      const Samples all = renderToTheEnd(frames, 1);
      EXPECT_NEAR(static_cast<double>(all.size()), 10000 * to / from, 1.0);
      EXPECT_LE(*std::max_element(source.asked.begin(), source.asked.end()), 8192U);
      // Away from the edges it is the same tone.
      double worst = 0;
      for (std::size_t i = all.size() / 10; i < all.size() * 9 / 10; ++i) {
        const double expected = 0.5 * std::sin(2 * std::numbers::pi * 100.0 * static_cast<double>(i) / to);
        worst = std::max(worst, std::abs(expected - static_cast<double>(all[i])));
      }
      EXPECT_LT(worst, 1e-3);
      AudioUnitUninitialize(unit);
    }
  }
}

TEST_F(ConverterUnit, AfterTheEndAnotherStreamMayFollow) {
  Source first(Samples(1000, 0.25F), 1);
  first.feed(unit);
  convert(floatFormat(44100, 1), floatFormat(48000, 1));
  const std::size_t length = renderToTheEnd(100, 1).size();
  Source second(Samples(1000, 0.25F), 1);
  second.feed(unit);
  EXPECT_EQ(renderToTheEnd(100, 1).size(), length);
}

TEST_F(ConverterUnit, ChannelsAndSampleTypesAreConverted) {
  Source source({0.5F, -0.25F}, 1);
  source.feed(unit);
  convert(floatFormat(44100, 1), integerFormat(44100, 2, 16));
  std::vector<std::int16_t> out(4);
  AudioBufferList list{1, {{2, 8, out.data()}}};
  const AudioTimeStamp now{};
  EXPECT_EQ(AudioUnitRender(unit, nullptr, &now, 0, 2, &list), noErr);
  EXPECT_EQ(out, (std::vector<std::int16_t>{16384, 16384, -8192, -8192}));
}

/// IMA 4:1 comes in packets of 64 frames.
OSStatus supplySilentPackets(void* asked, AudioUnitRenderActionFlags*, const AudioTimeStamp*, std::uint32_t,
                             std::uint32_t frames, AudioBufferList* data) {
  static_cast<std::vector<std::uint32_t>*>(asked)->push_back(frames);
  std::fill_n(static_cast<char*>(data->mBuffers[0].mData), data->mBuffers[0].mDataByteSize, '\0');
  return noErr;
}

TEST_F(ConverterUnit, PacketsArePulledWhole) {
  std::vector<std::uint32_t> asked;
  const AURenderCallbackStruct callback{&supplySilentPackets, &asked};
  EXPECT_EQ(AudioUnitSetProperty(unit, kAudioUnitProperty_SetRenderCallback, kAudioUnitScope_Input, 0, &callback,
                                 sizeof callback),
            noErr);
  convert({44100, kAudioFormatIMA4, 0, 34, 64, 0, 1, 0, 0}, floatFormat(44100, 1));
  EXPECT_EQ(render(unit, 100, 1).audioFrames, 100U);
  EXPECT_EQ(asked, std::vector<std::uint32_t>{128});
  EXPECT_EQ(render(unit, 28, 1).audioFrames, 28U);
  EXPECT_EQ(asked.size(), 1U);
  EXPECT_EQ(render(unit, 10000, 1).audioFrames, 10000U);
  EXPECT_EQ(asked[1], 8192U);
}

TEST_F(ConverterUnit, WhatItCannotRenderItRefuses) {
  EXPECT_EQ(render(unit, 10, 2).status, kAudioUnitErr_Uninitialized);
  convert(floatFormat(44100, 2), floatFormat(44100, 2));
  const Rendered unconnected = render(unit, 10, 2);
  EXPECT_EQ(unconnected.status, kAudioUnitErr_NoConnection);
  EXPECT_EQ(unconnected.audioFrames, 0U);
  EXPECT_EQ(unconnected.samples, Samples(20, 99.0F));
  Source source(countedSamples(20), 2);
  source.feed(unit);
  Samples out(20, 99.0F);
  AudioBufferList list{1, {{2, 79, out.data()}}};
  const AudioTimeStamp now{};
  EXPECT_EQ(AudioUnitRender(unit, nullptr, &now, 0, 10, &list), kAudioUnitErr_InvalidParameter);
  list.mBuffers[0] = {2, 80, out.data()};
  EXPECT_EQ(AudioUnitRender(unit, nullptr, &now, 1, 10, &list), kAudioUnitErr_InvalidParameter);
  list.mBuffers[0] = {2, 80, nullptr};
  EXPECT_EQ(AudioUnitRender(unit, nullptr, &now, 0, 10, &list), kAudioUnitErr_InvalidParameter);
  EXPECT_EQ(AudioUnitRender(unit, nullptr, &now, 0, 10, nullptr), kAudioUnitErr_InvalidParameter);
  EXPECT_EQ(AudioUnitRender(unit, nullptr, nullptr, 0, 10, &list), kAudioUnitErr_InvalidParameter);
  EXPECT_EQ(out, Samples(20, 99.0F));
}

TEST_F(ConverterUnit, FormatsThatCannotBeConvertedFailWhenItIsInitialized) {
  AudioStreamBasicDescription unknown = floatFormat(44100, 2);
  unknown.mFormatID = fourCC("aac ");
  EXPECT_EQ(setFormat(unit, kAudioUnitScope_Input, unknown), noErr);
  EXPECT_EQ(AudioUnitInitialize(unit), kAudioUnitErr_FormatNotSupported);
  EXPECT_EQ(render(unit, 10, 2).status, kAudioUnitErr_Uninitialized);
}

TEST_F(ConverterUnit, ANewFormatTakesEffectOnAnInitializedUnit) {
  Source source(countedSamples(100), 1);
  source.feed(unit);
  convert(floatFormat(44100, 1), floatFormat(44100, 2));
  EXPECT_EQ(setFormat(unit, kAudioUnitScope_Output, floatFormat(44100, 1)), noErr);
  EXPECT_EQ(render(unit, 10, 1).samples, countedSamples(10));
}

TEST_F(ConverterUnit, PropertiesAreCheckedAndReadBack) {
  EXPECT_EQ(setFormat(unit, kAudioUnitScope_Global, floatFormat(44100, 1)), kAudioUnitErr_InvalidParameter);
  EXPECT_EQ(AudioUnitSetProperty(unit, kAudioUnitProperty_StreamFormat, kAudioUnitScope_Input, 0, "x", 1),
            kAudioUnitErr_InvalidPropertyValue);
  EXPECT_EQ(AudioUnitSetProperty(unit, 4711, kAudioUnitScope_Input, 0, "x", 1), kAudioUnitErr_InvalidProperty);
  EXPECT_EQ(setGlobal(kAudioUnitProperty_MaximumFramesPerSlice, 0), kAudioUnitErr_InvalidPropertyValue);
  EXPECT_EQ(setGlobal(kAudioUnitProperty_MaximumFramesPerSlice, 8193), kAudioUnitErr_InvalidPropertyValue);
  EXPECT_EQ(setGlobal(kAudioUnitProperty_MaximumFramesPerSlice, 512), noErr);
  EXPECT_EQ(setGlobal(kAudioUnitProperty_SampleRateConverterQuality, 127), noErr);
  std::uint32_t value = 0;
  std::uint32_t size = sizeof value;
  AudioUnitGetProperty(unit, kAudioUnitProperty_MaximumFramesPerSlice, kAudioUnitScope_Global, 0, &value, &size);
  EXPECT_EQ(value, 512U);
  AudioUnitGetProperty(unit, kAudioUnitProperty_SampleRateConverterQuality, kAudioUnitScope_Global, 0, &value, &size);
  EXPECT_EQ(value, 127U);
  size = 3;
  EXPECT_EQ(
      AudioUnitGetProperty(unit, kAudioUnitProperty_MaximumFramesPerSlice, kAudioUnitScope_Global, 0, &value, &size),
      kAudioUnitErr_InvalidPropertyValue);
}

TEST_F(ConverterUnit, ManyChannelsAtAMuchHigherRateStayWithinBounds) {
  Source source(Samples(1024 * 300, 0.5F), 1024);
  source.feed(unit);
  convert(floatFormat(8000, 1024), floatFormat(192000, 1024));
  const Rendered rendered = render(unit, 1000, 1024);
  EXPECT_EQ(rendered.status, noErr);
  EXPECT_EQ(rendered.audioFrames, 1000U);
}

}  // namespace
}  // namespace orv::test
