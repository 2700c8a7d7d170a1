#pragma once

#include <string>
#include <vector>

namespace orv::cli {

/// The tracks that a person expects on a recording, in order.
struct TrackListing {
  std::vector<double> durations;    ///< seconds, each above 0
  std::vector<std::string> titles;  ///< one for each duration, empty where it is not known; or none at all
};

/// "3:28,3:54,208": the durations in seconds. Throws `Failure`, its line about the entry that is none.
std::vector<double> parseDurations(const std::string& text);

/// Reads a cue sheet (a name that ends in ".cue") or a text with one track on each line: a duration, or a title, a tab
/// and a duration; empty lines and those that begin with '#' are skipped. A cue sheet does not say where its last track
/// ends: that is the end of the recording. Throws `Failure`, its line about `path`.
TrackListing readTrackListing(const std::string& path, double recordingSeconds);

/// The same for text that was read. Throws `Failure`, its line about the line that is wrong.
TrackListing listingFromText(const std::string& text);
TrackListing listingFromCueSheet(const std::string& text, double recordingSeconds);

}  // namespace orv::cli
