#pragma once

#include <string>

#include "Picture.h"

namespace orv::cli {

/// Draws a picture of 1600 by 520: the waveform, below it the level on a dB scale with the noise floor, the tracks as
/// bands with their numbers and begins, the cuts as lines with their confidence, doubtful places as dashed lines, a
/// time axis and a legend. What is quiet is drawn larger, and says so.
std::string drawSvg(const Picture& picture);

}  // namespace orv::cli
