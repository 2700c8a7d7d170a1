#pragma once

#include <cstdint>
#include <memory>
#include <ostream>
#include <span>
#include <string>
#include <vector>

#include "OrvPlatform/AudioFile.h"

/// Files of other programs, made by those programs or by libsndfile, and what libsndfile itself reads in them.
namespace orv::test {

/// Interleaved 32-bit samples of a recording: tones and noise at half the full scale.
struct Source {
  int channels = 2;
  int sampleRate = 44100;
  std::vector<std::int32_t> samples;

  std::int64_t frames() const { return static_cast<std::int64_t>(samples.size()) / channels; }
};

/// `bits`: what the samples are rounded to.
Source makeSource(std::int64_t frames, int bits = 16, int channels = 2, int sampleRate = 44100);

/// Writes the source with libsndfile: `format` as in SF_FORMAT_FLAC | SF_FORMAT_PCM_16.
void writeWithLibsndfile(const std::string& path, const Source& source, int format);

/// One way to make a file.
struct ForeignFile {
  const char* name;
  const char* extension;
  int format;                          ///< for libsndfile to write; 0: ffmpeg makes it from a WAVE file
  std::vector<std::string> arguments;  ///< for ffmpeg
  const char* type;                    ///< expected
  std::uint32_t bits;                  ///< expected
  bool isFloat;                        ///< expected
  bool isLossless;
  int channels;
};

std::ostream& operator<<(std::ostream& out, const ForeignFile& file);

/// Every kind that is decoded.
const std::vector<ForeignFile>& foreignFiles();
const ForeignFile& foreignFile(const std::string& name);

/// Makes the file in `directory`; its path.
std::string make(const ForeignFile& file, const Source& source, const std::string& directory);
/// The source that suits the file: its depth and channels.
Source sourceFor(const ForeignFile& file, std::int64_t frames);

/// Encodes a WAVE file with ffmpeg; fails the test when that fails.
void encodeWithFfmpeg(const std::string& from, const std::vector<std::string>& arguments, const std::string& to);

/// All that libsndfile decodes from the first frame on, as the bytes that the session should give.
std::string sequentialBytes(const std::string& path, const AudioStreamBasicDescription& format);

struct OpenedForeign {
  OSStatus status = noErr;
  std::unique_ptr<AudioFileSession> session;
  std::string problem;
};

OpenedForeign openFile(const std::string& path, bool forUpdate = false);

/// Reads bytes of the session; shorter when a read fails or ends.
std::string readBytes(AudioFileSession& session, std::int64_t start, std::uint32_t count);
/// All of them, in pieces of a reader's size.
std::string allBytes(AudioFileSession& session);

}  // namespace orv::test
