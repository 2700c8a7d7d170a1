#include "detection/TrackNames.h"

#include "OrvCoreAudio/OrvAudioTrackAutoDefiner.h"

std::string OrvAudioTrackAutoDefiner::untitledName(std::size_t index) {
  return "Untitled Track " + std::to_string(index * 2);
}

namespace orv {

std::shared_ptr<OrvAudioTrackInfo> untitledTrack(std::size_t index, std::uint64_t begin, std::uint64_t end) {
  auto track = OrvAudioTrackInfo::init();
  track->setTrackName(OrvAudioTrackAutoDefiner::untitledName(index));
  track->setTrackBeginFrame(begin);
  track->setTrackEndFrame(end);
  return track;
}

}  // namespace orv
