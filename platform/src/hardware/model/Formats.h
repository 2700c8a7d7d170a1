#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "OrvPlatform/AudioHardware.h"
#include "OrvPlatform/AudioTypes.h"

namespace orv::hardwaremodel {

using NominalRates = std::vector<AudioValueRange>;

/// 32-bit floats in the machine's byte order, interleaved: what cycles carry.
AudioStreamBasicDescription floatFormat(std::uint32_t channels, double rate);
/// Packed linear PCM in the machine's byte order: integers of 8 to 32 bits or floats.
AudioStreamBasicDescription packedFormat(std::uint32_t channels, std::uint32_t bits, bool isFloat, bool isBigEndian);

bool offersRate(const NominalRates& rates, double rate);
/// The offered rate next to `rate`, which is finite; the lower one of two. There is at least one.
double closestRate(const NominalRates& rates, double rate);

/// Whether two formats differ in nothing but, at most, the sample rate.
bool haveSameSamples(const AudioStreamBasicDescription& a, const AudioStreamBasicDescription& b);

/// Which of `formats` is in force at `rate`, with that rate filled in: the one with the samples of `preferred` if it is
/// there, otherwise the first. Nothing when none has that rate.
std::optional<AudioStreamBasicDescription> formatAtRate(const std::vector<AudioStreamBasicDescription>& formats,
                                                        const AudioStreamBasicDescription& preferred, double rate);

/// `wanted` if one of `formats` is just that, at a rate that the device has. A rate of 0 stands for `currentRate`.
std::optional<AudioStreamBasicDescription> exactFormat(const std::vector<AudioStreamBasicDescription>& formats,
                                                       const NominalRates& rates,
                                                       const AudioStreamBasicDescription& wanted, double currentRate);

/// The one of `formats` that is most like `wanted`: first by the kind of samples (float or integer), then by their
/// bits, their byte order and the rate. Nothing when `wanted` is not linear PCM or its rate is no number.
std::optional<AudioStreamBasicDescription> closestFormat(const std::vector<AudioStreamBasicDescription>& formats,
                                                         const NominalRates& rates,
                                                         const AudioStreamBasicDescription& wanted, double currentRate);

/// The formats of cycles at each rate of the device: one for each rate, or one whose rate of 0 stands for all, where
/// the device has ranges of rates.
std::vector<AudioStreamBasicDescription> cycleFormats(const NominalRates& rates, std::uint32_t channels);

}  // namespace orv::hardwaremodel
