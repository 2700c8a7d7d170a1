#include "detection/ProcessingChain.h"

#include <algorithm>

namespace orv {
namespace {

ProcessingChain::Format floatFormatLike(const OrvAudioStreamBasicDescription& source) {
  auto format = OrvAudioStreamBasicDescription::defaultStandardDeviceFormat();
  format->setSampleRate(source.sampleRate());
  format->setChannelsPerFrame(source.channelsPerFrame());
  format->setBytesPerFrame(static_cast<std::uint32_t>(sizeof(float)) * source.channelsPerFrame());
  format->setBytesPerPacket(format->bytesPerFrame());
  return format;
}

}  // namespace

std::unique_ptr<ProcessingChain> ProcessingChain::make(const Format& source, const Format& destination,
                                                       std::shared_ptr<OrvAudioProcessor> processor) {
  if (!source || !destination || source->bytesPerFrame() == 0) {
    return nullptr;
  }
  const Format floats = floatFormatLike(*source);
  std::unique_ptr<ProcessingChain> chain(new ProcessingChain);
  chain->toFloat_ = OrvAudioConverter::initWithSourceFormat_destinationFormat(source, floats);
  chain->fromFloat_ = OrvAudioConverter::initWithSourceFormat_destinationFormat(floats, destination);
  if (!chain->toFloat_ || !chain->fromFloat_) {
    return nullptr;
  }
  if (source->sampleRate() != destination->sampleRate()) {
    chain->fromFloat_->setSampleRateConverterQuality(kAudioConverterQuality_Max);
  }
  chain->processor_ = std::move(processor);
  chain->channels_ = source->channelsPerFrame();
  const std::uint32_t frames = std::max<std::uint32_t>(kMostChunkBytes / source->bytesPerFrame(), 1);
  chain->chunkBytes_ = frames * source->bytesPerFrame();
  chain->samples_.resize(chain->toFloat_->calculateOutputBufferSize(chain->chunkBytes_) / sizeof(float));
  chain->processed_.resize(chain->samples_.size());
  return chain;
}

std::uint32_t ProcessingChain::processedBytes() const {
  return fromFloat_->calculateOutputBufferSize(static_cast<std::uint32_t>(processed_.size() * sizeof(float)));
}

OSStatus ProcessingChain::process(const void* input, std::uint32_t inputSize, void* output, std::uint32_t* outputSize) {
  auto floatBytes = static_cast<std::uint32_t>(samples_.size() * sizeof(float));
  const OSStatus status = toFloat_->convertBuffer_inputBufferSize_outputBuffer_outputBufferSize(
      input, inputSize, samples_.data(), &floatBytes);
  if (status != noErr) {
    return status;
  }
  const std::size_t samples = floatBytes / sizeof(float);
  auto frames = static_cast<std::uint32_t>(samples / channels_);
  // What a processor leaves alone is silence, never the chunk before.
  std::fill_n(processed_.begin(), samples, 0.0F);
  if (!processor_->processAudio_outputBuffer_channelsPerFrame_numberOfFrames(samples_.data(), processed_.data(),
                                                                             channels_, &frames)) {
    return kProcessorSaidNo;
  }
  *outputSize = processedBytes();
  return fromFloat_->convertBuffer_inputBufferSize_outputBuffer_outputBufferSize(processed_.data(), floatBytes, output,
                                                                                 outputSize);
}

OSStatus ProcessingChain::drain(void* output, std::uint32_t* outputSize) {
  *outputSize = processedBytes();
  return fromFloat_->drainIntoBuffer_outputBufferSize(output, outputSize);
}

std::string describeProcessing(OSStatus status) {
  return status == ProcessingChain::kProcessorSaidNo ? "the processor refused the audio" : describeStatus(status);
}

}  // namespace orv
