#include <exception>
#include <utility>

#include "OrvPlatform/Archiver.h"
#include "OrvPlatform/FileManager.h"
#include "OrvPlatform/Log.h"

namespace orv {
namespace {

/// Beside the file that it becomes, so that it lies on the same file system.
constexpr const char* kUnfinishedSuffix = ".unfinished";

bool refuse(std::string* problem, std::string why) {
  if (problem != nullptr) {
    *problem = std::move(why);
  }
  return false;
}

OSStatus writeFile(const ArchiveBytes& bytes, const std::string& path) {
  std::unique_ptr<FileHandle> file;
  OSStatus status = fileManager()->open(path, FileAccess::replace, &file);
  if (status != noErr) {
    return status;
  }
  std::size_t moved = 0;
  status = file->write(bytes.data(), bytes.size(), &moved);
  return status == noErr ? file->synchronise() : status;
}

OSStatus replaceFile(const ArchiveBytes& bytes, const std::string& path) {
  const std::string unfinished = path + kUnfinishedSuffix;
  OSStatus status = writeFile(bytes, unfinished);
  if (status == noErr) {
    status = fileManager()->replace(unfinished, path);
  }
  if (status != noErr && fileManager()->exists(unfinished)) {
    fileManager()->remove(unfinished);
  }
  return status;
}

bool readFile(const std::string& path, ArchiveBytes* bytes, std::string* problem) {
  std::unique_ptr<FileHandle> file;
  OSStatus status = fileManager()->open(path, FileAccess::read, &file);
  const std::int64_t size = status == noErr ? file->size() : 0;
  if (size < 0 || static_cast<std::uint64_t>(size) > kLongestArchive) {
    return refuse(problem, size < 0 ? describeStatus(kInputOutputErrorStatus) : "the archive is too long");
  }
  std::size_t moved = 0;
  if (status == noErr) {
    bytes->resize(static_cast<std::size_t>(size));
    status = file->readAt(0, bytes->data(), bytes->size(), &moved);
  }
  bytes->resize(moved);
  return status == noErr || refuse(problem, describeStatus(status));
}

}  // namespace

bool archiveToFile(const ArchiveValue& object, ArchiveForm form, const std::string& path, std::string* problem) {
  try {
    const ArchiveBytes bytes = archive(object, form);
    if (bytes.empty()) {
      return refuse(problem, "the objects can't be archived");
    }
    const OSStatus status = replaceFile(bytes, path);
    return status == noErr || refuse(problem, describeStatus(status));
  } catch (const std::exception& exception) {
    logf("archiveToFile: %s", exception.what());
    return refuse(problem, exception.what());
  }
}

std::optional<ArchiveValue> unarchiveFromFile(const std::string& path, const RecordMakers& makers,
                                              std::string* problem) {
  try {
    ArchiveBytes bytes;
    return readFile(path, &bytes, problem) ? unarchive(bytes, makers, problem) : std::nullopt;
  } catch (const std::exception& exception) {
    logf("unarchiveFromFile: %s", exception.what());
    refuse(problem, exception.what());
    return std::nullopt;
  }
}

}  // namespace orv
