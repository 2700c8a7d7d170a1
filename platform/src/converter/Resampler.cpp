#include "converter/Resampler.h"

#include <soxr.h>

#include "OrvPlatform/AudioConverter.h"

namespace orv::converter {
namespace {

/// Beyond this ratio soxr's filters grow without bound, and nobody's audio is there.
constexpr double kMostRatio = 256.0;

unsigned long recipeFor(std::uint32_t quality) {
  if (quality >= kAudioConverterQuality_Max) {
    return SOXR_VHQ;
  }
  if (quality >= kAudioConverterQuality_High) {
    return SOXR_HQ;
  }
  if (quality >= kAudioConverterQuality_Medium) {
    return SOXR_MQ;
  }
  return quality >= kAudioConverterQuality_Low ? SOXR_LQ : SOXR_QQ;
}

}  // namespace

std::unique_ptr<Resampler> Resampler::make(const Setup& setup) {
  const double ratio = setup.toRate / setup.fromRate;
  if (!(ratio <= kMostRatio && ratio >= 1.0 / kMostRatio)) {
    return nullptr;
  }
  std::unique_ptr<Resampler> resampler(new Resampler(setup));
  return resampler->open() ? std::move(resampler) : nullptr;
}

Resampler::~Resampler() {
  soxr_delete(stream_);
}

bool Resampler::open() {
  const soxr_datatype_t type = setup_.isDouble ? SOXR_FLOAT64_I : SOXR_FLOAT32_I;
  const soxr_io_spec_t io = soxr_io_spec(type, type);
  const soxr_quality_spec_t quality = soxr_quality_spec(recipeFor(setup_.quality), 0);
  const soxr_runtime_spec_t runtime = soxr_runtime_spec(1);
  soxr_error_t error = nullptr;
  stream_ = soxr_create(setup_.fromRate, setup_.toRate, setup_.channels, &error, &io, &quality, &runtime);
  return stream_ != nullptr && error == nullptr;
}

bool Resampler::process(const void* input, std::size_t inputFrames, void* output, std::size_t outputFrames,
                        std::size_t* produced) {
  // Without a place to say how much of the input was used, soxr uses all of it.
  return soxr_process(stream_, input, inputFrames, nullptr, output, outputFrames, produced) == nullptr;
}

bool Resampler::finish(void* output, std::size_t outputFrames, std::size_t* produced) {
  return soxr_process(stream_, nullptr, 0, nullptr, output, outputFrames, produced) == nullptr;
}

bool Resampler::reset() {
  soxr_delete(stream_);
  stream_ = nullptr;
  return open();
}

}  // namespace orv::converter
