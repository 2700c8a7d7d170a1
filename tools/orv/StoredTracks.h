#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "OrvCoreAudio/OrvAudioFileTrackInfoReaderWriter.h"
#include "SourceFile.h"
#include "Track.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace orv::cli {

/// Where tracks are kept: in the recording itself, or in a side file beside it.
enum class TrackStore { internal, external };

/// "internal", "external".
const char* nameOf(TrackStore store);

/// Adds --store. Nothing: not asked for.
CLI::Option* addTrackStore(CLI::App& command, std::optional<TrackStore>* target, const std::string& help);

/// The tracks and processing records that are stored with a recording.
class StoredTracks {
 public:
  using Records = OrvAudioFileTrackInfoReaderWriter::ProcessingList;

  /// What to do where something is stored that can't be read.
  enum class Unreadable { refuse, drop };

  /// What is stored in `store`; without one, in the recording, and where nothing is stored there, beside it. Throws
  /// `Failure` where something is stored that can't be read.
  static StoredTracks load(const SourceFile& recording, std::optional<TrackStore> store,
                           Unreadable unreadable = Unreadable::refuse);

  /// Where it was found; nothing: nothing is stored.
  std::optional<TrackStore> foundIn() const { return foundIn_; }
  /// The side file, whether there is one or not.
  std::string sideFile() const { return storage_->tracksInfoFilePath(); }

  std::vector<Track> tracks() const;
  void setTracks(const std::vector<Track>& tracks);
  Records processings() const;
  void addProcessing(const std::shared_ptr<OrvAudioProcessingRangeInfo>& processing);
  bool isProcessed() const { return storage_->fileHasBeenProcessed(); }

  /// Throws `Failure` where `save` could not store anything: the recording's type has no room for it, or its size is
  /// not the one that it states.
  void checkStore() const;
  /// Stores it where it was found, or where `load` was told to look, or else where there is room: in an AIFF, beside
  /// any other. Throws `Failure`; what was stored is then as it was.
  void save();
  /// Where `save` stores it.
  TrackStore store() const { return store_; }

  /// Stores the same in the AIFF file at `path`, places in it moved by `ratio`, none behind the frame `end`. The answer
  /// is the problem; empty: there is none.
  std::string storeCopyIn(const std::string& path, double ratio, std::uint64_t end) const;

 private:
  using Storage = std::shared_ptr<OrvAudioFileTrackInfoReaderWriter>;

  explicit StoredTracks(const SourceFile& recording) : path_(recording.path) {}
  bool lookIn(TrackStore store, Unreadable unreadable);
  static Storage storageOf(const std::string& path, TrackStore store);
  [[noreturn]] void fail() const;

  std::string path_;  ///< of the recording
  Storage storage_;
  TrackStore store_ = TrackStore::internal;
  std::optional<TrackStore> foundIn_;
};

/// Whether a file of that type has room for tracks.
bool holdsTracks(AudioFileTypeID type);

}  // namespace orv::cli
