#pragma once

#include <utility>

#include "OrvPlatform/FileManager.h"

namespace orv {

/// A file of the operating system, open under a descriptor that the object owns.
class PosixFile final : public FileHandle {
 public:
  explicit PosixFile(int descriptor) : descriptor_(descriptor) {}
  ~PosixFile() override;

  OSStatus readAt(std::int64_t offset, void* buffer, std::size_t length, std::size_t* moved) override;
  OSStatus writeAt(std::int64_t offset, const void* buffer, std::size_t length, std::size_t* moved) override;
  std::int64_t size() override;
  OSStatus setSize(std::int64_t size) override;
  OSStatus reserve(std::int64_t offset, std::int64_t length) override;
  OSStatus synchronise() override;

 private:
  int descriptor_;
};

}  // namespace orv
