#include "ConversionFormat.h"

#include "Failure.h"
#include "OrvPlatform/Log.h"

namespace orv::cli {
namespace {

constexpr std::uint32_t kFloatBits = 32;

/// Of two rates: as the converter has it.
constexpr double kMostRatio = 256;

void checkChannels(const SourceFile& source, std::uint32_t wanted) {
  const std::uint32_t given = source.file->channelsPerFrame();
  const bool canBeMapped = wanted == given || (given == 1 && wanted == 2) || (given == 2 && wanted == 1);
  if (!canBeMapped) {
    throw Failure(source.path, formatText("has %u channels, which can't be made %u: only mono is made stereo, and "
                                          "stereo mono",
                                          given, wanted));
  }
}

}  // namespace

void checkRates(const std::string& subject, double given, double wanted) {
  const double ratio = wanted / given;
  if (!(ratio <= kMostRatio && ratio >= 1 / kMostRatio)) {
    throw Failure(subject, formatText("has a rate of %g Hz, which can't be made %g Hz: the rates are more than %g "
                                      "times apart",
                                      given, wanted, kMostRatio));
  }
}

std::shared_ptr<OrvAudioStreamBasicDescription> linearFormat(double rate, std::uint32_t channels, std::uint32_t bits,
                                                             bool isFloat) {
  auto format = OrvAudioStreamBasicDescription::init();
  format->setFormatID(kAudioFormatLinearPCM);
  format->setSampleRate(rate);
  format->setFormatFlags(kAudioFormatFlagIsBigEndian | kAudioFormatFlagIsPacked |
                         (isFloat ? kAudioFormatFlagIsFloat : kAudioFormatFlagIsSignedInteger));
  format->setChannelsPerFrame(channels);
  format->setBitsPerChannel(bits);
  format->setFramesPerPacket(1);
  format->setBytesPerFrame((bits + 7) / 8 * channels);
  format->setBytesPerPacket(format->bytesPerFrame());
  return format;
}

std::shared_ptr<OrvAudioStreamBasicDescription> conversionFormat(const SourceFile& source,
                                                                 const ConversionOptions& options) {
  const OrvAudioFile& file = *source.file;
  const bool isFloat = options.isFloat || (file.fileStreamFormat()->isFloat() && !options.bits);
  const std::uint32_t bits = options.isFloat ? kFloatBits : options.bits.value_or(file.bitsPerChannel());
  const std::uint32_t channels = options.channels.value_or(file.channelsPerFrame());
  const double rate = options.rate.value_or(file.sampleRate());
  refuseWhatCannotBeConverted(source);
  checkChannels(source, channels);
  checkRates(source.path, source.file->sampleRate(), rate);
  return linearFormat(rate, channels, bits, isFloat);
}

}  // namespace orv::cli
