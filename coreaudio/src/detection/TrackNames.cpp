#include "detection/TrackNames.h"

namespace orv {

std::shared_ptr<OrvAudioTrackInfo> untitledTrack(std::size_t index, std::uint64_t begin, std::uint64_t end) {
  auto track = OrvAudioTrackInfo::init();
  track->setTrackName("Untitled Track " + std::to_string(index * 2));
  track->setTrackBeginFrame(begin);
  track->setTrackEndFrame(end);
  return track;
}

}  // namespace orv
