#include "audiofile/Container.h"

#include "OrvPlatform/Log.h"
#include "audiofile/AIFFContainer.h"
#include "audiofile/WAVEContainer.h"

namespace orv::audiofile {
namespace {

constexpr std::size_t kFormHeaderBytes = 12;  // code, size, type of the outermost chunk

OSStatus refuseSoundDesigner2() {
  return refuse(kAudioFileUnsupportedFileTypeError, "Sound Designer II files can't be made");
}

}  // namespace

Patch Patch::number(std::int64_t offset, std::uint32_t length, ByteOrder order, std::uint64_t value) {
  Patch patch;
  patch.offset = offset;
  patch.length = length;
  storeNumber(patch.bytes.data(), length, order, value);
  return patch;
}

OSStatus openContainer(HeaderReader& reader, Walk walk, std::unique_ptr<Container>* container) {
  if (reader.status() != noErr) {
    return refuse(reader.status(), describeStatus(reader.status()));
  }
  if (reader.fileSize() == 0) {
    return refuse(kAudioFileUnsupportedFileTypeError, "the file is empty");
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
  return refuse(kAudioFileUnsupportedFileTypeError, "not an AIFF, AIFC or WAVE file");
}

OSStatus makeHeader(AudioFileTypeID type, const AudioStreamBasicDescription& description,
                    std::vector<std::uint8_t>* header) {
  PCMFormat format;
  switch (type) {
    case kAudioFileAIFFType:
    case kAudioFileAIFCType:
    case kAudioFileWAVEType:
      break;
    case kAudioFileSoundDesigner2Type:
      return refuseSoundDesigner2();
    default:
      return refuse(kAudioFileUnsupportedFileTypeError,
                    formatText("files of type '%s' can't be made", fourCCText(type).c_str()));
  }
  if (const OSStatus status = interpret(description, &format); status != noErr) {
    return status;
  }
  return type == kAudioFileWAVEType ? makeWAVEHeader(format, header) : makeAIFFHeader(type, format, header);
}

}  // namespace orv::audiofile
