#include "MemoryFiles.h"

#include <algorithm>

namespace orv::test {
namespace {

class MemoryFile final : public FileHandle {
 public:
  MemoryFile(std::shared_ptr<MemoryFiles::Disk> disk, std::shared_ptr<Bytes> bytes)
      : disk_(std::move(disk)), bytes_(std::move(bytes)) {}

  OSStatus readAt(std::int64_t offset, void* buffer, std::size_t length, std::size_t* moved) override {
    *moved = 0;
    const auto start = static_cast<std::size_t>(offset);
    if (start < bytes_->size()) {
      *moved = std::min(length, bytes_->size() - start);
      std::copy_n(bytes_->begin() + static_cast<std::ptrdiff_t>(start), *moved, static_cast<std::uint8_t*>(buffer));
    }
    return noErr;
  }

  OSStatus writeAt(std::int64_t offset, const void* buffer, std::size_t length, std::size_t* moved) override {
    const auto start = static_cast<std::size_t>(offset);
    const auto* source = static_cast<const std::uint8_t*>(buffer);
    const bool fails = disk_->changes++ == disk_->failAt;
    // What fits into a sector is written whole or not at all.
    const std::size_t half = length > 512 ? length / 2 : 0;
    *moved = fails ? half : length;
    OSStatus status = fails ? disk_->failure : noErr;
    if (*moved > 0 && start + *moved > disk_->capacity) {
      *moved = disk_->capacity > start ? disk_->capacity - start : 0;
      status = kDiskFullStatus;
    }
    if (half > 0 && *moved == length && disk_->onChange) {
      store(start, source, half);
      disk_->onChange(*bytes_);
    }
    if (*moved > 0) {
      store(start, source, *moved);
    }
    return changed(status);
  }

  std::int64_t size() override { return static_cast<std::int64_t>(bytes_->size()); }

  OSStatus setSize(std::int64_t size) override {
    if (disk_->changes++ == disk_->failAt) {
      return disk_->failure;
    }
    bytes_->resize(static_cast<std::size_t>(size));
    return changed(noErr);
  }

  OSStatus reserve(std::int64_t offset, std::int64_t length) override {
    const auto end = static_cast<std::size_t>(offset + length);
    if (!disk_->canReserve) {
      return kInputOutputErrorStatus;
    }
    if (disk_->changes++ == disk_->failAt) {
      return disk_->failure;
    }
    if (end > disk_->capacity) {
      return kDiskFullStatus;
    }
    bytes_->resize(std::max(bytes_->size(), end));
    return changed(noErr);
  }

  OSStatus synchronise() override { return noErr; }

 private:
  void store(std::size_t start, const std::uint8_t* source, std::size_t length) {
    bytes_->resize(std::max(bytes_->size(), start + length));
    std::copy_n(source, length, bytes_->begin() + static_cast<std::ptrdiff_t>(start));
  }

  OSStatus changed(OSStatus status) {
    if (disk_->onChange) {
      disk_->onChange(*bytes_);
    }
    return status;
  }

  const std::shared_ptr<MemoryFiles::Disk> disk_;
  const std::shared_ptr<Bytes> bytes_;
};

}  // namespace

OSStatus MemoryFiles::open(const std::string& path, FileAccess access, std::unique_ptr<FileHandle>* handle) {
  const bool isThere = exists(path);
  if (access == FileAccess::create && isThere) {
    return kFileExistsStatus;
  }
  if ((access == FileAccess::read || access == FileAccess::readWrite) && !isThere) {
    return kFileNotFoundStatus;
  }
  if (!isThere) {
    put(path, {});
  } else if (access == FileAccess::replace) {
    file(path).clear();
  }
  *handle = std::make_unique<MemoryFile>(disk_, disk_->files.at(path));
  return noErr;
}

std::optional<FileAttributes> MemoryFiles::attributes(const std::string& path) {
  if (!exists(path)) {
    return std::nullopt;
  }
  FileAttributes attributes;
  attributes.sizeInBytes = static_cast<std::int64_t>(file(path).size());
  return attributes;
}

OSStatus MemoryFiles::move(const std::string& from, const std::string& to) {
  if (const OSStatus status = copy(from, to); status != noErr) {
    return status;
  }
  return remove(from);
}

OSStatus MemoryFiles::copy(const std::string& from, const std::string& to) {
  if (!exists(from) || exists(to)) {
    return exists(from) ? kFileExistsStatus : kFileNotFoundStatus;
  }
  put(to, file(from));
  return noErr;
}

OSStatus MemoryFiles::remove(const std::string& path) {
  return disk_->files.erase(path) == 1 ? noErr : kFileNotFoundStatus;
}

OSStatus MemoryFiles::replace(const std::string& from, const std::string& to) {
  if (!exists(from)) {
    return kFileNotFoundStatus;
  }
  put(to, file(from));
  return remove(from);
}

}  // namespace orv::test
