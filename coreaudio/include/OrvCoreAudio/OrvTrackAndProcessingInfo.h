#pragma once

#include <memory>
#include <string>
#include <vector>

#include "OrvCoreAudio/OrvAudioProcessingRangeInfo.h"
#include "OrvCoreAudio/OrvAudioTrackInfo.h"
#include "OrvCoreAudio/OrvObject.h"
#include "OrvPlatform/Archiver.h"

/// What is known about a recording beside its audio: its tracks, the processing passes that ran over it, and whether it
/// has been processed. One thread at a time.
class ORV_API OrvTrackAndProcessingInfo : public OrvObject, public orv::ArchiveRecord {
 public:
  using TrackList = std::vector<std::shared_ptr<OrvAudioTrackInfo>>;
  using ProcessingList = std::vector<std::shared_ptr<OrvAudioProcessingRangeInfo>>;

  /// Without lists, not processed.
  static std::shared_ptr<OrvTrackAndProcessingInfo> init();
  /// Null when the archive's fields are not those of such a record.
  static std::shared_ptr<OrvTrackAndProcessingInfo> initWithCoder(orv::ArchiveDecoder& coder);

  /// Null is not added.
  void addTrackInfo(const std::shared_ptr<OrvAudioTrackInfo>& track);
  void addTrackInfoForAllTracks(const TrackList& tracks);
  void clearTrackInfos() { mTrackInfos = nullptr; }
  /// The list itself; null when nothing was added, or since it was cleared.
  std::shared_ptr<TrackList> trackInfos() const { return mTrackInfos; }

  /// Null is not added.
  void addAudioProcessingInfo(const std::shared_ptr<OrvAudioProcessingRangeInfo>& processing);
  void addAudioProcessingForAllTracks(const ProcessingList& processings);
  void clearProcessingInfos() { mProcessingInfos = nullptr; }
  /// The list itself; null when nothing was added, or since it was cleared.
  std::shared_ptr<ProcessingList> processingInfos() const { return mProcessingInfos; }

  void setFileHasBeenProcessed(bool processed) { mFileHasBeenProcessed = processed; }
  bool fileHasBeenProcessed() const { return mFileHasBeenProcessed; }

  std::string archiveName() const override;
  void encodeWithCoder(orv::ArchiveEncoder& coder) const override;

 protected:
  OrvTrackAndProcessingInfo() = default;

 private:
  std::shared_ptr<TrackList> mTrackInfos;            // made by the first add
  std::shared_ptr<ProcessingList> mProcessingInfos;  // made by the first add
  bool mFileHasBeenProcessed = false;
};
