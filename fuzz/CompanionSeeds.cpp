#include <filesystem>
#include <fstream>
#include <memory>

#include "CompanionFuzzing.h"
#include "OrvPlatform/AudioFile.h"
#include "Require.h"

namespace orv::fuzz {
namespace {

using test::Bytes;

/// Where the resource fork begins in a companion of ours.
constexpr std::ptrdiff_t kFork = 82;

Bytes companionFor(std::uint32_t bits, std::uint32_t channels, double rate) {
  const std::uint32_t frame = channels * bits / 8;
  const AudioStreamBasicDescription format{rate, kAudioFormatLinearPCM, 14, frame, 1, frame, channels, bits, 0};
  const test::InstalledMemoryFiles files;
  std::unique_ptr<AudioFileSession> session;
  require(audioFileService()->create("f", kAudioFileSoundDesigner2Type, format, &session) == noErr,
          "a companion can be made of every format of whole bytes");
  std::unique_ptr<FileHandle> file;
  Bytes companion(4096);
  std::size_t length = 0;
  if (fileManager()->open("._f", FileAccess::read, &file) == noErr) {
    file->readAt(0, companion.data(), companion.size(), &length);
  }
  companion.resize(length);
  return companion;
}

void write(const std::string& path, std::uint8_t script, const Bytes& companion) {
  std::ofstream out(path, std::ios::binary);
  out.put(static_cast<char>(script));
  out.write(reinterpret_cast<const char*>(companion.data()), static_cast<std::streamsize>(companion.size()));
}

}  // namespace

void makeCompanionSeeds(const std::string& directory) {
  const std::string folder = directory + "/companion/";
  std::filesystem::create_directories(folder);
  std::uint8_t script = 1;
  for (const auto& [bits, channels, rate] :
       {std::tuple{8U, 1U, 22050.0}, {16U, 2U, 44100.0}, {24U, 6U, 44099.5}, {32U, 1024U, 192000.0}}) {
    const Bytes companion = companionFor(bits, channels, rate);
    write(folder + std::to_string(bits), script, companion);
    write(folder + std::to_string(bits) + "-fork", script, {companion.begin() + kFork, companion.end()});
    script = static_cast<std::uint8_t>(script + 61);
  }
}

}  // namespace orv::fuzz
