#pragma once

#include <string>
#include <vector>

#include "accuracy/Random.h"
#include "accuracy/Sound.h"

namespace orv::accuracy {

/// What a transfer adds to the music. Levels are RMS in dBFS; a level of `kNone` is no such noise.
struct NoiseRecipe {
  static constexpr double kNone = -200;

  double hiss = kNone;
  double hissDrift = 0;      ///< dB that the hiss slowly rises and falls by
  double clickPeak = kNone;  ///< peak of the loudest clicks
  double hum = kNone;        ///< 50 Hz and its harmonics
  double rumble = kNone;     ///< 20 to 60 Hz
  double groove = kNone;     ///< a record's lead-in groove, sampled
};

/// Adds the noise over the whole sound. How coloured the hiss is, how many clicks there are and the phases are drawn.
/// `groove` is the sample that is looped; may be empty where the recipe does without.
void addNoise(const NoiseRecipe& recipe, const Sound& groove, Random& random, Sound& sound);

}  // namespace orv::accuracy
