#include "OrvCoreAudio/OrvAudioTrackInfo.h"

#include <utility>

#include "OrvCoreAudio/ByteUtility.h"
#include "OrvCoreAudio/OrvArchiveKeys.h"
#include "tracks/ArchiveFields.h"

namespace {

/// What plain `init` marks a record with.
constexpr std::uint32_t kRecordVersion = 2;

/// What a text format shows for a name that is missing.
constexpr const char* kNoName = "(null)";

std::uint64_t reversed(std::uint64_t frame) {
  ByteUtility::swapBytes64bit(&frame);
  return frame;
}

}  // namespace

std::shared_ptr<OrvAudioTrackInfo> OrvAudioTrackInfo::init() {
  auto track = initWithTrackName(std::nullopt);
  track->audioTrackInfoVersion = kRecordVersion;
  return track;
}

std::shared_ptr<OrvAudioTrackInfo> OrvAudioTrackInfo::initWithTrackName(std::optional<std::string> name) {
  std::shared_ptr<OrvAudioTrackInfo> track(new OrvAudioTrackInfo);
  track->_trackName = std::move(name);
  return track;
}

std::shared_ptr<OrvAudioTrackInfo> OrvAudioTrackInfo::initWithTrackName_trackBeginFrame_trackEndFrame(
    std::optional<std::string> name, std::uint64_t begin, std::uint64_t end) {
  auto track = initWithTrackName(std::move(name));
  track->_trackIn = begin;
  track->_trackOut = end;
  return track;
}

std::shared_ptr<OrvAudioTrackInfo> OrvAudioTrackInfo::initWithTrackName_trackBeginFrame_trackEndFrame_isActive(
    std::optional<std::string> name, std::uint64_t begin, std::uint64_t end, bool isActive) {
  auto track = initWithTrackName_trackBeginFrame_trackEndFrame(std::move(name), begin, end);
  track->_isActive = isActive;
  return track;
}

std::shared_ptr<OrvAudioTrackInfo> OrvAudioTrackInfo::audioTrackInfoWithTrackName(std::optional<std::string> name) {
  return initWithTrackName(std::move(name));
}

std::shared_ptr<OrvAudioTrackInfo> OrvAudioTrackInfo::audioTrackInfoWithTrackName_trackBeginFrame_trackEndFrame(
    std::optional<std::string> name, std::uint64_t begin, std::uint64_t end) {
  return initWithTrackName_trackBeginFrame_trackEndFrame(std::move(name), begin, end);
}

std::shared_ptr<OrvAudioTrackInfo>
OrvAudioTrackInfo::audioTrackInfoWithTrackName_trackBeginFrame_trackEndFrame_isActive(std::optional<std::string> name,
                                                                                      std::uint64_t begin,
                                                                                      std::uint64_t end,
                                                                                      bool isActive) {
  return initWithTrackName_trackBeginFrame_trackEndFrame_isActive(std::move(name), begin, end, isActive);
}

bool OrvAudioTrackInfo::isEqual(const std::shared_ptr<const OrvObject>& other) const {
  const auto* track = dynamic_cast<const OrvAudioTrackInfo*>(other.get());
  if (other.get() == this || track == nullptr) {
    return true;
  }
  return _trackName == track->_trackName && _trackIn == track->_trackIn && _trackOut == track->_trackOut;
}

std::string OrvAudioTrackInfo::description() const {
  return "OrvAudioTrackInfo [" + _trackName.value_or(kNoName) + ": IN:" + std::to_string(_trackIn) +
         " OUT:" + std::to_string(_trackOut) + "]";
}

std::string OrvAudioTrackInfo::archiveName() const {
  return "OrvAudioTrackInfo";
}

void OrvAudioTrackInfo::encodeWithCoder(orv::ArchiveEncoder& coder) const {
  archivefields::encode(coder, OrvTrackName, archivefields::textOrNothing(_trackName));
  archivefields::encode(coder, OrvTrackBegin, reversed(_trackIn));
  archivefields::encode(coder, OrvTrackEnd, reversed(_trackOut));
  archivefields::encode(coder, OrvTrackIsActive, _isActive);
}

std::shared_ptr<OrvAudioTrackInfo> OrvAudioTrackInfo::initWithCoder(orv::ArchiveDecoder& coder) {
  auto track = initWithTrackName(std::nullopt);
  const bool isWhole = archivefields::decodeText(coder, OrvTrackName, &track->_trackName) &&
                       archivefields::decodeNumber(coder, OrvTrackBegin, &track->_trackIn) &&
                       archivefields::decodeNumber(coder, OrvTrackEnd, &track->_trackOut) &&
                       archivefields::decodeNumber(coder, OrvTrackIsActive, &track->_isActive);
  track->_trackIn = reversed(track->_trackIn);
  track->_trackOut = reversed(track->_trackOut);
  return isWhole ? track : nullptr;
}
