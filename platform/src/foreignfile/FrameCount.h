#pragma once

#include <cstdint>

#include "foreignfile/Decoder.h"

namespace orv::foreignfile {

/// Frames that really can be decoded. What the file claims is believed when its last frames are found there; otherwise,
/// or where it claims nothing, all of it is decoded once. Leaves the decoder at the first frame.
OSStatus countFrames(Decoder& decoder, std::int64_t* frames);

}  // namespace orv::foreignfile
