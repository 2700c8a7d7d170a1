#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "OrvCoreAudio/OrvAudioFile.h"

namespace orv::cli {

/// A recording that is open for reading.
struct SourceFile {
  std::string path;
  std::shared_ptr<OrvAudioFile> file;
  std::uint64_t lengthInBytes = 0;
  std::uint64_t lengthInFrames = 0;  ///< of any length, where the framework's own count ends at 32 bits

  double seconds(std::uint64_t frames) const { return static_cast<double>(frames) / file->sampleRate(); }
};

/// Throws `Failure` where `path` does not lead to a file.
void refuseWhatIsNoFile(const std::string& path);

/// Throws `Failure` where there is nothing to be read.
SourceFile openSource(const std::string& path);

/// Throws `Failure` where the samples can't be converted into others.
void refuseWhatCannotBeConverted(const SourceFile& source);

/// What the framework said about its last failure on `file`.
std::string problemOf(const OrvAudioFile& file);

/// A line that says what the file at `path` is: its type, format and length. Throws `Failure`.
std::string summaryOf(const std::string& path);

}  // namespace orv::cli
