#include "OrvCoreAudio/OrvAudioTrackAutoDefiner.h"

#include <algorithm>
#include <array>
#include <utility>

#include "OrvCoreAudio/OrvAudioFile.h"
#include "OrvCoreAudio/OrvSplitDetection.h"
#include "OrvPlatform/Log.h"
#include "WithoutThrowing.h"
#include "detection/CrossingAnalysis.h"
#include "detection/SplitRun.h"
#include "detection/TrackNames.h"

namespace {

/// One delegate for the whole process.
std::shared_ptr<OrvObject>& progressCallbackDelegate() {
  static auto* const delegate = new std::shared_ptr<OrvObject>;
  return *delegate;
}

using TrackList = OrvAudioTrackAutoDefiner::TrackList;
using Splits = std::array<std::uint32_t, kSplitArrayEntries>;

TrackList tracksBetween(const Splits& splits, std::int32_t trackCount) {
  TrackList tracks;
  for (std::int32_t i = 0; i < trackCount; ++i) {
    const auto index = static_cast<std::size_t>(i);
    tracks.push_back(orv::untitledTrack(index, splits[index], splits[index + 1]));
  }
  return tracks;
}

std::optional<TrackList> autoDefine(const std::string& path, std::int16_t sensitivity, float lengthOfSilence,
                                    std::int16_t zeroOffset, std::int16_t numberOfTracks) {
  const auto file = OrvAudioFile::initWithPath_accessMode(path, OrvAudioFile::kModeRead);
  file->setUseCache(false);
  file->open();
  // More tracks than the array has room for are not asked for.
  std::int32_t trackCount = std::min<std::int32_t>(numberOfTracks, kMostCountedTracks);
  Splits splits{};
  OrvSplitRun::isCancelled = false;
  const auto blocks = static_cast<std::int16_t>(orv::crossings::silenceInBlocks(lengthOfSilence));
  const std::int32_t widened = blocks;
  if (zeroCrossingSplitFile(file.get(), static_cast<std::uint16_t>(sensitivity), static_cast<std::uint32_t>(widened),
                            zeroOffset, splits.data(), &trackCount) != 0) {
    orv::log("An Error Ocurred While Auto-Defining Tracks");
  }
  std::optional<TrackList> tracks;
  if (!OrvSplitRun::isCancelled && trackCount != 0) {
    tracks = tracksBetween(splits, trackCount);
  }
  file->close();
  return tracks;
}

}  // namespace

std::optional<TrackList> OrvAudioTrackAutoDefiner::autoDefineTracksInFile(const std::string& path) {
  return autoDefineTracksInFile_lengthOfSilence(path, kDefaultLengthOfSilence);
}

std::optional<TrackList> OrvAudioTrackAutoDefiner::autoDefineTracksInFile_lengthOfSilence(const std::string& path,
                                                                                          float lengthOfSilence) {
  return autoDefineTracksInFile_sensitivity_lengthOfSilence(path, kDefaultSensitivity, lengthOfSilence);
}

std::optional<TrackList> OrvAudioTrackAutoDefiner::autoDefineTracksInFile_sensitivity(const std::string& path,
                                                                                      std::int16_t sensitivity) {
  return autoDefineTracksInFile_sensitivity_lengthOfSilence(path, sensitivity, kDefaultLengthOfSilence);
}

std::optional<TrackList> OrvAudioTrackAutoDefiner::autoDefineTracksInFile_sensitivity_lengthOfSilence(
    const std::string& path, std::int16_t sensitivity, float lengthOfSilence) {
  return autoDefineTracksInFile_sensitivity_lengthOfSilence_zeroOffset(path, sensitivity, lengthOfSilence,
                                                                       kDefaultZeroOffset);
}

std::optional<TrackList> OrvAudioTrackAutoDefiner::autoDefineTracksInFile_sensitivity_zeroOffset(
    const std::string& path, std::int16_t sensitivity, std::int16_t zeroOffset) {
  return autoDefineTracksInFile_sensitivity_lengthOfSilence_zeroOffset(path, sensitivity, kDefaultLengthOfSilence,
                                                                       zeroOffset);
}

std::optional<TrackList> OrvAudioTrackAutoDefiner::autoDefineTracksInFile_sensitivity_lengthOfSilence_zeroOffset(
    const std::string& path, std::int16_t sensitivity, float lengthOfSilence, std::int16_t zeroOffset) {
  return autoDefineTracksInFile_sensitivity_lengthOfSilence_zeroOffset_numberOfTracks(path, sensitivity,
                                                                                      lengthOfSilence, zeroOffset, 0);
}

std::optional<TrackList>
OrvAudioTrackAutoDefiner::autoDefineTracksInFile_sensitivity_lengthOfSilence_zeroOffset_numberOfTracks(
    const std::string& path, std::int16_t sensitivity, float lengthOfSilence, std::int16_t zeroOffset,
    std::int16_t numberOfTracks) {
  return withoutThrowing("OrvAudioTrackAutoDefiner", std::optional<TrackList>(),
                         [&] { return autoDefine(path, sensitivity, lengthOfSilence, zeroOffset, numberOfTracks); });
}

void OrvAudioTrackAutoDefiner::cancel() {
  OrvSplitRun::isCancelled = true;
}

void OrvAudioTrackAutoDefiner::setDelegate(std::shared_ptr<OrvObject> delegate) {
  progressCallbackDelegate() = std::move(delegate);
}

void OrvAudioTrackAutoDefiner::autoDefineProgress(float progress) {
  if (auto* const delegate = dynamic_cast<OrvAutoDefineProgressDelegate*>(progressCallbackDelegate().get())) {
    delegate->autoDefineProgress(progress);
  }
}
