#include "accuracy/Pieces.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <thread>

#include "accuracy/Random.h"
#include "support/Process.h"

namespace orv::accuracy {
namespace {

namespace fs = std::filesystem;

constexpr std::array kPackages = {"asc-music", "planetblupi-music-ogg", "singularity-music", "warzone2100-music",
                                  "wesnoth-1.16-music"};
constexpr std::array<std::string_view, 3> kEndings = {".mp3", ".ogg", ".opus"};
// Other versions of pieces that are there too, as a piece must not be in both halves; a file of silence; and one that
// is the same piece ten times over with six seconds of silence behind each.
constexpr std::array<std::string_view, 6> kLeftOut = {"frantic-old.ogg", "menu_enhanced.opus", "track3_enhanced.opus",
                                                      "battle-epic.ogg", "silence.ogg",        "music001.ogg"};

template <typename List>
bool contains(const List& list, std::string_view text) {
  return std::find(list.begin(), list.end(), text) != list.end();
}

std::string outputOf(const std::vector<std::string>& arguments) {
  const test::ProcessResult result = test::run(arguments);
  if (result.status != 0) {
    throw std::runtime_error(arguments.front() + " failed: " + result.errors);
  }
  return result.output;
}

void addPieces(const std::string& package, Half half, std::vector<Piece>& pieces) {
  std::istringstream lines(outputOf({"dpkg", "-L", package}));
  for (std::string line; std::getline(lines, line);) {
    const fs::path path(line);
    const std::string name = path.filename();
    const Half its = (stableHash(name) >> 32) % 2 == 0 ? Half::tuning : Half::report;
    if (contains(kEndings, path.extension().string()) && !contains(kLeftOut, name) && its == half) {
      pieces.push_back({name, line, package});
    }
  }
}

// Runs `make` on a path of its own and renames what it made: whoever else makes the same file is not disturbed.
template <typename Make>
void makeOnce(const std::string& path, const Make& make) {
  if (fs::exists(path)) {
    return;
  }
  std::ostringstream own;
  own << path << '.' << std::this_thread::get_id() << fs::path(path).extension().string();
  make(own.str());
  fs::rename(own.str(), path);
}

}  // namespace

const char* nameOf(Half half) {
  return half == Half::tuning ? "tuning" : "report";
}

std::vector<Piece> piecesOf(Half half) {
  std::vector<Piece> pieces;
  for (const char* package : kPackages) {
    addPieces(package, half, pieces);
  }
  std::sort(pieces.begin(), pieces.end(), [](const Piece& a, const Piece& b) { return a.name < b.name; });
  return pieces;
}

double secondsOfPiece(const Piece& piece) {
  return std::stod(
      outputOf({"ffprobe", "-v", "error", "-show_entries", "format=duration", "-of", "csv=p=0", piece.path}));
}

PieceStore::PieceStore(std::string folder) : folder_(std::move(folder)) {
  fs::create_directories(folder_);
}

Sound PieceStore::load(const Piece& piece) const {
  const std::string decoded = folder_ + "/" + piece.name + ".wav";
  makeOnce(decoded, [&](const std::string& own) {
    outputOf({"ffmpeg", "-nostdin", "-loglevel", "error", "-y", "-i", piece.path, "-vn", "-map_metadata", "-1", "-ac",
              "2", "-ar", std::to_string(kRate), "-c:a", "pcm_s16le", own});
  });
  Sound sound = readSound(decoded);
  trimSilence(sound);
  return sound;
}

Sound PieceStore::speech(const std::string& textPath) const {
  const std::string name = fs::path(textPath).filename();
  const std::string spoken = folder_ + "/" + name + ".spoken.wav";
  makeOnce(spoken, [&](const std::string& own) {
    outputOf({"espeak-ng", "-v", "en", "-s", "150", "-f", textPath, "-w", own});
  });
  return load({name + ".speech", spoken, "espeak-ng"});
}

}  // namespace orv::accuracy
