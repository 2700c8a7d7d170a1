#include <gtest/gtest.h>

#include <stdexcept>

#include "platform/converter/ConverterTestSupport.h"
#include "support/LogCapture.h"

namespace orv::test {
namespace {

class BrokenService final : public ConverterService {
 public:
  OSStatus make(const AudioStreamBasicDescription&, const AudioStreamBasicDescription&,
                std::unique_ptr<Converter>*) override {
    throw std::runtime_error("broken");
  }
};

/// Puts a service in force as long as it lives.
class InstalledService {
 public:
  explicit InstalledService(std::shared_ptr<ConverterService> service)
      : before_(installConverterService(std::move(service))) {}
  InstalledService(const InstalledService&) = delete;
  InstalledService& operator=(const InstalledService&) = delete;
  ~InstalledService() { installConverterService(before_); }

  const std::shared_ptr<ConverterService>& before() const { return before_; }

 private:
  std::shared_ptr<ConverterService> before_;
};

TEST(ConverterServiceSlot, AnInstalledServiceIsInForceUntilItIsReplaced) {
  const auto builtIn = converterService();
  const auto mine = std::make_shared<BrokenService>();
  {
    const InstalledService installed(mine);
    EXPECT_EQ(installed.before(), builtIn);
    EXPECT_EQ(converterService(), mine);
  }
  EXPECT_EQ(converterService(), builtIn);
}

TEST(ConverterServiceSlot, NullRestoresTheBuiltInService) {
  const auto builtIn = converterService();
  const InstalledService installed(std::make_shared<BrokenService>());
  installConverterService(nullptr);
  EXPECT_EQ(converterService(), builtIn);
}

TEST(ConverterCalls, ConvertThroughAHandle) {
  const AudioStreamBasicDescription source = int16Format(44100, 1);
  const AudioStreamBasicDescription destination = floatFormat(44100, 1);
  AudioConverterRef converter = nullptr;
  ASSERT_EQ(AudioConverterNew(&source, &destination, &converter), noErr);
  const std::int16_t input[2] = {16384, -32768};
  float output[2] = {};
  std::uint32_t size = sizeof(output);
  EXPECT_EQ(AudioConverterConvertBuffer(converter, sizeof(input), input, &size, output), noErr);
  EXPECT_EQ(size, sizeof(output));
  EXPECT_EQ(output[0], 0.5F);
  EXPECT_EQ(output[1], -1.0F);
  std::uint32_t quality = 0;
  EXPECT_EQ(AudioConverterSetProperty(converter, kAudioConverterSampleRateConverterQuality, 4, &quality), noErr);
  quality = 5;
  size = 4;
  EXPECT_EQ(AudioConverterGetProperty(converter, kAudioConverterSampleRateConverterQuality, &size, &quality), noErr);
  EXPECT_EQ(quality, 0U);
  size = sizeof(output);
  EXPECT_EQ(AudioConverterDrain(converter, &size, output), noErr);
  EXPECT_EQ(size, 0U);
  EXPECT_EQ(AudioConverterReset(converter), noErr);
  EXPECT_EQ(AudioConverterDispose(converter), noErr);
}

TEST(ConverterCalls, RefusedFormatsGiveNoConverter) {
  const AudioStreamBasicDescription good = floatFormat(44100, 1);
  const AudioStreamBasicDescription bad = floatFormat(0, 1);
  auto* converter = reinterpret_cast<AudioConverterRef>(16);
  EXPECT_EQ(AudioConverterNew(&good, &bad, &converter), kAudioConverterErr_FormatNotSupported);
  EXPECT_EQ(converter, nullptr);
}

TEST(ConverterCalls, NullPointersAreRefused) {
  const AudioStreamBasicDescription format = floatFormat(44100, 1);
  AudioConverterRef converter = nullptr;
  EXPECT_EQ(AudioConverterNew(&format, &format, nullptr), kAudioConverterErr_OperationNotSupported);
  EXPECT_EQ(AudioConverterNew(nullptr, &format, &converter), kAudioConverterErr_FormatNotSupported);
  EXPECT_EQ(AudioConverterNew(&format, nullptr, &converter), kAudioConverterErr_FormatNotSupported);
  std::uint32_t size = 4;
  std::uint32_t value = 0;
  EXPECT_EQ(AudioConverterDispose(nullptr), kAudioConverterErr_OperationNotSupported);
  EXPECT_EQ(AudioConverterReset(nullptr), kAudioConverterErr_OperationNotSupported);
  EXPECT_EQ(AudioConverterConvertBuffer(nullptr, 4, &value, &size, &value), kAudioConverterErr_OperationNotSupported);
  EXPECT_EQ(AudioConverterDrain(nullptr, &size, &value), kAudioConverterErr_OperationNotSupported);
  EXPECT_EQ(AudioConverterGetProperty(nullptr, kAudioConverterSampleRateConverterQuality, &size, &value),
            kAudioConverterErr_OperationNotSupported);
  EXPECT_EQ(AudioConverterSetProperty(nullptr, kAudioConverterSampleRateConverterQuality, size, &value),
            kAudioConverterErr_OperationNotSupported);
  const auto made = converterBetween(format, format);
  EXPECT_EQ(AudioConverterConvertBuffer(made.get(), 4, &value, nullptr, &value), kAudioConverterErr_InvalidOutputSize);
  EXPECT_EQ(AudioConverterDrain(made.get(), nullptr, &value), kAudioConverterErr_InvalidOutputSize);
  EXPECT_EQ(AudioConverterGetProperty(made.get(), kAudioConverterSampleRateConverterQuality, nullptr, &value),
            kAudioConverterErr_BadPropertySize);
}

TEST(ConverterCalls, WhatAServiceThrowsBecomesAStatusAndOneLogLine) {
  const InstalledService installed(std::make_shared<BrokenService>());
  const LogCapture capture;
  const AudioStreamBasicDescription format = floatFormat(44100, 1);
  AudioConverterRef converter = nullptr;
  EXPECT_EQ(AudioConverterNew(&format, &format, &converter), kAudioConverterErr_OperationNotSupported);
  EXPECT_EQ(converter, nullptr);
  EXPECT_EQ(capture.lines().size(), 1U);
}

}  // namespace
}  // namespace orv::test
