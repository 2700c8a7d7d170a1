#include "foreignfile/ForeignFile.h"

#include <array>
#include <cstdint>
#include <span>
#include <utility>

#include "audiofile/PCMFormat.h"

namespace orv::foreignfile {

using audiofile::refuse;

OSStatus openForeignFile(const std::string& path, bool forUpdate, OSStatus refusal,
                         std::unique_ptr<AudioFileSession>* session) {
  const std::string problem = audioFileProblem();
  std::unique_ptr<FileHandle> file;
  if (fileManager()->open(path, FileAccess::read, &file) != noErr) {
    return refusal;
  }
  std::array<std::uint8_t, kSignatureBytes> head{};
  std::size_t length = 0;
  if (file->readAt(0, head.data(), head.size(), &length) != noErr) {
    return refusal;
  }
  const ForeignKind* const kind = recognise(std::span(head).first(length));
  if (kind == nullptr) {
    return refusal;
  }
  const OSStatus status = openDecoded(std::move(file), *kind, forUpdate, session);
  if (kind->isCompressedForm && status != noErr && status != kAudioFilePermissionsError) {
    return refuse(refusal, problem);
  }
  return status;
}

}  // namespace orv::foreignfile
