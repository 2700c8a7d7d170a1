#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "OrvCoreAudio/OrvAudioTrackInfo.h"

namespace orv {

/// The track at `index` of a recording that nobody has named yet. The number in its name is twice the index: names
/// count 0, 2, 4, …
std::shared_ptr<OrvAudioTrackInfo> untitledTrack(std::size_t index, std::uint64_t begin, std::uint64_t end);

}  // namespace orv
