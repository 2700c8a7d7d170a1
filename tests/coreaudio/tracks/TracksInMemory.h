#pragma once

#include <OrvCoreAudio/OrvAudioFileTrackInfoReaderWriter.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "AudioFileRecipes.h"
#include "support/LogCapture.h"

namespace orv::test {

using ReaderWriter = OrvAudioFileTrackInfoReaderWriter;

inline constexpr FourCharCode kSignature = fourCC("Vorn");

inline std::shared_ptr<OrvAudioTrackInfo> track(const std::string& name, std::uint64_t begin = 0,
                                                std::uint64_t end = 100) {
  return OrvAudioTrackInfo::initWithTrackName_trackBeginFrame_trackEndFrame(name, begin, end);
}

/// A reader/writer in the file, with variable size.
inline std::shared_ptr<ReaderWriter> inFile(const std::string& path) {
  return ReaderWriter::initWithAudioFilePath_applSignature(path, kSignature);
}

inline std::shared_ptr<ReaderWriter> inFileWithBlock(const std::string& path, std::uint32_t blockSize) {
  return ReaderWriter::initWithAudioFilePath_applSignature_blockSize(path, kSignature, blockSize);
}

/// Names of the tracks in a file, one a line; the problem when there are none to be had.
inline std::string namesIn(const std::string& path) {
  const auto reader = inFile(path);
  if (!reader->loadTracks()) {
    return "problem: " + reader->lastProblem();
  }
  std::string names;
  if (reader->trackInfos() != nullptr) {
    for (const auto& entry : *reader->trackInfos()) {
      names += entry->trackName().value_or("(none)") + "\n";
    }
  }
  return names;
}

/// Writes one track of that name with an object made for it; false when that fails.
inline bool storeName(const std::string& path, const std::string& name) {
  const auto writer = inFile(path);
  writer->addTrackInfo(track(name));
  return writer->writeTrackInfosToFile();
}

/// 100 frames of 16-bit stereo.
inline const Bytes& shortAudio() {
  static const Bytes audio = audioBytes(400);
  return audio;
}

/// A FORM of these chunks whose size is true, odd or not.
inline Bytes aiff(const Bytes& chunks) {
  return text("FORM") + bigEndian(4 + chunks.size(), 4) + text("AIFF") + chunks;
}

inline Bytes plainAIFF() {
  return aiff(commonChunk(2, 100, 16) + soundChunk(shortAudio()));
}

/// An application chunk of ours with any version and body behind the version.
inline Bytes ownChunk(std::uint32_t version, const Bytes& body) {
  return bigChunk("APPL", text("Vorn") + littleEndian(version, 4) + body);
}

/// Bodies of our application chunks, the signature included.
inline std::vector<Bytes> ownChunks(const Bytes& file) {
  std::vector<Bytes> own = chunksNamed(file, "APPL");
  std::erase_if(own, [](const Bytes& body) { return body.size() < 4 || std::memcmp(body.data(), "Vorn", 4) != 0; });
  return own;
}

inline std::uint32_t bigNumber(const Bytes& file, std::size_t at) {
  return std::uint32_t{file[at]} << 24 | std::uint32_t{file[at + 1]} << 16 | std::uint32_t{file[at + 2]} << 8 |
         file[at + 3];
}

inline std::unique_ptr<FileHandle> openHandle(const std::string& path) {
  std::unique_ptr<FileHandle> file;
  EXPECT_EQ(fileManager()->open(path, FileAccess::readWrite, &file), noErr);
  return file;
}

}  // namespace orv::test
