#include "TrackListing.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string_view>

#include "CueSheet.h"
#include "Failure.h"
#include "OrvPlatform/Log.h"
#include "Text.h"
#include "TimeText.h"

namespace orv::cli {
namespace {

// Far above what a listing has, and far below what would make trouble.
constexpr std::size_t kMostTracks = 1000;
constexpr std::size_t kMostBytes = 1 << 20;

// What the last track of a sheet that is longer than the recording is taken to last, in seconds. The detector then says
// that the durations are too long.
constexpr double kShortestLastTrack = 1;

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view blanks = " \t\r";
  const std::size_t first = text.find_first_not_of(blanks);
  return first == std::string_view::npos ? "" : text.substr(first, text.find_last_not_of(blanks) + 1 - first);
}

double durationFrom(std::string_view text) {
  const std::optional<double> seconds = parseDuration(text);
  if (!seconds || !(*seconds > 0)) {
    throw Failure("'" + printable(text) + "' is no duration such as 3:28");
  }
  return *seconds;
}

void checkNumberOfTracks(std::size_t count) {
  if (count == 0) {
    throw Failure("names no track");
  }
  if (count > kMostTracks) {
    throw Failure(formatText("names more than %zu tracks", kMostTracks));
  }
}

std::string readListing(const std::string& path) {
  std::error_code error;
  if (std::filesystem::is_directory(path, error)) {
    throw Failure(path, "is a directory");
  }
  errno = 0;
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    throw systemFailure(path, errno != 0 ? errno : EIO);
  }
  std::string text(kMostBytes + 1, '\0');
  file.read(text.data(), static_cast<std::streamsize>(text.size()));
  if (file.bad()) {
    throw systemFailure(path, EIO);
  }
  text.resize(static_cast<std::size_t>(file.gcount()));
  if (text.size() > kMostBytes) {
    throw Failure(path, "is too long for a list of tracks");
  }
  constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
  return text.starts_with(byteOrderMark) ? text.substr(byteOrderMark.size()) : text;
}

bool isCueSheet(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension().string();
  std::ranges::transform(extension, extension.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c; });
  return extension == ".cue";
}

}  // namespace

std::vector<double> parseDurations(const std::string& text) {
  std::vector<double> durations;
  std::string_view rest = text;
  for (bool more = true; more;) {
    const std::size_t comma = rest.find(',');
    more = comma != std::string_view::npos;
    durations.push_back(durationFrom(trimmed(rest.substr(0, comma))));
    rest.remove_prefix(more ? comma + 1 : rest.size());
  }
  checkNumberOfTracks(durations.size());
  return durations;
}

TrackListing readTrackListing(const std::string& path, double recordingSeconds) {
  const std::string text = readListing(path);
  try {
    return isCueSheet(path) ? listingFromCueSheet(text, recordingSeconds) : listingFromText(text);
  } catch (const Failure& failure) {
    throw Failure(path, failure.what());
  }
}

TrackListing listingFromText(const std::string& text) {
  TrackListing listing;
  std::istringstream lines(text);
  std::size_t number = 0;
  for (std::string line; std::getline(lines, line);) {
    ++number;
    const std::string_view content = trimmed(line);
    if (content.empty() || content.starts_with('#')) {
      continue;
    }
    const std::size_t tab = content.rfind('\t');
    const bool hasTitle = tab != std::string_view::npos;
    listing.titles.emplace_back(hasTitle ? trimmed(content.substr(0, tab)) : "");
    try {
      listing.durations.push_back(durationFrom(hasTitle ? trimmed(content.substr(tab + 1)) : content));
    } catch (const Failure& failure) {
      throw Failure(formatText("line %zu: %s", number, failure.what()));
    }
  }
  checkNumberOfTracks(listing.durations.size());
  if (std::ranges::all_of(listing.titles, &std::string::empty)) {
    listing.titles.clear();
  }
  return listing;
}

TrackListing listingFromCueSheet(const std::string& text, double recordingSeconds) {
  const std::vector<CueTrack> tracks = parseCueSheet(text);
  checkNumberOfTracks(tracks.size());
  TrackListing listing;
  for (std::size_t i = 0; i < tracks.size(); ++i) {
    const double rest = std::max(recordingSeconds - tracks[i].seconds, kShortestLastTrack);
    listing.durations.push_back(i + 1 < tracks.size() ? tracks[i + 1].seconds - tracks[i].seconds : rest);
    listing.titles.push_back(tracks[i].title);
  }
  return listing;
}

}  // namespace orv::cli
