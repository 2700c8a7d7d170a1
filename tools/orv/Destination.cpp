#include "Destination.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>

#include "Failure.h"

namespace orv::cli {
namespace {

namespace fs = std::filesystem;

std::string directoryOf(const fs::path& path) {
  const fs::path parent = path.parent_path();
  return parent.empty() ? "." : parent.string();
}

void checkWritableDirectory(const std::string& directory) {
  std::error_code error;
  const fs::file_status status = fs::status(directory, error);
  if (status.type() == fs::file_type::none) {
    throw Failure(directory, error.message());
  }
  if (!fs::exists(status)) {
    throw Failure(directory, "no such directory");
  }
  if (!fs::is_directory(status)) {
    throw Failure(directory, "is not a directory");
  }
  if (faccessat(AT_FDCWD, directory.c_str(), W_OK | X_OK, AT_EACCESS) != 0) {
    throw systemFailure(directory, errno);
  }
}

bool writeAll(int file, const std::string& text) {
  std::size_t written = 0;
  while (written < text.size()) {
    const ssize_t count = write(file, text.data() + written, text.size() - written);
    if (count < 0 && errno != EINTR) {
      return false;
    }
    written += count > 0 ? static_cast<std::size_t>(count) : 0;
  }
  return true;
}

// Files made by mkstemp are for their owner only; what people are given has the permissions that they set.
bool givePermissions(int file) {
  const mode_t mask = umask(0);
  umask(mask);
  return fchmod(file, 0666 & ~mask) == 0;
}

}  // namespace

void checkDestination(const std::string& path, const std::string& source, Overwrite overwrite) {
  if (path.empty() || path.ends_with('/')) {
    throw Failure(path, "is not the name of a file");
  }
  checkWritableDirectory(directoryOf(path));
  std::error_code error;
  if (fs::equivalent(path, source, error)) {
    throw Failure(path, "is the recording itself; choose another name");
  }
  const fs::file_status status = fs::symlink_status(path, error);
  if (!fs::exists(status)) {
    return;
  }
  if (fs::is_directory(status)) {
    throw Failure(path, "is a directory");
  }
  if (!fs::is_regular_file(status) && !fs::is_symlink(status)) {
    throw Failure(path, "is not a regular file");
  }
  if (overwrite == Overwrite::refuse) {
    throw Failure(path, "exists already; --force replaces it");
  }
}

void checkDestinationDirectory(const std::string& path) {
  std::error_code error;
  if (path.empty() || fs::exists(fs::symlink_status(path, error))) {
    checkWritableDirectory(path);
    return;
  }
  const fs::path withoutSlash = path.substr(0, path.find_last_not_of('/') + 1);
  checkWritableDirectory(directoryOf(withoutSlash));
}

void moveIntoPlace(const std::string& from, const std::string& to, Overwrite overwrite) {
  if (overwrite == Overwrite::refuse) {
    if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) {
      return;
    }
    if (errno == EEXIST) {
      throw Failure(to, "exists already; --force replaces it");
    }
    // Not every file system can refuse in the same step.
    if (errno != EINVAL && errno != ENOSYS) {
      throw systemFailure(to, errno);
    }
    std::error_code error;
    if (fs::exists(fs::symlink_status(to, error))) {
      throw Failure(to, "exists already; --force replaces it");
    }
  }
  if (std::rename(from.c_str(), to.c_str()) != 0) {
    throw systemFailure(to, errno);
  }
}

StagedText::StagedText(std::string path, const std::string& text) : path_(std::move(path)) {
  std::string pattern = (fs::path(path_).parent_path() / ".orv-XXXXXX").string();
  const int file = mkstemp(pattern.data());
  if (file < 0) {
    throw systemFailure(path_, errno);
  }
  const bool written = writeAll(file, text) && givePermissions(file);
  const int error = errno;
  const bool closed = close(file) == 0;
  if (!written || !closed) {
    const int cause = written ? errno : error;
    unlink(pattern.c_str());
    throw systemFailure(path_, cause);
  }
  stagedPath_ = pattern;
}

StagedText::~StagedText() {
  if (!stagedPath_.empty()) {
    unlink(stagedPath_.c_str());
  }
}

void StagedText::commit(Overwrite overwrite) {
  moveIntoPlace(stagedPath_, path_, overwrite);
  stagedPath_.clear();
}

}  // namespace orv::cli
