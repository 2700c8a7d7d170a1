#include "audiofile/Container.h"

#include "OrvPlatform/Log.h"
#include "audiofile/AIFFContainer.h"
#include "audiofile/SD2Companion.h"
#include "audiofile/SD2Container.h"
#include "audiofile/WAVEContainer.h"

namespace orv::audiofile {
namespace {

constexpr std::size_t kFormHeaderBytes = 12;  // code, size, type of the outermost chunk

}  // namespace

Patch Patch::number(std::int64_t offset, std::uint32_t length, ByteOrder order, std::uint64_t value) {
  Patch patch;
  patch.offset = offset;
  patch.length = length;
  storeNumber(patch.bytes.data(), length, order, value);
  return patch;
}

OSStatus openContainer(HeaderReader& reader, const std::string& path, Walk walk,
                       std::unique_ptr<Container>* container) {
  if (reader.status() != noErr) {
    return refuse(reader.status(), describeStatus(reader.status()));
  }
  const auto head = reader.head();
  if (head.size() >= kFormHeaderBytes) {
    const FourCharCode outer = loadCode(head.data());
    const FourCharCode inner = loadCode(head.data() + 8);
    if (AIFFContainer::recognises(outer, inner)) {
      return AIFFContainer::open(reader, walk, container);
    }
    if (WAVEContainer::recognises(outer, inner)) {
      return WAVEContainer::open(reader, walk, container);
    }
  }
  // Audio alone may look like anything, so this comes before other ways to tell what the bytes are.
  PCMFormat format;
  const OSStatus companion = readSD2Companion(path, &format);
  if (companion == noErr) {
    *container = std::make_unique<SD2Container>(format, reader.fileSize());
    return noErr;
  }
  if (SD2Container::isName(path)) {
    return companion;
  }
  if (reader.fileSize() == 0) {
    return refuse(kAudioFileUnsupportedFileTypeError, "the file is empty");
  }
  return refuse(kAudioFileUnsupportedFileTypeError, "not an AIFF, AIFC or WAVE file");
}

OSStatus makeNewFile(AudioFileTypeID type, const AudioStreamBasicDescription& format, NewFile* file) {
  PCMFormat pcm;
  switch (type) {
    case kAudioFileAIFFType:
    case kAudioFileAIFCType:
    case kAudioFileWAVEType:
    case kAudioFileSoundDesigner2Type:
      break;
    default:
      return refuse(kAudioFileUnsupportedFileTypeError,
                    formatText("files of type '%s' can't be made", fourCCText(type).c_str()));
  }
  if (const OSStatus status = interpret(format, &pcm); status != noErr) {
    return status;
  }
  if (type == kAudioFileSoundDesigner2Type) {
    return makeSD2Companion(pcm, &file->companion);
  }
  return type == kAudioFileWAVEType ? makeWAVEHeader(pcm, &file->header) : makeAIFFHeader(type, pcm, &file->header);
}

}  // namespace orv::audiofile
