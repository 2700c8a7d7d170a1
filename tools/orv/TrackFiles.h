#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "Destination.h"
#include "ProgressBar.h"
#include "SourceFile.h"
#include "Track.h"

namespace orv::cli {

/// "01 Untitled Track 0.aiff": the track's number, counted from 1, and its name made fit for a file name. Nothing that
/// a track is called leads out of the directory, hides the file or breaks a line.
std::string trackFileName(std::size_t number, const std::string& trackName, const std::string& extension);

/// One file for each track of a recording, all of them or none: they are written into a hidden directory beside their
/// final place and get their names when all are complete. Whatever ends the run before leaves what was there untouched.
class TrackFiles {
 public:
  /// Checks every name; writes nothing. Throws `Failure`.
  TrackFiles(std::string directory, const SourceFile& source, std::vector<Track> tracks, Overwrite overwrite);
  TrackFiles(const TrackFiles&) = delete;
  TrackFiles& operator=(const TrackFiles&) = delete;
  /// Removes what was not committed.
  ~TrackFiles();

  /// Writes the files under temporary names. Throws `Failure` or `Cancelled`.
  void stage(ProgressBar& progress);
  /// Gives them their names. Throws `Failure`, whose line names the files that have theirs already.
  void commit();

  /// Where the files are once they are committed.
  const std::vector<std::string>& paths() const { return paths_; }

 private:
  void makeDirectories();
  std::string stagedPath(std::size_t index) const;

  std::string directory_;
  std::string sourcePath_;
  std::vector<Track> tracks_;
  Overwrite overwrite_;
  std::vector<std::string> names_;
  std::vector<std::string> paths_;
  bool madeDirectory_ = false;
  std::string stagingDirectory_;  // empty until made
  bool committed_ = false;
};

}  // namespace orv::cli
