#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "OrvPlatform/Export.h"
#include "OrvPlatform/Status.h"

namespace orv {

/// What an open file may be used for.
enum class FileAccess {
  read,       ///< the file must exist
  readWrite,  ///< the file must exist
  create,     ///< read and write; the file must not exist yet
  replace,    ///< read and write; an existing file is emptied, a missing one made
};

/// An open file of random access. One thread at a time, except that calls of `readAt` may run beside each other.
class ORV_API FileHandle {
 public:
  FileHandle() = default;
  FileHandle(const FileHandle&) = delete;
  FileHandle& operator=(const FileHandle&) = delete;
  virtual ~FileHandle();

  /// Reads up to `length` bytes at byte `offset` into `buffer`. `*moved` gets the bytes read: fewer than `length` only
  /// at the end of the file or on failure.
  virtual OSStatus readAt(std::int64_t offset, void* buffer, std::size_t length, std::size_t* moved) = 0;

  /// Writes `length` bytes at byte `offset`, which may lie past the end: what is between reads as zeros. `*moved` gets
  /// the bytes that are in the file, all of them unless the status is a failure (a full disk: `kDiskFullStatus`).
  virtual OSStatus writeAt(std::int64_t offset, const void* buffer, std::size_t length, std::size_t* moved) = 0;

  /// Length of the file in bytes, −1 when it can't be told.
  virtual std::int64_t size() = 0;

  /// Cuts the file, or extends it with zeros, to `size` bytes.
  virtual OSStatus setSize(std::int64_t size) = 0;

  /// Makes sure that the bytes from `offset` on have room on the disk; extends the file where needed.
  /// `kDiskFullStatus` when there is no room.
  virtual OSStatus reserve(std::int64_t offset, std::int64_t length) = 0;

  /// Returns when all that was written is on the disk.
  virtual OSStatus synchronise() = 0;

  /// The position that `read` and `write` use and advance, in bytes.
  std::int64_t offset() const { return offset_; }
  void seek(std::int64_t offset) { offset_ = offset; }
  OSStatus read(void* buffer, std::size_t length, std::size_t* moved);
  OSStatus write(const void* buffer, std::size_t length, std::size_t* moved);

 private:
  std::int64_t offset_ = 0;
};

/// Type and creator code that a file carries beside its data.
struct HFSCodes {
  FourCharCode type = 0;
  FourCharCode creator = 0;
  bool operator==(const HFSCodes&) const = default;
};

struct FileAttributes {
  std::int64_t sizeInBytes = 0;
  bool isDirectory = false;
  std::optional<HFSCodes> hfsCodes;  ///< none where the file has none or the file system keeps none
};

/// Asked by `move` and `copy` when a step fails.
class ORV_API FileManagerHandler {
 public:
  virtual ~FileManagerHandler();
  /// `text` says what failed. Whether to go on is remembered as the operation's result.
  virtual bool shouldProceedAfterError(const std::string& text) = 0;
};

/// The file system. A host or a test may install its own. Paths are UTF-8. Thread-safe.
class ORV_API FileManager {
 public:
  virtual ~FileManager();

  virtual OSStatus open(const std::string& path, FileAccess access, std::unique_ptr<FileHandle>* handle) = 0;
  virtual bool exists(const std::string& path) = 0;
  virtual std::optional<FileAttributes> attributes(const std::string& path) = 0;

  /// Moves a file, across file systems where it must. Refuses with `kFileExistsStatus` when `to` exists.
  virtual OSStatus move(const std::string& from, const std::string& to) = 0;
  /// Copies a file and its HFS codes. Refuses with `kFileExistsStatus` when `to` exists; leaves no partial copy.
  virtual OSStatus copy(const std::string& from, const std::string& to) = 0;
  virtual OSStatus remove(const std::string& path) = 0;
  /// Moves a file over another of the same file system in one step: at any moment `to` is the old or the new one.
  virtual OSStatus replace(const std::string& from, const std::string& to) = 0;

  /// Stores the codes as extended attributes. A file system that keeps none drops them silently: that is success.
  virtual OSStatus setHFSCodes(const std::string& path, const HFSCodes& codes) = 0;
};

/// The file manager in force. Thread-safe.
ORV_API std::shared_ptr<FileManager> fileManager();

/// Installs a file manager and returns the one before. Null restores the system's. Files that are open keep
/// theirs. Thread-safe.
ORV_API std::shared_ptr<FileManager> installFileManager(std::shared_ptr<FileManager> manager);

}  // namespace orv
