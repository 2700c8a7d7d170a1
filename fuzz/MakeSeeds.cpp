#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "CompanionFuzzing.h"
#include "DevicesSeeds.h"
#include "MemoryFiles.h"
#include "OrvPlatform/AudioFile.h"
#include "TrackSeeds.h"

/// Writes the seeds of the fuzz targets: for containers one file per format and order of chunks, each behind its script
/// byte. Usage: MakeSeeds DIRECTORY, in which a folder for each target is made.
namespace {

using orv::test::Bytes;

AudioStreamBasicDescription format(std::uint32_t flags, std::uint32_t bits, std::uint32_t channels) {
  const std::uint32_t frame = channels * ((bits + 7) / 8);
  return {44100, kAudioFormatLinearPCM, flags, frame, 1, frame, channels, bits, 0};
}

Bytes audioFile(AudioFileTypeID type, const AudioStreamBasicDescription& description) {
  orv::test::InstalledMemoryFiles files;
  std::unique_ptr<orv::AudioFileSession> session;
  if (orv::audioFileService()->create("f", type, description, &session) != noErr) {
    std::fprintf(stderr, "%s\n", orv::audioFileProblem().c_str());
    std::exit(1);
  }
  Bytes audio(description.mBytesPerFrame * 11);
  for (std::size_t i = 0; i < audio.size(); ++i) {
    audio[i] = static_cast<std::uint8_t>(0x80 + i);
  }
  auto count = static_cast<std::uint32_t>(audio.size());
  session->writeBytes(0, &count, audio.data());
  session->close();
  return files->file("f");
}

/// The chunks of a file, pad bytes included.
std::vector<Bytes> chunksOf(const Bytes& file, bool isBig) {
  std::vector<Bytes> chunks;
  for (std::size_t at = 12; at + 8 <= file.size();) {
    std::size_t size = 0;
    for (std::size_t i = 0; i < 4; ++i) {
      size = size << 8 | file[at + 4 + (isBig ? i : 3 - i)];
    }
    const std::size_t end = std::min(at + 8 + size + size % 2, file.size());
    chunks.emplace_back(file.begin() + static_cast<std::ptrdiff_t>(at),
                        file.begin() + static_cast<std::ptrdiff_t>(end));
    at = end;
  }
  return chunks;
}

class Corpus {
 public:
  explicit Corpus(std::string directory) : directory_(std::move(directory)) {
    std::filesystem::create_directories(directory_);
  }

  /// The file as it is, with a chunk before and behind, and with its chunks in the opposite order.
  void add(const Bytes& file, std::uint8_t scriptBits, bool isBig) {
    std::vector<Bytes> chunks = chunksOf(file, isBig);
    const Bytes head(file.begin(), file.begin() + 12);
    const Bytes other = isBig ? Bytes{'N', 'A', 'M', 'E', 0, 0, 0, 3, 'o', 'd', 'd', 0}
                              : Bytes{'L', 'I', 'S', 'T', 4, 0, 0, 0, 'I', 'N', 'F', 'O'};
    write(head, chunks, scriptBits);
    chunks.insert(chunks.end(), other);
    write(head, chunks, scriptBits);
    std::reverse(chunks.begin(), chunks.end());
    write(head, chunks, scriptBits);
  }

 private:
  void write(const Bytes& head, const std::vector<Bytes>& chunks, std::uint8_t scriptBits) {
    std::ofstream out(directory_ + "/" + std::to_string(count_), std::ios::binary);
    const auto put = [&](const Bytes& bytes) {
      out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    };
    put({static_cast<std::uint8_t>(scriptBits | ((count_ * 29) & 0x7F))});
    put(head);
    for (const Bytes& chunk : chunks) {
      put(chunk);
    }
    ++count_;
  }

  const std::string directory_;
  unsigned count_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: MakeSeeds DIRECTORY\n");
    return 2;
  }
  const std::string directory = argv[1];
  Corpus aiff(directory + "/aiff");
  for (const auto& [bits, channels] : {std::pair{8U, 1U}, {16U, 2U}, {20U, 1U}, {24U, 3U}, {32U, 2U}}) {
    aiff.add(audioFile(kAudioFileAIFFType, format(14, bits, channels)), 0, true);
    aiff.add(audioFile(kAudioFileAIFCType, format(12, bits, channels)), 0x80, true);
  }
  aiff.add(audioFile(kAudioFileAIFCType, format(11, 32, 2)), 0x80, true);
  aiff.add(audioFile(kAudioFileAIFCType, format(11, 64, 1)), 0x80, true);
  aiff.add(audioFile(kAudioFileAIFCType, format(8, 8, 1)), 0x80, true);

  Corpus wave(directory + "/wave");
  for (const auto& [flags, bits, channels] :
       {std::tuple{8U, 8U, 1U}, {12U, 16U, 2U}, {12U, 20U, 1U}, {12U, 24U, 3U}, {9U, 32U, 2U}, {9U, 64U, 1U}}) {
    Bytes file = audioFile(kAudioFileWAVEType, format(flags, bits, channels));
    wave.add(file, 0, false);
    // As an RF64: the reserve becomes the sizes, which the fuzzer is to fill in.
    std::copy_n("ds64", 4, file.begin() + 12);
    wave.add(file, 0x80, false);
  }
  orv::fuzz::makeTrackSeeds(directory);
  orv::fuzz::makeCompanionSeeds(directory);
  orv::fuzz::makeDevicesSeeds(directory);
  return 0;
}
