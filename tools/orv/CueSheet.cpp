#include "CueSheet.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <optional>
#include <sstream>

#include "Failure.h"
#include "OrvPlatform/Log.h"
#include "Text.h"

namespace orv::cli {
namespace {

constexpr unsigned kFramesPerSecond = 75;  // sectors of an audio disc
constexpr double kMostMinutes = 1e6;       // longer than any recording

std::string quoted(const std::string& text) {
  std::string result = printable(text);
  std::ranges::replace(result, '"', '\'');
  return '"' + result + '"';
}

std::string indexTime(std::uint64_t frame, double sampleRate) {
  using Count = unsigned long long;
  const double seconds = static_cast<double>(frame) / sampleRate;
  if (!(seconds < kMostMinutes * 60)) {
    throw Failure("a cue sheet has no way to write times as long as these");
  }
  const auto units = static_cast<Count>(static_cast<double>(frame) * kFramesPerSecond / sampleRate);
  return formatText("%02llu:%02llu:%02llu", units / kFramesPerSecond / 60, units / kFramesPerSecond % 60,
                    units % kFramesPerSecond);
}

// Blanks around a word are dropped.
std::string_view takeWord(std::string_view* line) {
  constexpr std::string_view blanks = " \t\r";
  line->remove_prefix(std::min(line->find_first_not_of(blanks), line->size()));
  const std::string_view word = line->substr(0, line->find_first_of(blanks));
  line->remove_prefix(word.size());
  line->remove_prefix(std::min(line->find_first_not_of(blanks), line->size()));
  return word;
}

bool is(std::string_view word, std::string_view keyword) {
  return std::ranges::equal(word, keyword,
                            [](char a, char b) { return (a >= 'a' && a <= 'z' ? a - 'a' + 'A' : a) == b; });
}

// What stands in quotation marks, or a bare text up to its last visible character.
std::string titleIn(std::string_view text) {
  const std::size_t end = text.find_last_not_of(" \t\r");
  text = end == std::string_view::npos ? "" : text.substr(0, end + 1);
  if (text.starts_with('"')) {
    text.remove_prefix(1);
    text = text.substr(0, text.rfind('"'));
  }
  return std::string(text);
}

// "12:34:56"; minutes have as many digits as it takes.
std::optional<double> secondsIn(std::string_view text) {
  std::array<unsigned, 3> parts{};
  for (std::size_t i = 0; i < parts.size(); ++i) {
    const auto result = std::from_chars(text.data(), text.data() + text.size(), parts[i]);
    if (result.ec != std::errc()) {
      return std::nullopt;
    }
    text.remove_prefix(static_cast<std::size_t>(result.ptr - text.data()));
    const bool isLast = i + 1 == parts.size();
    if (isLast ? !text.empty() : !text.starts_with(':')) {
      return std::nullopt;
    }
    text.remove_prefix(isLast ? 0 : 1);
  }
  const auto [minutes, seconds, frames] = parts;
  if (minutes > kMostMinutes || seconds >= 60 || frames >= kFramesPerSecond) {
    return std::nullopt;
  }
  return minutes * 60.0 + seconds + static_cast<double>(frames) / kFramesPerSecond;
}

class Parser {
 public:
  std::vector<CueTrack> parse(const std::string& text) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
      ++line_;
      take(line);
    }
    finishTrack();
    return std::move(tracks_);
  }

 private:
  void take(std::string_view line) {
    const std::string_view command = takeWord(&line);
    if (is(command, "FILE")) {
      takeFile();
    } else if (is(command, "TRACK")) {
      finishTrack();
      tracks_.emplace_back();
      hasBegin_ = false;
    } else if (is(command, "TITLE") && !tracks_.empty()) {
      tracks_.back().title = titleIn(line);
    } else if (is(command, "INDEX")) {
      takeIndex(line);
    }
  }

  void takeFile() {
    if (hasFile_) {
      fail("a second FILE: durations can be told of a sheet about one file only");
    }
    hasFile_ = true;
  }

  void takeIndex(std::string_view line) {
    const std::string_view number = takeWord(&line);
    if (number != "01" && number != "1") {
      return;  // 00 is where the pause before the track begins, from 02 on come places inside it
    }
    const std::optional<double> seconds = secondsIn(takeWord(&line));
    if (!seconds) {
      fail("no time in minutes, seconds and 75ths, such as 03:28:00");
    }
    if (tracks_.empty() || hasBegin_) {
      fail("an INDEX 01 that belongs to no track");
    }
    if (tracks_.size() > 1 && *seconds <= tracks_[tracks_.size() - 2].seconds) {
      fail("the track does not begin behind the one before it");
    }
    tracks_.back().seconds = *seconds;
    hasBegin_ = true;
  }

  void finishTrack() const {
    if (!tracks_.empty() && !hasBegin_) {
      throw Failure(formatText("track %zu has no INDEX 01", tracks_.size()));
    }
  }

  [[noreturn]] void fail(const char* problem) const { throw Failure(formatText("line %zu: %s", line_, problem)); }

  std::vector<CueTrack> tracks_;
  std::size_t line_ = 0;
  bool hasFile_ = false;
  bool hasBegin_ = false;  // the last track
};

}  // namespace

std::string writeCueSheet(const CueSource& source, const std::vector<Track>& tracks) {
  std::string sheet = "FILE " + quoted(source.fileName) + (source.type == kAudioFileWAVEType ? " WAVE\n" : " AIFF\n");
  for (std::size_t i = 0; i < tracks.size(); ++i) {
    sheet += formatText("  TRACK %02zu AUDIO\n", i + 1);
    sheet += "    TITLE " + quoted(tracks[i].name) + "\n";
    sheet += "    INDEX 01 " + indexTime(tracks[i].begin, source.sampleRate) + "\n";
  }
  return sheet;
}

std::vector<CueTrack> parseCueSheet(const std::string& text) {
  return Parser().parse(text);
}

}  // namespace orv::cli
