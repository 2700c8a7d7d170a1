// Prints what is in an audio file: the smallest program that uses the library.
#include <OrvCoreAudio/OrvCoreAudio.h>

#include <cstdio>

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: describe FILE\n");
    return 2;
  }
  const auto file = OrvAudioFile::initWithPath_accessMode(argv[1], OrvAudioFile::kModeRead);
  if (!file->open()) {
    std::fprintf(stderr, "%s: %s\n", argv[1], file->lastProblem().c_str());
    return 1;
  }
  std::printf("%s: %s, %u frames\n", argv[1], file->fileStreamFormat()->description().c_str(), file->lengthInFrames());
  return file->close() ? 0 : 1;
}
