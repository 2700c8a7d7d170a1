#include "OrvCoreAudio/OrvSoftwareVolumeControl.h"

#include <cmath>
#include <cstddef>

#include "OrvPlatform/Vector.h"

OrvAudioProcessor::~OrvAudioProcessor() = default;

namespace {

std::size_t countIn(const std::uint32_t* numberOfFrames) {
  return numberOfFrames == nullptr ? 0 : *numberOfFrames;
}

}  // namespace

std::shared_ptr<OrvSoftwareVolumeControl> OrvSoftwareVolumeControl::init() {
  return std::shared_ptr<OrvSoftwareVolumeControl>(new OrvSoftwareVolumeControl);
}

void OrvSoftwareVolumeControl::setVolumeDecibels(float decibels) {
  setVolumeScalar(static_cast<float>(std::pow(10.0, static_cast<double>(decibels) / 20.0)));
}

bool OrvSoftwareVolumeControl::processAudio_outputBuffer_channelsPerFrame_numberOfFrames(
    const float* input, float* output, std::uint32_t channelsPerFrame, std::uint32_t* numberOfFrames) {
  const float scalar = volumeScalar();
  vsmul(input, 1, &scalar, output, 1, countIn(numberOfFrames) * channelsPerFrame);
  return true;
}

bool OrvSoftwareVolumeControl::processAudio_outputBuffer_numChannels_numberOfFrames(
    const float* const* inputs, float* const* outputs, std::uint32_t channels,
    const std::uint32_t* numberOfFrames) const {
  const float scalar = volumeScalar();
  for (std::uint32_t channel = 0; channel < channels; ++channel) {
    vsmul(inputs[channel], 1, &scalar, outputs[channel], 1, countIn(numberOfFrames));
  }
  return true;
}

void OrvSoftwareVolumeControl::processAudio_numChannels_numberOfFrames(float* samples, std::uint32_t channels,
                                                                       const std::uint32_t* numberOfFrames) const {
  const float scalar = volumeScalar();
  vsmul(samples, 1, &scalar, samples, 1, countIn(numberOfFrames) * channels);
}
