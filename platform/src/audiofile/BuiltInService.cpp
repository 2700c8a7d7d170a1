#include "audiofile/BuiltInService.h"

#include <utility>
#include <vector>

#include "OrvPlatform/FileManager.h"
#include "audiofile/Container.h"
#include "audiofile/FileBytes.h"
#include "audiofile/FileSession.h"
#include "audiofile/Guarded.h"

namespace orv::audiofile {
namespace {

OSStatus openFile(const std::string& path, FileAccess access, std::unique_ptr<FileHandle>* file) {
  const OSStatus status = fileManager()->open(path, access, file);
  return status == noErr ? noErr : refuse(status, describeStatus(status));
}

OSStatus writeHeader(std::unique_ptr<FileHandle> file, const std::vector<std::uint8_t>& header, const Clock& clock,
                     std::unique_ptr<AudioFileSession>* session) {
  if (const OSStatus status = writeAll(*file, 0, header); status != noErr) {
    return refuse(status, describeStatus(status));
  }
  return FileSession::open(std::move(file), Purpose::updating, clock, session);
}

}  // namespace

BuiltInService::BuiltInService(Clock clock) : clock_(std::move(clock)) {}

OSStatus BuiltInService::create(const std::string& path, AudioFileTypeID type,
                                const AudioStreamBasicDescription& format, std::unique_ptr<AudioFileSession>* session) {
  return guarded([&] {
    std::vector<std::uint8_t> header;
    std::unique_ptr<FileHandle> file;
    OSStatus status = makeHeader(type, format, &header);
    if (status == noErr) {
      status = openFile(path, FileAccess::create, &file);
    }
    if (status != noErr) {
      return status;
    }
    status = writeHeader(std::move(file), header, clock_, session);
    if (status != noErr) {
      fileManager()->remove(path);
    }
    return status;
  });
}

OSStatus BuiltInService::initialize(const std::string& path, AudioFileTypeID type,
                                    const AudioStreamBasicDescription& format,
                                    std::unique_ptr<AudioFileSession>* session) {
  return guarded([&] {
    std::vector<std::uint8_t> header;
    std::unique_ptr<FileHandle> file;
    OSStatus status = makeHeader(type, format, &header);
    if (status == noErr && !fileManager()->exists(path)) {
      status = refuse(kFileNotFoundStatus, describeStatus(kFileNotFoundStatus));
    }
    if (status == noErr) {
      status = openFile(path, FileAccess::replace, &file);
    }
    return status == noErr ? writeHeader(std::move(file), header, clock_, session) : status;
  });
}

OSStatus BuiltInService::open(const std::string& path, bool forUpdate, std::unique_ptr<AudioFileSession>* session) {
  return guarded([&] {
    std::unique_ptr<FileHandle> file;
    if (const OSStatus status = openFile(path, forUpdate ? FileAccess::readWrite : FileAccess::read, &file);
        status != noErr) {
      return status;
    }
    return FileSession::open(std::move(file), forUpdate ? Purpose::updating : Purpose::reading, clock_, session);
  });
}

}  // namespace orv::audiofile
