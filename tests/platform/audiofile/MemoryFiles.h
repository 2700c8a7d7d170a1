#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "OrvPlatform/FileManager.h"

namespace orv::test {

/// Bytes of a file.
using Bytes = std::vector<std::uint8_t>;

/// A file system in memory whose disk can fill up, whose writes can fail, and which shows every state that a file goes
/// through: what a process that was killed at that moment would leave behind. One thread at a time.
class MemoryFiles final : public FileManager {
 public:
  /// One file, and the disk it lies on.
  struct Disk {
    std::map<std::string, std::shared_ptr<Bytes>> files;
    std::size_t capacity = std::numeric_limits<std::size_t>::max();  ///< bytes that each file may have
    bool canReserve = true;                                          ///< false: `reserve` is not known here
    int changes = 0;                                                 ///< writes, cuts and reservations so far
    int failAt = -1;                                                 ///< this change fails, half done
    OSStatus failure = kDiskFullStatus;                              ///< how it fails
    /// Called after every change, and in the middle of every write of more than a sector, with the file's bytes.
    std::function<void(const Bytes&)> onChange;
  };

  MemoryFiles() : disk_(std::make_shared<Disk>()) {}

  Disk& disk() { return *disk_; }
  Bytes& file(const std::string& path) { return *disk_->files.at(path); }
  void put(const std::string& path, Bytes bytes) { disk_->files[path] = std::make_shared<Bytes>(std::move(bytes)); }

  OSStatus open(const std::string& path, FileAccess access, std::unique_ptr<FileHandle>* handle) override;
  bool exists(const std::string& path) override { return disk_->files.contains(path); }
  std::optional<FileAttributes> attributes(const std::string& path) override;
  OSStatus move(const std::string& from, const std::string& to) override;
  OSStatus copy(const std::string& from, const std::string& to) override;
  OSStatus remove(const std::string& path) override;
  OSStatus replace(const std::string& from, const std::string& to) override;
  OSStatus setHFSCodes(const std::string&, const HFSCodes&) override { return noErr; }

 private:
  std::shared_ptr<Disk> disk_;  // shared with the open files
};

/// Makes a file system in memory the one in force for as long as it lives.
class InstalledMemoryFiles {
 public:
  InstalledMemoryFiles() : files_(std::make_shared<MemoryFiles>()), previous_(installFileManager(files_)) {}
  InstalledMemoryFiles(const InstalledMemoryFiles&) = delete;
  InstalledMemoryFiles& operator=(const InstalledMemoryFiles&) = delete;
  ~InstalledMemoryFiles() { installFileManager(std::move(previous_)); }

  MemoryFiles* operator->() { return files_.get(); }

 private:
  std::shared_ptr<MemoryFiles> files_;
  std::shared_ptr<FileManager> previous_;
};

}  // namespace orv::test
