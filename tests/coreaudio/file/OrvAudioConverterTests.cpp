#include <OrvCoreAudio/OrvAudioConverter.h>
#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "support/LogCapture.h"

using orv::test::LogCapture;
using Format = OrvAudioStreamBasicDescription;

namespace {

std::shared_ptr<OrvAudioConverter> converter() {
  return OrvAudioConverter::initWithSourceFormat_destinationFormat(Format::defaultStandardFileFormat(),
                                                                   Format::defaultStandardDeviceFormat());
}

/// A platform conversion that refuses everything.
class Refusing final : public orv::Converter {
 public:
  OSStatus convert(const void*, std::uint32_t, void*, std::uint32_t*) override { return orv::statusCC("abcd"); }
  OSStatus drain(void*, std::uint32_t*) override { return noErr; }
  OSStatus reset() override { return noErr; }
  OSStatus property(AudioConverterPropertyID, std::uint32_t*, void*) override { return orv::statusCC("prop"); }
  OSStatus setProperty(AudioConverterPropertyID, std::uint32_t, const void*) override { return orv::statusCC("prop"); }
};

class RefusingService final : public orv::ConverterService {
 public:
  OSStatus make(const AudioStreamBasicDescription&, const AudioStreamBasicDescription&,
                std::unique_ptr<orv::Converter>* made) override {
    *made = std::make_unique<Refusing>();
    return noErr;
  }
};

class WithRefusingService : public testing::Test {
 protected:
  WithRefusingService() { orv::installConverterService(std::make_shared<RefusingService>()); }
  ~WithRefusingService() override { orv::installConverterService(nullptr); }
};

}  // namespace

TEST(OrvAudioConverter, ConvertsFromTheFileFormatToTheDeviceFormat) {
  const unsigned char input[] = {0x40, 0x00, 0xC0, 0x00, 0x7F, 0xFF, 0x80, 0x00};
  std::array<float, 4> output{};
  std::uint32_t size = sizeof output;
  EXPECT_EQ(converter()->convertBuffer_inputBufferSize_outputBuffer_outputBufferSize(input, sizeof input, output.data(),
                                                                                     &size),
            noErr);
  EXPECT_EQ(size, 16U);
  EXPECT_EQ(output, (std::array<float, 4>{0.5F, -0.5F, 32767.0F / 32768.0F, -1.0F}));
}

TEST(OrvAudioConverter, FormatsThatCannotBeConvertedMakeNoConverter) {
  const auto unknown = Format::standardFormat(5);
  unknown->setFormatID(orv::fourCC("aac "));
  EXPECT_EQ(OrvAudioConverter::initWithSourceFormat_destinationFormat(unknown, Format::standardFormat(5)), nullptr);
  EXPECT_EQ(OrvAudioConverter::initWithSourceFormat_destinationFormat(nullptr, Format::standardFormat(5)), nullptr);
  EXPECT_EQ(OrvAudioConverter::initWithSourceFormat_destinationFormat(Format::standardFormat(5), nullptr), nullptr);
}

TEST(OrvAudioConverter, ANullInputIsWarnedOfAndAnswered0) {
  const LogCapture log;
  float output[2];
  std::uint32_t size = sizeof output;
  EXPECT_EQ(converter()->convertBuffer_inputBufferSize_outputBuffer_outputBufferSize(nullptr, 4, output, &size), noErr);
  EXPECT_EQ(log.lines(), std::vector<std::string>{"*** WARNING *** OrvAudioConverter:convertBuffer  input is NULL"});
}

TEST(OrvAudioConverter, WithBothNullBothWarningsAreLogged) {
  const LogCapture log;
  std::uint32_t size = 0;
  EXPECT_EQ(converter()->convertBuffer_inputBufferSize_outputBuffer_outputBufferSize(nullptr, 4, nullptr, &size),
            noErr);
  EXPECT_EQ(log.lines(),
            (std::vector<std::string>{"*** WARNING *** OrvAudioConverter:convertBuffer  input is NULL",
                                      "*** WARNING *** OrvAudioConverter:convertBuffer  output buffer is NULL"}));
}

TEST(OrvAudioConverter, ANullOutputIsWarnedOfAndAnswered0) {
  const LogCapture log;
  std::uint32_t size = 0;
  EXPECT_EQ(converter()->convertBuffer_inputBufferSize_outputBuffer_outputBufferSize("abcd", 4, nullptr, &size), noErr);
  EXPECT_EQ(log.lines(),
            std::vector<std::string>{"*** WARNING *** OrvAudioConverter:convertBuffer  output buffer is NULL"});
}

TEST(OrvAudioConverter, AFailedConversionIsLoggedAndItsStatusReturned) {
  const LogCapture log;
  float output[2];
  std::uint32_t size = sizeof output;
  EXPECT_EQ(converter()->convertBuffer_inputBufferSize_outputBuffer_outputBufferSize("abc", 3, output, &size),
            kAudioConverterErr_InvalidInputSize);
  EXPECT_EQ(log.lines(), (std::vector<std::string>{"*** ERROR *** OrvAudioConverter:convertBuffer",
                                                   "OS Status: kAudioConverterErr_InvalidInputSize"}));
}

TEST(OrvAudioConverter, SizesFollowFromTheFormats) {
  EXPECT_EQ(converter()->minimumInputBufferSize(), 4U);
  EXPECT_EQ(converter()->minimumOutputBufferSize(), 8U);
  EXPECT_EQ(converter()->calculateInputBufferSize(800), 400U);
  EXPECT_EQ(converter()->calculateOutputBufferSize(400), 800U);
  EXPECT_EQ(converter()->description(),
            "OrvAudioConverter:[ minimumInputBufferSize: 4; ]minimumOutputBufferSize: 8; ]");
}

TEST(OrvAudioConverter, AMagicCookieSetsTheQualityTo0AndNothingElse) {
  const auto object = converter();
  object->setSampleRateConverterQuality(kAudioConverterQuality_Max);
  EXPECT_EQ(object->sampleRateConverterQuality(), kAudioConverterQuality_Max);
  object->setMagicCookie_length("cookie", 6);
  EXPECT_EQ(object->sampleRateConverterQuality(), 0U);
  object->setSampleRateConverterQuality(kAudioConverterQuality_High);
  object->setMagicCookie_length(nullptr, 0);
  EXPECT_EQ(object->sampleRateConverterQuality(), 0U);
}

TEST(OrvAudioConverter, DrainingDeliversTheEndOfAResampledStream) {
  const auto from = Format::defaultStandardDeviceFormat();
  const auto to = Format::defaultStandardDeviceFormat();
  to->setSampleRate(48000);
  const auto object = OrvAudioConverter::initWithSourceFormat_destinationFormat(from, to);
  const std::vector<float> input(44100 * 2, 0.25F);
  std::vector<float> output(50000 * 2);
  std::uint32_t total = 0;
  auto size = static_cast<std::uint32_t>(output.size() * sizeof(float));
  ASSERT_EQ(object->convertBuffer_inputBufferSize_outputBuffer_outputBufferSize(
                input.data(), static_cast<std::uint32_t>(input.size() * sizeof(float)), output.data(), &size),
            noErr);
  EXPECT_LT(size, 48000U * 8);
  while (size > 0) {
    total += size;
    size = static_cast<std::uint32_t>(output.size() * sizeof(float));
    ASSERT_EQ(object->drainIntoBuffer_outputBufferSize(output.data(), &size), noErr);
  }
  EXPECT_NEAR(total / 8, 48000, 1);
  object->reset();
}

TEST(OrvAudioConverter, EveryKnownStatusHasItsLine) {
  const LogCapture log;
  for (const OSStatus status : {orv::statusCC("fmt?"), orv::statusCC("op??"), orv::statusCC("prop"),
                                orv::statusCC("insz"), orv::statusCC("otsz"), orv::statusCC("abcd")}) {
    OrvAudioConverter::printOSStatusCode(status);
  }
  EXPECT_EQ(
      log.lines(),
      (std::vector<std::string>{
          "OS Status: kAudioConverterErr_FormatNotSupported", "OS Status: kAudioConverterErr_OperationNotSupported",
          "OS Status: kAudioConverterErr_PropertyNotSupported", "OS Status: kAudioConverterErr_InvalidInputSize",
          "OS Status: kAudioConverterErr_InvalidOutputSize", "OrvAudioConverter: OS Status: dcba"}));
}

TEST_F(WithRefusingService, PropertiesThatCannotBeReadLeaveTheValueTheyStartedWith) {
  const auto object = converter();
  EXPECT_EQ(object->minimumInputBufferSize(), 0U);
  EXPECT_EQ(object->calculateInputBufferSize(77), 77U);
  EXPECT_EQ(object->calculateOutputBufferSize(78), 78U);
  EXPECT_EQ(object->sampleRateConverterQuality(), 0U);
}

TEST_F(WithRefusingService, TheDescriptionOfAConverterWhosePropertiesCannotBeReadPrints0) {
  EXPECT_EQ(converter()->description(),
            "OrvAudioConverter:[ minimumInputBufferSize: 0; ]minimumOutputBufferSize: 0; ]");
}
