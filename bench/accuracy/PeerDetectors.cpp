#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "accuracy/Detectors.h"
#include "accuracy/Sound.h"
#include "support/Process.h"

namespace orv::accuracy {
namespace {

namespace fs = std::filesystem;

constexpr int kNotFound = 127;

test::ProcessResult runPeer(const std::vector<std::string>& arguments) {
  test::ProcessResult result = test::run(arguments);
  if (result.status == kNotFound) {
    throw std::runtime_error("not installed: " + arguments.front());
  }
  return result;
}

void runPeerToEnd(const std::vector<std::string>& arguments) {
  const test::ProcessResult result = runPeer(arguments);
  if (result.status != 0) {
    throw std::runtime_error(arguments.front() + " failed: " + result.errors);
  }
}

// The cut is where a silence ends. Silences at the ends of the recording are no boundaries, and nobody would take them
// for such.
std::vector<Cut> byFfmpeg(const Recording& recording, const std::string& filter) {
  const test::ProcessResult result = runPeer(
      {"ffmpeg", "-nostdin", "-hide_banner", "-nostats", "-i", recording.path, "-af", filter, "-f", "null", "-"});
  if (result.status != 0) {
    throw std::runtime_error("ffmpeg failed: " + result.errors);
  }
  std::vector<Cut> cuts;
  std::istringstream lines(result.errors);
  for (std::string line; std::getline(lines, line);) {
    const std::size_t at = line.find("silence_end: ");
    std::istringstream words(at == std::string::npos ? "" : line.substr(at));
    std::string word;
    double end = 0;
    double duration = 0;
    if (words >> word >> end >> word >> word >> duration && end - duration > 0.1 && end < recording.seconds - 0.1) {
      cuts.push_back({end, ""});
    }
  }
  return cuts;
}

// Samples of a file as sox hands them on, 16 bits each.
std::vector<std::int16_t> samplesIn(const std::string& path) {
  std::vector<std::int16_t> samples(fs::file_size(path) / sizeof(std::int16_t));
  std::ifstream file(path, std::ios::binary);
  file.read(reinterpret_cast<char*>(samples.data()), static_cast<std::streamsize>(samples.size() * 2));
  return samples;
}

// Files whose names begin so, in order of their names.
std::vector<fs::path> filesIn(const std::string& folder, const std::string& beginning) {
  std::vector<fs::path> files;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    if (entry.path().filename().string().starts_with(beginning)) {
      files.push_back(entry.path());
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

// The frames of `whole` at which the parts begin: each is sought behind the one before it.
std::vector<Cut> locate(const std::vector<fs::path>& parts, const std::string& whole) {
  constexpr std::size_t kSought = 4096;
  const std::vector<std::int16_t> samples = samplesIn(whole);
  auto from = samples.begin();
  std::vector<Cut> cuts;
  for (const fs::path& path : parts) {
    const std::vector<std::int16_t> part = samplesIn(path);
    if (part.empty()) {
      continue;
    }
    const auto soughtEnd = part.begin() + static_cast<std::ptrdiff_t>(std::min(part.size(), kSought));
    const auto found = std::search(from, samples.end(), part.begin(), soughtEnd);
    if (found == samples.end()) {
      throw std::runtime_error("not a part of the recording: " + path.string());
    }
    cuts.push_back({static_cast<double>(found - samples.begin()) / 2 / kRate, ""});
    from = found + static_cast<std::ptrdiff_t>(part.size());
  }
  return cuts;
}

std::vector<Cut> withoutFirst(std::vector<Cut> tracks) {
  if (!tracks.empty()) {
    tracks.erase(tracks.begin());  // begins the first track and cuts nothing
  }
  return tracks;
}

// sox writes a file for each track and tells nobody where it came from: each is looked up in the recording.
std::vector<Cut> bySox(const Recording& recording, const std::string& silence) {
  const std::string whole = recording.scratchFolder + "/whole.s16";
  const std::string rate = std::to_string(kRate);
  runPeerToEnd({"sox", "-D", recording.path, "-c", "2", "-r", rate, whole});
  runPeerToEnd({"sox", "-D", "-c", "2", "-r", rate, whole, recording.scratchFolder + "/track.s16", "silence", "1",
                "0.5t", silence, "1", "0.5t", silence, ":", "newfile", ":", "restart"});
  const std::vector<fs::path> tracks = filesIn(recording.scratchFolder, "track");
  std::vector<Cut> cuts = withoutFirst(locate(tracks, whole));
  for (const fs::path& track : tracks) {
    fs::remove(track);
  }
  fs::remove(whole);
  return cuts;
}

// mp3splt reads no AIFF, and tells its cuts as a cue sheet, in 75ths of a second.
std::vector<Cut> byMp3splt(const Recording& recording, const std::string& parameters) {
  const std::string flac = recording.scratchFolder + "/side.flac";
  const std::string sheet = recording.scratchFolder + "/side.cue";
  if (!fs::exists(flac)) {
    runPeerToEnd({"sox", "-D", recording.path, "-b", "16", "-C", "0", flac});
  }
  fs::remove(sheet);
  runPeer({"mp3splt", "-s", "-P", "-q", "-N", "-p", parameters, "-d", recording.scratchFolder, "-E", "side.cue", flac});
  std::vector<Cut> cuts;
  std::ifstream lines(sheet);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::string word;
    std::string number;
    char colon = 0;
    int minutes = 0;
    int seconds = 0;
    int frames = 0;
    if (words >> word >> number >> minutes >> colon >> seconds >> colon >> frames && word == "INDEX") {
      cuts.push_back({minutes * 60 + seconds + frames / 75.0, ""});
    }
  }
  return withoutFirst(std::move(cuts));
}

}  // namespace

std::vector<Detector> peerDetectors() {
  const auto ffmpeg = [](const std::string& filter) {
    return [filter](const Recording& recording) { return byFfmpeg(recording, filter); };
  };
  const auto sox = [](const std::string& silence) {
    return [silence](const Recording& recording) { return bySox(recording, silence); };
  };
  const auto mp3splt = [](const std::string& parameters) {
    return [parameters](const Recording& recording) { return byMp3splt(recording, parameters); };
  };
  return {
      {"ffmpeg", "silencedetect, defaults (-60 dB, 2 s); a cut where a silence ends", false, ffmpeg("silencedetect")},
      {"ffmpeg -50 dB", "silencedetect=n=-50dB:d=0.5; a cut where a silence ends", false,
       ffmpeg("silencedetect=n=-50dB:d=0.5")},
      {"sox", "silence 1 0.5t 1% 1 0.5t 1% : newfile : restart; a cut where a file begins", false, sox("1%")},
      {"mp3splt", "-s -p th=-48, the default", false, mp3splt("th=-48")},
      {"mp3splt -36 dB", "-s -p th=-36", false, mp3splt("th=-36")},
      {"mp3splt, number", "-s -p th=-48,nt=N", true,
       [](const Recording& recording) {
         return byMp3splt(recording, "th=-48,nt=" + std::to_string(recording.truth.gaps.size() + 1));
       }},
  };
}

}  // namespace orv::accuracy
