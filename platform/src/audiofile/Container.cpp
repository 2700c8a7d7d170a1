#include "audiofile/Container.h"

#include "OrvPlatform/Log.h"
#include "audiofile/AIFFContainer.h"
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

OSStatus makeHeader(AudioFileTypeID type, const AudioStreamBasicDescription& format,
                    std::vector<std::uint8_t>* header) {
  PCMFormat pcm;
  switch (type) {
    case kAudioFileAIFFType:
    case kAudioFileAIFCType:
    case kAudioFileWAVEType:
      break;
    case kAudioFileSoundDesigner2Type:
      return refuse(kAudioFileUnsupportedFileTypeError, "Sound Designer II files can't be made");
    default:
      return refuse(kAudioFileUnsupportedFileTypeError,
                    formatText("files of type '%s' can't be made", fourCCText(type).c_str()));
  }
  if (const OSStatus status = interpret(format, &pcm); status != noErr) {
    return status;
  }
  return type == kAudioFileWAVEType ? makeWAVEHeader(pcm, header) : makeAIFFHeader(type, pcm, header);
}

}  // namespace orv::audiofile
