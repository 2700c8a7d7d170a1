#include "StoredTracks.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>

#include "Failure.h"
#include "OrvCoreAudio/OrvAIFFUtility.h"

namespace orv::cli {
namespace {

/// What the chunks of this program are found by.
constexpr FourCharCode kSignature = fourCC("Vorn");

std::uint64_t moved(std::uint64_t frame, double ratio, std::uint64_t end) {
  const double place = std::round(static_cast<double>(frame) * ratio);
  return place < static_cast<double>(end) ? static_cast<std::uint64_t>(place) : end;
}

}  // namespace

const char* nameOf(TrackStore store) {
  return store == TrackStore::internal ? "internal" : "external";
}

CLI::Option* addTrackStore(CLI::App& command, std::optional<TrackStore>* target, const std::string& help) {
  const auto take = [target](const std::string& text) {
    for (const TrackStore store : {TrackStore::internal, TrackStore::external}) {
      if (text == nameOf(store)) {
        *target = store;
        return;
      }
    }
    throw CLI::ValidationError("--store", "'" + text + "' is not known; there are: internal, external");
  };
  return command.add_option_function<std::string>("--store", take, help)->type_name("WHERE");
}

bool holdsTracks(AudioFileTypeID type) {
  return type == kAudioFileAIFFType || type == kAudioFileAIFCType;
}

StoredTracks StoredTracks::load(const SourceFile& recording, std::optional<TrackStore> store, Unreadable unreadable) {
  StoredTracks stored(recording);
  if (store) {
    stored.lookIn(*store, unreadable);
    return stored;
  }
  if (!stored.lookIn(TrackStore::internal, unreadable) && !stored.lookIn(TrackStore::external, unreadable) &&
      holdsTracks(recording.file->fileType())) {
    stored.store_ = TrackStore::internal;
    stored.storage_ = storageOf(recording.path, TrackStore::internal);
  }
  return stored;
}

bool StoredTracks::lookIn(TrackStore store, Unreadable unreadable) {
  store_ = store;
  storage_ = storageOf(path_, store);
  if (storage_->loadTracks()) {
    foundIn_ = store;
  } else if (!storage_->isNothingStored() && unreadable == Unreadable::refuse) {
    fail();
  }
  return foundIn_.has_value();
}

StoredTracks::Storage StoredTracks::storageOf(const std::string& path, TrackStore store) {
  using ReaderWriter = OrvAudioFileTrackInfoReaderWriter;
  return store == TrackStore::internal ? ReaderWriter::initWithAudioFilePath_applSignature(path, kSignature)
                                       : ReaderWriter::initWithAudioFilePathExternalStorage(path);
}

void StoredTracks::fail() const {
  // Some of the framework's lines begin with the file that they are about.
  const std::string& problem = storage_->lastProblem();
  for (const std::string& path : {path_, storage_->tracksInfoFilePath()}) {
    if (problem.starts_with(path + ": ")) {
      throw Failure(path, problem.substr(path.size() + 2));
    }
  }
  throw Failure(path_, problem);
}

std::vector<Track> StoredTracks::tracks() const {
  std::vector<Track> tracks;
  if (const auto stored = storage_->trackInfos()) {
    for (const auto& track : *stored) {
      tracks.push_back(
          {track->trackName().value_or(""), track->trackBeginFrame(), track->trackEndFrame(), track->isActive()});
    }
  }
  return tracks;
}

void StoredTracks::setTracks(const std::vector<Track>& tracks) {
  storage_->clearTrackInfos();
  for (const Track& track : tracks) {
    storage_->addTrackInfo(OrvAudioTrackInfo::initWithTrackName_trackBeginFrame_trackEndFrame_isActive(
        track.name, track.begin, track.end, track.active));
  }
  // An empty list is something to store, too.
  storage_->setFileHasBeenProcessed(storage_->fileHasBeenProcessed());
}

StoredTracks::Records StoredTracks::processings() const {
  const auto stored = storage_->processingInfos();
  return stored ? *stored : Records();
}

void StoredTracks::addProcessing(const std::shared_ptr<OrvAudioProcessingRangeInfo>& processing) {
  storage_->addAudioProcessingInfo(processing);
  storage_->setFileHasBeenProcessed(true);
}

void StoredTracks::checkStore() const {
  if (store_ == TrackStore::external) {
    return;
  }
  const auto recording = OrvAudioFile::initWithPath_accessMode(path_, OrvAudioFile::kModeRead);
  if (!recording->open() || !holdsTracks(recording->fileType())) {
    throw Failure(path_, "holds no tracks, only AIFF and AIFC files do; '--store external' keeps them beside it");
  }
  if (!OrvAIFFUtility::validateFileAtPath(path_)) {
    throw Failure(path_, "the size that its FORM states is not its length; 'orv check --repair' puts it right");
  }
}

void StoredTracks::save() {
  if (!storage_->storeTracks()) {
    fail();
  }
}

std::string StoredTracks::storeCopyIn(const std::string& path, double ratio, std::uint64_t end) const {
  const Storage copy = storageOf(path, TrackStore::internal);
  for (const Track& track : tracks()) {
    copy->addTrackInfo(OrvAudioTrackInfo::initWithTrackName_trackBeginFrame_trackEndFrame_isActive(
        track.name, moved(track.begin, ratio, end), moved(track.end, ratio, end), track.active));
  }
  for (const auto& record : processings()) {
    auto processing = OrvAudioProcessingRangeInfo::initWithProcessNameAndRange_processingStartFrame_processingEndFrame(
        record->processName(), moved(record->processingStartFrame(), ratio, end),
        moved(record->processingEndFrame(), ratio, end));
    processing->setProcessingSettings(*record->processingSettings());
    copy->addAudioProcessingInfo(processing);
  }
  copy->setFileHasBeenProcessed(isProcessed());
  return copy->storeTracks() ? "" : "the tracks could not be stored in it: " + copy->lastProblem();
}

}  // namespace orv::cli
