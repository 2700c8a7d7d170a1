#include "detection/ChunkTreatment.h"

#include <algorithm>
#include <utility>

#include "OrvCoreAudio/OrvAudioConverter.h"
#include "detection/ProcessingChain.h"
#include "detection/RateConversion.h"

namespace orv {
namespace {

constexpr std::uint32_t kChunkBytes = 0x40000;

std::uint32_t wholeFrames(const OrvAudioStreamBasicDescription& format) {
  return std::max<std::uint32_t>(kChunkBytes / format.bytesPerFrame(), 1) * format.bytesPerFrame();
}

/// The bytes as they are.
class Untreated final : public ChunkTreatment {
 public:
  explicit Untreated(const OrvAudioStreamBasicDescription& format) : chunkBytes_(wholeFrames(format)) {}

  std::uint32_t chunkBytes() const override { return chunkBytes_; }
  std::uint32_t treatedBytes() const override { return chunkBytes_; }
  OSStatus treat(AudioChunk& chunk, AudioChunk& treated) override {
    std::swap(chunk, treated);
    return noErr;
  }
  OSStatus drain(AudioChunk& treated) override {
    treated.size = 0;
    return noErr;
  }

 private:
  const std::uint32_t chunkBytes_;
};

/// Another sample format or other channels, at the same rate.
class Converted final : public ChunkTreatment {
 public:
  Converted(const OrvAudioStreamBasicDescription& source, std::shared_ptr<OrvAudioConverter> converter)
      : converter_(std::move(converter)),
        chunkBytes_(wholeFrames(source)),
        treatedBytes_(converter_->calculateOutputBufferSize(chunkBytes_)) {}

  std::uint32_t chunkBytes() const override { return chunkBytes_; }
  std::uint32_t treatedBytes() const override { return treatedBytes_; }
  OSStatus treat(AudioChunk& chunk, AudioChunk& treated) override {
    treated.size = treatedBytes_;
    return converter_->convertBuffer_inputBufferSize_outputBuffer_outputBufferSize(chunk.bytes.data(), chunk.size,
                                                                                   treated.bytes.data(), &treated.size);
  }
  OSStatus drain(AudioChunk& treated) override {
    treated.size = 0;
    return noErr;
  }

 private:
  const std::shared_ptr<OrvAudioConverter> converter_;
  const std::uint32_t chunkBytes_;
  const std::uint32_t treatedBytes_;
};

class Resampled final : public ChunkTreatment {
 public:
  explicit Resampled(std::unique_ptr<RateConversion> conversion) : conversion_(std::move(conversion)) {}

  std::uint32_t chunkBytes() const override { return conversion_->chunkBytes(); }
  std::uint32_t treatedBytes() const override { return conversion_->convertedBytes(); }
  OSStatus treat(AudioChunk& chunk, AudioChunk& treated) override {
    return conversion_->convert(chunk.bytes.data(), chunk.size, treated.bytes.data(), &treated.size);
  }
  OSStatus drain(AudioChunk& treated) override { return conversion_->drain(treated.bytes.data(), &treated.size); }

 private:
  const std::unique_ptr<RateConversion> conversion_;
};

class Processed final : public ChunkTreatment {
 public:
  explicit Processed(std::unique_ptr<ProcessingChain> chain) : chain_(std::move(chain)) {}

  std::uint32_t chunkBytes() const override { return chain_->chunkBytes(); }
  std::uint32_t treatedBytes() const override { return chain_->processedBytes(); }
  OSStatus treat(AudioChunk& chunk, AudioChunk& treated) override {
    return chain_->process(chunk.bytes.data(), chunk.size, treated.bytes.data(), &treated.size);
  }
  OSStatus drain(AudioChunk& treated) override { return chain_->drain(treated.bytes.data(), &treated.size); }

 private:
  const std::unique_ptr<ProcessingChain> chain_;
};

}  // namespace

std::unique_ptr<ChunkTreatment> makeTreatment(const FormatPointer& source, const FormatPointer& destination,
                                              const std::shared_ptr<OrvAudioProcessor>& processor) {
  if (processor) {
    auto chain = ProcessingChain::make(source, destination, processor);
    return chain ? std::make_unique<Processed>(std::move(chain)) : nullptr;
  }
  if (source->sampleRate() != destination->sampleRate()) {
    auto conversion = RateConversion::make(source, destination);
    return conversion ? std::make_unique<Resampled>(std::move(conversion)) : nullptr;
  }
  if (source->isEqual(destination)) {
    return std::make_unique<Untreated>(*source);
  }
  auto converter = OrvAudioConverter::initWithSourceFormat_destinationFormat(source, destination);
  return converter ? std::make_unique<Converted>(*source, std::move(converter)) : nullptr;
}

}  // namespace orv
