#pragma once

#include <string>

namespace orv::bench {

/// Makes a 24-bit stereo AIFF file of 44.1 kHz: ten seconds of a tone of -1 dBFS, without dither.
void makeTone(const std::string& path, double frequency);

/// What the first channel of a file holds beside a tone of `frequency`, in dB relative to the tone: the sine of that
/// frequency that fits best is taken away, and the rest measured. The first and the last second are left out, where a
/// resampler starts and stops.
double toneResidue(const std::string& path, double frequency);

}  // namespace orv::bench
