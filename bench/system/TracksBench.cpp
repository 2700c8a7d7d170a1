// Storing and loading the tracks of a recording, beside the bare file access that it can't do without.
#include <OrvCoreAudio/OrvAudioFileTrackInfoReaderWriter.h>
#include <OrvPlatform/FileManager.h>

#include <stdexcept>
#include <vector>

#include "support/RatioTable.h"
#include "support/Recording.h"
#include "support/TemporaryDirectory.h"
#include "support/Timing.h"

namespace {

constexpr int kTracks = 1000;
constexpr int kRounds = 50;
constexpr double kMilliseconds = 1e3;
constexpr double kMost = 2;

using ReaderWriter = OrvAudioFileTrackInfoReaderWriter;

void require(bool done) {
  if (!done) {
    throw std::runtime_error("the tracks can't be stored or loaded");
  }
}

std::shared_ptr<ReaderWriter> inFile(const std::string& path) {
  return ReaderWriter::initWithAudioFilePath_applSignature(path, orv::fourCC("Vorn"));
}

std::unique_ptr<orv::FileHandle> open(const std::string& path) {
  std::unique_ptr<orv::FileHandle> file;
  require(orv::fileManager()->open(path, orv::FileAccess::readWrite, &file) == noErr);
  return file;
}

}  // namespace

int main() {
  const orv::test::TemporaryDirectory folder;
  const std::string path = folder / "recording.aiff";
  orv::bench::makeRecording(path, 0.05);
  const std::int64_t soundEnd = open(path)->size();

  const auto writer = inFile(path);
  for (int i = 0; i < kTracks; ++i) {
    writer->addTrackInfo(OrvAudioTrackInfo::initWithTrackName_trackBeginFrame_trackEndFrame(
        "Untitled Track " + std::to_string(i), static_cast<std::uint64_t>(i) * 10'000'000,
        static_cast<std::uint64_t>(i + 1) * 10'000'000));
  }
  require(writer->storeTracks());
  std::vector<char> chunk(static_cast<std::size_t>(open(path)->size() - soundEnd));

  const auto store = [&] { require(writer->storeTracks()); };
  const auto load = [&] { require(inFile(path)->loadTracks()); };
  const auto readBare = [&] {
    std::size_t moved = 0;
    require(open(path)->readAt(soundEnd, chunk.data(), chunk.size(), &moved) == noErr);
  };
  const auto writeBare = [&] {
    std::size_t moved = 0;
    require(open(path)->writeAt(soundEnd, chunk.data(), chunk.size(), &moved) == noErr);
  };
  readBare();
  const auto times = orv::bench::bestTimes(kRounds, {store, writeBare, load, readBare});

  orv::bench::RatioTable table("1,000 tracks in the file, beside the bare access");
  table.addLimit("store", (times[0] - times[1]) * kMilliseconds, 0, kMost, "ms");
  table.addLimit("load", (times[2] - times[3]) * kMilliseconds, 0, kMost, "ms");
  table.print();
  return 0;
}
