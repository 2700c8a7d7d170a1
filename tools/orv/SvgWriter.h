#pragma once

#include <string>

#include "Picture.h"

namespace orv::cli {

/// Draws a picture of 1600 by 400: the waveform of each channel above each other, the tracks as bands with their
/// numbers and begins, the cuts as lines, a time axis. What is quiet is drawn larger, and says so.
std::string drawSvg(const Picture& picture);

}  // namespace orv::cli
