#include "TrackFiles.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include "Exporting.h"
#include "Failure.h"
#include "Interruption.h"
#include "OrvPlatform/Log.h"
#include "Text.h"

namespace orv::cli {
namespace {

namespace fs = std::filesystem;

// Leaves room for the number and the extension in the 255 bytes that file systems give a name.
constexpr std::size_t kMostNameBytes = 200;

std::string fileNamePart(const std::string& trackName) {
  std::string part = printable(trackName);
  for (char& c : part) {
    c = c == '/' || c == '\\' ? '-' : c;
  }
  part = clipped(part, kMostNameBytes);
  const std::size_t first = part.find_first_not_of(". ");
  part = first == std::string::npos ? "" : part.substr(first, part.find_last_not_of(' ') + 1 - first);
  return part.empty() ? "Untitled" : part;
}

std::string shownPaths(const std::vector<std::string>& paths, std::size_t count) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) {
    text += (i == 0 ? "" : ", ") + printable(paths[i]);
  }
  return text;
}

}  // namespace

std::string trackFileName(std::size_t number, const std::string& trackName, const std::string& extension) {
  return formatText("%02zu ", number) + fileNamePart(trackName) + extension;
}

TrackFiles::TrackFiles(std::string directory, const SourceFile& source, std::vector<Track> tracks, Overwrite overwrite)
    : directory_(std::move(directory)), sourcePath_(source.path), tracks_(std::move(tracks)), overwrite_(overwrite) {
  checkDestinationDirectory(directory_);
  const std::string extension = source.file->fileStreamFormat()->isFloat() ? ".aifc" : ".aiff";
  std::error_code error;
  const bool exists = fs::exists(directory_, error);
  for (std::size_t i = 0; i < tracks_.size(); ++i) {
    names_.push_back(trackFileName(i + 1, tracks_[i].name, extension));
    paths_.push_back((fs::path(directory_) / names_.back()).string());
    if (exists) {
      checkDestination(paths_.back(), sourcePath_, overwrite_);
    }
  }
}

TrackFiles::~TrackFiles() {
  std::error_code ignored;
  if (!stagingDirectory_.empty()) {
    fs::remove_all(stagingDirectory_, ignored);
  }
  if (madeDirectory_ && !committed_) {
    fs::remove(directory_, ignored);  // only if nobody has put anything into it
  }
}

void TrackFiles::stage(ProgressBar& progress) {
  makeDirectories();
  for (std::size_t i = 0; i < tracks_.size(); ++i) {
    stopIfInterrupted();
    progress.begin(formatText("Exporting %zu of %zu", i + 1, tracks_.size()));
    OrvAudioFileProcessor::ExportRequest request;
    request.sourcePath = sourcePath_;
    request.destinationPath = stagedPath(i);
    request.fromFrame = tracks_[i].begin;
    request.toFrame = tracks_[i].end;
    runExport(request, paths_[i], progress);
  }
}

void TrackFiles::commit() {
  for (std::size_t i = 0; i < names_.size(); ++i) {
    try {
      moveIntoPlace(stagedPath(i), paths_[i], overwrite_);
      committed_ = true;
    } catch (const Failure& failure) {
      throw i == 0 ? failure : Failure(failure.what() + std::string("; complete: ") + shownPaths(paths_, i));
    }
  }
}

void TrackFiles::makeDirectories() {
  if (mkdir(directory_.c_str(), 0777) == 0) {
    madeDirectory_ = true;
  } else if (errno != EEXIST) {
    throw systemFailure(directory_, errno);
  }
  std::string pattern = (fs::path(directory_) / ".orv-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) {
    throw systemFailure(directory_, errno);
  }
  stagingDirectory_ = pattern;
}

std::string TrackFiles::stagedPath(std::size_t index) const {
  return (fs::path(stagingDirectory_) / names_[index]).string();
}

}  // namespace orv::cli
