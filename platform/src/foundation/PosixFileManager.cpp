#include "foundation/PosixFileManager.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <vector>

#include "foundation/PosixFile.h"

namespace orv {
namespace {

/// Extended attributes that hold the codes, four bytes each, first character first.
constexpr const char* kTypeAttribute = "user.orv.type";
constexpr const char* kCreatorAttribute = "user.orv.creator";

constexpr std::size_t kCopyChunkBytes = std::size_t{1} << 20;

constexpr unsigned kRefuseExisting = 1;  // the kernel's RENAME_NOREPLACE

int openFlags(FileAccess access) {
  switch (access) {
    case FileAccess::read:
      return O_RDONLY;
    case FileAccess::readWrite:
      return O_RDWR;
    case FileAccess::create:
      return O_RDWR | O_CREAT | O_EXCL;
    case FileAccess::replace:
      return O_RDWR | O_CREAT | O_TRUNC;
  }
  return O_RDONLY;
}

std::array<char, 4> bytesOf(FourCharCode code) {
  return {static_cast<char>(code >> 24), static_cast<char>(code >> 16), static_cast<char>(code >> 8),
          static_cast<char>(code)};
}

std::optional<FourCharCode> readCode(const std::string& path, const char* attribute) {
  std::array<unsigned char, 4> bytes{};
  if (::getxattr(path.c_str(), attribute, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
    return std::nullopt;
  }
  return FourCharCode{bytes[0]} << 24 | FourCharCode{bytes[1]} << 16 | FourCharCode{bytes[2]} << 8 | bytes[3];
}

/// File systems without extended attributes, or without room for one more, simply keep none.
bool keepsNoAttributes(int error) {
  return error == ENOTSUP || error == ENOSPC || error == E2BIG || error == EDQUOT;
}

OSStatus writeCode(const std::string& path, const char* attribute, FourCharCode code) {
  if (readCode(path, attribute) == code) {
    return noErr;  // a file that is only read again and again is not touched each time
  }
  const std::array<char, 4> bytes = bytesOf(code);
  if (::setxattr(path.c_str(), attribute, bytes.data(), bytes.size(), 0) == 0 || keepsNoAttributes(errno)) {
    return noErr;
  }
  return statusFromErrno(errno);
}

/// Renames without ever replacing, also where the file system has no such call.
int renameRefusingExisting(const std::string& from, const std::string& to) {
  if (::syscall(SYS_renameat2, AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), kRefuseExisting) == 0) {
    return 0;
  }
  if (errno != EINVAL && errno != ENOSYS) {
    return errno;
  }
  struct stat info {};
  if (::lstat(to.c_str(), &info) == 0) {
    return EEXIST;
  }
  return ::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

OSStatus copyBytes(FileHandle& from, FileHandle& to) {
  std::vector<char> buffer(kCopyChunkBytes);
  for (std::size_t moved = 0;;) {
    if (const OSStatus status = from.read(buffer.data(), buffer.size(), &moved); status != noErr) {
      return status;
    }
    if (moved == 0) {
      return noErr;
    }
    if (const OSStatus status = to.write(buffer.data(), moved, &moved); status != noErr) {
      return status;
    }
  }
}

}  // namespace

OSStatus PosixFileManager::open(const std::string& path, FileAccess access, std::unique_ptr<FileHandle>* handle) {
  // Not to block on a pipe that nobody writes to; for files the flag means nothing.
  const int descriptor = ::open(path.c_str(), openFlags(access) | O_CLOEXEC | O_NONBLOCK, 0666);
  if (descriptor < 0) {
    return statusFromErrno(errno);
  }
  struct stat info {};
  if (::fstat(descriptor, &info) == 0 && !S_ISREG(info.st_mode)) {
    ::close(descriptor);
    return kWrongFileKindStatus;
  }
  *handle = std::make_unique<PosixFile>(descriptor);
  return noErr;
}

bool PosixFileManager::exists(const std::string& path) {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0;
}

std::optional<FileAttributes> PosixFileManager::attributes(const std::string& path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) {
    return std::nullopt;
  }
  FileAttributes attributes;
  attributes.sizeInBytes = static_cast<std::int64_t>(info.st_size);
  attributes.isDirectory = S_ISDIR(info.st_mode);
  const auto type = readCode(path, kTypeAttribute);
  const auto creator = readCode(path, kCreatorAttribute);
  if (type && creator) {
    attributes.hfsCodes = HFSCodes{*type, *creator};
  }
  return attributes;
}

OSStatus PosixFileManager::move(const std::string& from, const std::string& to) {
  const int error = renameRefusingExisting(from, to);
  if (error != EXDEV) {
    return statusFromErrno(error);
  }
  if (const OSStatus status = copy(from, to); status != noErr) {
    return status;
  }
  return remove(from);
}

OSStatus PosixFileManager::copy(const std::string& from, const std::string& to) {
  std::unique_ptr<FileHandle> source;
  std::unique_ptr<FileHandle> destination;
  if (const OSStatus status = open(from, FileAccess::read, &source); status != noErr) {
    return status;
  }
  if (const OSStatus status = open(to, FileAccess::create, &destination); status != noErr) {
    return status;
  }
  OSStatus status = copyBytes(*source, *destination);
  if (status == noErr) {
    status = destination->synchronise();
  }
  if (status != noErr) {
    remove(to);
    return status;
  }
  const auto codes = attributes(from);
  return codes && codes->hfsCodes ? setHFSCodes(to, *codes->hfsCodes) : noErr;
}

OSStatus PosixFileManager::remove(const std::string& path) {
  return std::remove(path.c_str()) == 0 ? noErr : statusFromErrno(errno);
}

OSStatus PosixFileManager::replace(const std::string& from, const std::string& to) {
  return std::rename(from.c_str(), to.c_str()) == 0 ? noErr : statusFromErrno(errno);
}

OSStatus PosixFileManager::setHFSCodes(const std::string& path, const HFSCodes& codes) {
  if (const OSStatus status = writeCode(path, kTypeAttribute, codes.type); status != noErr) {
    return status;
  }
  return writeCode(path, kCreatorAttribute, codes.creator);
}

}  // namespace orv
