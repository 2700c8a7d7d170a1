#include "SourceFile.h"

#include <filesystem>

#include "Failure.h"
#include "OrvPlatform/Status.h"
#include "Text.h"
#include "TimeText.h"

namespace orv::cli {

// Opening a pipe would wait for somebody to write into it, and a device may never end.
void refuseWhatIsNoFile(const std::string& path) {
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(path, error);
  if (std::filesystem::is_directory(status)) {
    throw Failure(path, "is a directory");
  }
  if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
    throw Failure(path, "is not a regular file");
  }
  if (status.type() == std::filesystem::file_type::not_found) {
    throw Failure(path, "no such file or directory");
  }
}

SourceFile openSource(const std::string& path) {
  refuseWhatIsNoFile(path);
  SourceFile source;
  source.path = path;
  source.file = OrvAudioFile::initWithPath_accessMode(path, OrvAudioFile::kModeRead);
  if (!source.file || !source.file->open()) {
    throw Failure(path, source.file ? problemOf(*source.file) : "can't be opened");
  }
  if (source.file->bytesPerFrame() == 0) {
    throw Failure(path, "holds no plain samples");
  }
  source.lengthInBytes = source.file->lengthInBytes();
  source.lengthInFrames = source.lengthInBytes / source.file->bytesPerFrame();
  return source;
}

void refuseWhatCannotBeConverted(const SourceFile& source) {
  constexpr std::uint32_t leastBits = 8;
  if (source.file->bitsPerChannel() < leastBits) {
    throw Failure(source.path, "has samples of fewer than 8 bits, which can't be converted");
  }
}

std::string problemOf(const OrvAudioFile& file) {
  if (!file.lastProblem().empty()) {
    return file.lastProblem();
  }
  return file.lastStatus() != noErr ? describeStatus(file.lastStatus()) : "can't be opened";
}

std::string summaryOf(const std::string& path) {
  const SourceFile source = openSource(path);
  return printable(path) + ": " + fourCCText(source.file->fileType()) + ", " +
         source.file->fileStreamFormat()->description() + ", " + timeText(source.seconds(source.lengthInFrames)) + "\n";
}

}  // namespace orv::cli
