#include "OrvCoreAudio/OrvAudioConverter.h"

#include <cstdlib>

#include "OrvPlatform/Log.h"
#include "WithoutThrowing.h"

namespace {

AudioStreamBasicDescription recordOf(const OrvAudioStreamBasicDescription& format) {
  const std::unique_ptr<AudioStreamBasicDescription, decltype(&std::free)> record(format.audioStreamBasicDescription(),
                                                                                  &std::free);
  return record ? *record : AudioStreamBasicDescription{};
}

}  // namespace

std::shared_ptr<OrvAudioConverter> OrvAudioConverter::initWithSourceFormat_destinationFormat(
    std::shared_ptr<OrvAudioStreamBasicDescription> source,
    std::shared_ptr<OrvAudioStreamBasicDescription> destination) {
  return initWithDelegate_sourceFormat_destinationFormat(nullptr, std::move(source), std::move(destination));
}

std::shared_ptr<OrvAudioConverter> OrvAudioConverter::initWithDelegate_sourceFormat_destinationFormat(
    std::shared_ptr<OrvObject> delegate, std::shared_ptr<OrvAudioStreamBasicDescription> source,
    std::shared_ptr<OrvAudioStreamBasicDescription> destination) {
  if (!source || !destination) {
    return nullptr;
  }
  return withoutThrowing("OrvAudioConverter", std::shared_ptr<OrvAudioConverter>(), [&] {
    std::shared_ptr<OrvAudioConverter> converter(new OrvAudioConverter);
    converter->mAUSourceFormat = recordOf(*source);
    converter->mAUDestinationFormat = recordOf(*destination);
    converter->setupGraph();
    if (AudioConverterNew(&converter->mAUSourceFormat, &converter->mAUDestinationFormat, &converter->audioConverter) !=
        noErr) {
      return std::shared_ptr<OrvAudioConverter>();
    }
    converter->mSourceFormat = std::move(source);
    converter->mDestinationFormat = std::move(destination);
    converter->delegateToAsk_ = dynamic_cast<OrvAudioConverterDelegate*>(delegate.get());
    converter->mDelegate = std::move(delegate);
    return converter;
  });
}

OrvAudioConverter::~OrvAudioConverter() {
  if (audioConverter != nullptr) {
    AudioConverterDispose(audioConverter);
  }
  AUGraphStop(mGraph);
  AUGraphClose(mGraph);
  DisposeAUGraph(mGraph);
}

OSStatus OrvAudioConverter::convertBuffer_inputBufferSize_outputBuffer_outputBufferSize(const void* input,
                                                                                        std::uint32_t inputSize,
                                                                                        void* output,
                                                                                        std::uint32_t* outputSize) {
  if (input == nullptr) {
    orv::log("*** WARNING *** OrvAudioConverter:convertBuffer  input is NULL");
    if (output != nullptr) {
      return noErr;
    }
  }
  if (output == nullptr) {
    orv::log("*** WARNING *** OrvAudioConverter:convertBuffer  output buffer is NULL");
    return noErr;
  }
  const OSStatus status = AudioConverterConvertBuffer(audioConverter, inputSize, input, outputSize, output);
  if (status != noErr) {
    orv::log("*** ERROR *** OrvAudioConverter:convertBuffer");
    printOSStatusCode(status);
  }
  return status;
}

OSStatus OrvAudioConverter::drainIntoBuffer_outputBufferSize(void* output, std::uint32_t* outputSize) {
  return AudioConverterDrain(audioConverter, outputSize, output);
}

std::uint32_t OrvAudioConverter::property(AudioConverterPropertyID propertyID, std::uint32_t value) const {
  std::uint32_t result = value;
  std::uint32_t size = sizeof result;
  return AudioConverterGetProperty(audioConverter, propertyID, &size, &result) == noErr ? result : value;
}

std::uint32_t OrvAudioConverter::minimumInputBufferSize() const {
  return property(kAudioConverterPropertyMinimumInputBufferSize, 0);
}

std::uint32_t OrvAudioConverter::minimumOutputBufferSize() const {
  return property(kAudioConverterPropertyMinimumOutputBufferSize, 0);
}

std::uint32_t OrvAudioConverter::calculateInputBufferSize(std::uint32_t outputSize) const {
  return property(kAudioConverterPropertyCalculateInputBufferSize, outputSize);
}

std::uint32_t OrvAudioConverter::calculateOutputBufferSize(std::uint32_t inputSize) const {
  return property(kAudioConverterPropertyCalculateOutputBufferSize, inputSize);
}

std::uint32_t OrvAudioConverter::sampleRateConverterQuality() const {
  return property(kAudioConverterSampleRateConverterQuality, 0);
}

void OrvAudioConverter::setSampleRateConverterQuality(std::uint32_t quality) {
  setBufferQuality(quality);
  AudioUnitSetProperty(mOutputUnit, kAudioUnitProperty_SampleRateConverterQuality, kAudioUnitScope_Global, 0, &quality,
                       sizeof quality);
}

void OrvAudioConverter::setBufferQuality(std::uint32_t quality) {
  AudioConverterSetProperty(audioConverter, kAudioConverterSampleRateConverterQuality, sizeof quality, &quality);
}

void OrvAudioConverter::setMagicCookie_length(const void* /*cookie*/, std::uint32_t /*length*/) {
  setBufferQuality(0);
}

void OrvAudioConverter::reset() {
  AudioConverterReset(audioConverter);
}

std::string OrvAudioConverter::description() const {
  return "OrvAudioConverter:[" + orv::formatText(" minimumInputBufferSize: %u; ]", minimumInputBufferSize()) +
         orv::formatText("minimumOutputBufferSize: %u; ]", minimumOutputBufferSize());
}

void OrvAudioConverter::printOSStatusCode(OSStatus status) {
  switch (status) {
    case kAudioConverterErr_FormatNotSupported:
      return orv::log("OS Status: kAudioConverterErr_FormatNotSupported");
    case kAudioConverterErr_OperationNotSupported:
      return orv::log("OS Status: kAudioConverterErr_OperationNotSupported");
    case kAudioConverterErr_PropertyNotSupported:
      return orv::log("OS Status: kAudioConverterErr_PropertyNotSupported");
    case kAudioConverterErr_InvalidInputSize:
      return orv::log("OS Status: kAudioConverterErr_InvalidInputSize");
    case kAudioConverterErr_InvalidOutputSize:
      return orv::log("OS Status: kAudioConverterErr_InvalidOutputSize");
    default:
      return orv::logf("OrvAudioConverter: OS Status: %s",
                       orv::fourCCInMemoryOrder(static_cast<FourCharCode>(status)).c_str());
  }
}
