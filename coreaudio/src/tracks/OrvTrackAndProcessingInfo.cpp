#include "OrvCoreAudio/OrvTrackAndProcessingInfo.h"

#include "OrvCoreAudio/OrvArchiveKeys.h"
#include "tracks/ArchiveFields.h"

namespace {

template <typename List>
void add(std::shared_ptr<List>& list, const typename List::value_type& record) {
  if (list == nullptr) {
    list = std::make_shared<List>();
  }
  if (record != nullptr) {
    list->push_back(record);
  }
}

template <typename List>
void addAll(std::shared_ptr<List>& list, const List& records) {
  add(list, nullptr);
  const std::size_t count = records.size();  // it may be the list itself
  for (std::size_t i = 0; i < count; ++i) {
    add(list, records[i]);
  }
}

}  // namespace

std::shared_ptr<OrvTrackAndProcessingInfo> OrvTrackAndProcessingInfo::init() {
  return std::shared_ptr<OrvTrackAndProcessingInfo>(new OrvTrackAndProcessingInfo);
}

std::shared_ptr<OrvTrackAndProcessingInfo> OrvTrackAndProcessingInfo::initWithCoder(orv::ArchiveDecoder& coder) {
  auto info = init();
  const bool isWhole = archivefields::decodeList(coder, OrvTrackInfos, &info->mTrackInfos) &&
                       archivefields::decodeList(coder, OrvProcessInfos, &info->mProcessingInfos) &&
                       archivefields::decodeNumber(coder, OrvHasBeenProcessed, &info->mFileHasBeenProcessed);
  return isWhole ? info : nullptr;
}

void OrvTrackAndProcessingInfo::addTrackInfo(const std::shared_ptr<OrvAudioTrackInfo>& track) {
  add(mTrackInfos, track);
}

void OrvTrackAndProcessingInfo::addTrackInfoForAllTracks(const TrackList& tracks) {
  addAll(mTrackInfos, tracks);
}

void OrvTrackAndProcessingInfo::addAudioProcessingInfo(const std::shared_ptr<OrvAudioProcessingRangeInfo>& processing) {
  add(mProcessingInfos, processing);
}

void OrvTrackAndProcessingInfo::addAudioProcessingForAllTracks(const ProcessingList& processings) {
  addAll(mProcessingInfos, processings);
}

std::string OrvTrackAndProcessingInfo::archiveName() const {
  return "OrvTrackAndProcessingInfo";
}

void OrvTrackAndProcessingInfo::encodeWithCoder(orv::ArchiveEncoder& coder) const {
  archivefields::encode(coder, OrvTrackInfos, archivefields::listOrNothing(mTrackInfos));
  archivefields::encode(coder, OrvProcessInfos, archivefields::listOrNothing(mProcessingInfos));
  archivefields::encode(coder, OrvHasBeenProcessed, mFileHasBeenProcessed);
}
