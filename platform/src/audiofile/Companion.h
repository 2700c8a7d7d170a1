#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "OrvPlatform/FileManager.h"
#include "audiofile/ResourceFork.h"

/// What belongs to a file beside its data: an AppleDouble file named `._NAME` in the same folder.
namespace orv::audiofile {

/// Where the companion of file `path` lies, whether or not there is one.
std::string companionPath(const std::string& path);

/// Whether a file lies there.
bool hasCompanion(const std::string& path);

/// Where in a companion its resource fork lies. Some programs write the fork alone, without AppleDouble around it. What
/// is wrong in words, null when nothing is.
const char* findResourceFork(HeaderReader& reader, Stretch* fork);

/// A companion around a resource fork. `fileType`: for programs that look at a file's type and not at its name.
std::vector<std::uint8_t> makeCompanion(FourCharCode fileType, std::span<const std::uint8_t> resourceFork);

/// Writes the companion of a file that is being made. First of all it makes sure that there can be one, so that a file
/// is not emptied in vain; a companion made for nothing goes away with the object.
class CompanionWriter {
 public:
  /// `path`: of the file whose companion it is.
  explicit CompanionWriter(const std::string& path) : path_(companionPath(path)) {}
  CompanionWriter(const CompanionWriter&) = delete;
  CompanionWriter& operator=(const CompanionWriter&) = delete;
  ~CompanionWriter();

  /// Opens the companion, an empty new one where there is none. An old one stays as it is. A refusal sets the problem
  /// line.
  OSStatus open();
  /// Makes the companion hold these bytes and nothing else.
  OSStatus write(std::span<const std::uint8_t> bytes);
  /// The companion is to stay.
  void keep() { isNew_ = false; }

 private:
  const std::string path_;
  std::unique_ptr<FileHandle> file_;
  bool isNew_ = false;
};

}  // namespace orv::audiofile
