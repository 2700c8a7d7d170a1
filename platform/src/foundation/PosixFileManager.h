#pragma once

#include "OrvPlatform/FileManager.h"

namespace orv {

/// The operating system's file system.
class PosixFileManager final : public FileManager {
 public:
  OSStatus open(const std::string& path, FileAccess access, std::unique_ptr<FileHandle>* handle) override;
  bool exists(const std::string& path) override;
  std::optional<FileAttributes> attributes(const std::string& path) override;
  OSStatus move(const std::string& from, const std::string& to) override;
  OSStatus copy(const std::string& from, const std::string& to) override;
  OSStatus remove(const std::string& path) override;
  OSStatus replace(const std::string& from, const std::string& to) override;
  OSStatus setHFSCodes(const std::string& path, const HFSCodes& codes) override;
};

}  // namespace orv
