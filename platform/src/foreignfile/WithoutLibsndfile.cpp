// Takes the place of the decoder where the library is built without libsndfile.
#include "OrvPlatform/Log.h"
#include "audiofile/PCMFormat.h"
#include "foreignfile/ForeignFile.h"

namespace orv::foreignfile {

OSStatus openDecoded(std::unique_ptr<FileHandle>, const ForeignKind& kind, bool, std::unique_ptr<AudioFileSession>*) {
  std::string problem = formatText("%s: can't be decoded, as this library was built without libsndfile", kind.name);
  if (!kind.isCompressedForm) {  // of which our own container has said already that it can't be read
    log("audio file service: " + problem);
  }
  return audiofile::refuse(kAudioFileUnsupportedFileTypeError, std::move(problem));
}

}  // namespace orv::foreignfile
