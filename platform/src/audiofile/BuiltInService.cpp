#include "audiofile/BuiltInService.h"

#include <utility>
#include <vector>

#include "OrvPlatform/FileManager.h"
#include "audiofile/Companion.h"
#include "audiofile/Container.h"
#include "audiofile/FileBytes.h"
#include "audiofile/FileSession.h"
#include "audiofile/Guarded.h"
#include "audiofile/SD2Companion.h"
#include "foreignfile/ForeignFile.h"

namespace orv::audiofile {
namespace {

OSStatus openFile(const std::string& path, FileAccess access, std::unique_ptr<FileHandle>* file) {
  const OSStatus status = fileManager()->open(path, access, file);
  return status == noErr ? noErr : refuse(status, describeStatus(status));
}

/// Writes what the file consists of. The companion comes first, so that nothing is ever in a file that doesn't say what
/// it is.
OSStatus writeNewFile(FileHandle& file, CompanionWriter& companion, const NewFile& content) {
  if (!content.companion.empty()) {
    if (const OSStatus status = companion.write(content.companion); status != noErr) {
      return status;
    }
  }
  const OSStatus status = content.header.empty() ? noErr : writeAll(file, 0, content.header);
  return status == noErr ? noErr : refuse(status, describeStatus(status));
}

}  // namespace

BuiltInService::BuiltInService(Clock clock) : clock_(std::move(clock)) {}

OSStatus BuiltInService::create(const std::string& path, AudioFileTypeID type,
                                const AudioStreamBasicDescription& format, std::unique_ptr<AudioFileSession>* session) {
  return guarded([&] {
    NewFile content;
    const OSStatus status = makeNewFile(type, format, &content);
    return status == noErr ? make(path, FileAccess::create, content, session) : status;
  });
}

OSStatus BuiltInService::initialize(const std::string& path, AudioFileTypeID type,
                                    const AudioStreamBasicDescription& format,
                                    std::unique_ptr<AudioFileSession>* session) {
  return guarded([&] {
    NewFile content;
    OSStatus status = makeNewFile(type, format, &content);
    if (status == noErr && !fileManager()->exists(path)) {
      status = refuse(kFileNotFoundStatus, describeStatus(kFileNotFoundStatus));
    }
    return status == noErr ? make(path, FileAccess::replace, content, session) : status;
  });
}

/// A file whose companion can't be written is left as it is. One that `access` has newly made is removed again when a
/// later step fails.
OSStatus BuiltInService::make(const std::string& path, FileAccess access, const NewFile& content,
                              std::unique_ptr<AudioFileSession>* session) {
  const bool hasOwnCompanion = !content.companion.empty();
  CompanionWriter companion(path);
  std::unique_ptr<FileHandle> file;
  OSStatus status = hasOwnCompanion ? companion.open() : noErr;
  if (status == noErr) {
    status = openFile(path, access, &file);
  }
  if (status != noErr) {
    return status;
  }
  status = writeNewFile(*file, companion, content);
  if (status == noErr && !hasOwnCompanion) {
    removeSD2Companion(path);  // of what the file was before
  }
  if (status == noErr) {
    status = FileSession::open(std::move(file), path, Purpose::updating, clock_, session);
  }
  if (status == noErr) {
    companion.keep();
  } else if (access == FileAccess::create) {
    fileManager()->remove(path);
  }
  return status;
}

OSStatus BuiltInService::open(const std::string& path, bool forUpdate, std::unique_ptr<AudioFileSession>* session) {
  return guarded([&] {
    std::unique_ptr<FileHandle> file;
    if (const OSStatus status = openFile(path, forUpdate ? FileAccess::readWrite : FileAccess::read, &file);
        status != noErr) {
      return status;
    }
    const OSStatus status =
        FileSession::open(std::move(file), path, forUpdate ? Purpose::updating : Purpose::reading, clock_, session);
    const bool isNoneOfOurs =
        status == kAudioFileUnsupportedFileTypeError || status == kAudioFileUnsupportedDataFormatError;
    return isNoneOfOurs ? foreignfile::openForeignFile(path, forUpdate, status, session) : status;
  });
}

}  // namespace orv::audiofile
