#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "OrvPlatform/AudioFile.h"
#include "Track.h"

namespace orv::cli {

/// Cue sheets: where the tracks of a recording begin, in the text form that disc burners and players read.
///
///     FILE "side.aiff" AIFF
///       TRACK 01 AUDIO
///         TITLE "First"
///         INDEX 01 00:00:00      minutes:seconds:frames, 75 frames a second
///
/// A sheet has no place for where a track ends, and no way to write a quotation mark.

/// Numbers of tracks have two digits.
inline constexpr std::size_t kMostCueTracks = 99;

/// What a sheet is about.
struct CueSource {
  std::string fileName;  ///< without folders: a sheet lies beside its recording
  AudioFileTypeID type = 0;
  double sampleRate = 0;  ///< Hz
};

/// Times are rounded down, so that no track loses its beginning to the one before it. In names an apostrophe stands for
/// each quotation mark. Requires: `kMostCueTracks` at most.
std::string writeCueSheet(const CueSource& source, const std::vector<Track>& tracks);

/// A track of a sheet that was read.
struct CueTrack {
  std::string title;   ///< empty where there is none
  double seconds = 0;  ///< its INDEX 01
};

/// Tracks in order of time, each one later than the one before. Throws `Failure` without a path: on a line that can't
/// be understood, and on a sheet about several files, whose times don't follow each other.
std::vector<CueTrack> parseCueSheet(const std::string& text);

}  // namespace orv::cli
