#include <gtest/gtest.h>
#include <sndfile.h>

#include "AudioFileRecipes.h"
#include "support/Process.h"
#include "support/TemporaryDirectory.h"

/// Files around 4 GiB, made of holes: they take no room on the disk.
namespace orv::test {
namespace {

constexpr std::int64_t k4GiB = std::int64_t{1} << 32;

/// Passes everything on to the file manager before it. Once `lifetime` changes have been made it pretends that the
/// others succeed: the disk then looks as if the process had been killed.
class DyingFiles final : public FileManager {
 public:
  explicit DyingFiles(int lifetime) : lifetime_(std::make_shared<int>(lifetime)), real_(fileManager()) {}

  bool hasDied() const { return *lifetime_ < 0; }

  OSStatus open(const std::string& path, FileAccess access, std::unique_ptr<FileHandle>* handle) override {
    std::unique_ptr<FileHandle> real;
    const OSStatus status = real_->open(path, access, &real);
    *handle = std::make_unique<DyingFile>(std::move(real), lifetime_);
    return status;
  }
  bool exists(const std::string& path) override { return real_->exists(path); }
  std::optional<FileAttributes> attributes(const std::string& path) override { return real_->attributes(path); }
  OSStatus move(const std::string& from, const std::string& to) override { return real_->move(from, to); }
  OSStatus copy(const std::string& from, const std::string& to) override { return real_->copy(from, to); }
  OSStatus remove(const std::string& path) override { return real_->remove(path); }
  OSStatus replace(const std::string& from, const std::string& to) override { return real_->replace(from, to); }
  OSStatus setHFSCodes(const std::string& path, const HFSCodes& codes) override {
    return real_->setHFSCodes(path, codes);
  }

 private:
  class DyingFile final : public FileHandle {
   public:
    DyingFile(std::unique_ptr<FileHandle> real, std::shared_ptr<int> lifetime)
        : real_(std::move(real)), lifetime_(std::move(lifetime)) {}
    OSStatus readAt(std::int64_t offset, void* buffer, std::size_t length, std::size_t* moved) override {
      return real_->readAt(offset, buffer, length, moved);
    }
    OSStatus writeAt(std::int64_t offset, const void* buffer, std::size_t length, std::size_t* moved) override {
      *moved = length;
      return lives() ? real_->writeAt(offset, buffer, length, moved) : noErr;
    }
    std::int64_t size() override { return real_->size(); }
    OSStatus setSize(std::int64_t size) override { return lives() ? real_->setSize(size) : noErr; }
    OSStatus reserve(std::int64_t offset, std::int64_t length) override {
      return lives() ? real_->setSize(offset + length) : noErr;
    }
    OSStatus synchronise() override { return noErr; }

   private:
    bool lives() const { return --*lifetime_ >= 0; }
    const std::unique_ptr<FileHandle> real_;
    const std::shared_ptr<int> lifetime_;
  };

  const std::shared_ptr<int> lifetime_;
  const std::shared_ptr<FileManager> real_;
};

class LargeFiles : public ::testing::Test {
 protected:
  /// Makes a file of `head`, zeros up to `length`, and `rest`.
  void makeSparse(const Bytes& head, std::int64_t length, const Bytes& rest = {}) {
    std::unique_ptr<FileHandle> file;
    ASSERT_EQ(fileManager()->open(path_, FileAccess::replace, &file), noErr);
    std::size_t moved = 0;
    ASSERT_EQ(file->writeAt(0, head.data(), head.size(), &moved), noErr);
    ASSERT_EQ(file->setSize(length), noErr);
    ASSERT_EQ(file->writeAt(length, rest.data(), rest.size(), &moved), noErr);
  }

  void makeAIFF(std::int64_t dataBytes) {
    const auto bytes = static_cast<std::uint64_t>(dataBytes);
    makeSparse(text("FORM") + bigEndian(46 + bytes, 4) + text("AIFF") +
                   commonChunk(2, static_cast<std::uint32_t>(bytes / 4), 16) + text("SSND") + bigEndian(8 + bytes, 4) +
                   Bytes(8, 0),
               54 + dataBytes);
  }

  enum class Reserve { none, junk };

  /// Header of a WAVE with `dataBytes` bytes of sound, other chunks before it and `behind` bytes of them behind.
  static Bytes waveHeader(Reserve reserve, std::int64_t dataBytes, const Bytes& before = {}, std::size_t behind = 0) {
    const Bytes chunks =
        (reserve == Reserve::junk ? littleChunk("JUNK", Bytes(28, 0)) : Bytes{}) + formatChunk(2, 16) + before;
    const auto bytes = static_cast<std::uint64_t>(dataBytes);
    return text("RIFF") + littleEndian(4 + chunks.size() + 8 + bytes + behind, 4) + text("WAVE") + chunks +
           text("data") + littleEndian(bytes, 4);
  }

  OSStatus appendTo(AudioFileSession& session, const Bytes& audio, std::uint32_t* count) {
    *count = static_cast<std::uint32_t>(audio.size());
    return session.writeBytes(session.dataByteCount(), count, audio.data());
  }

  Bytes headOf(std::size_t length) {
    std::unique_ptr<FileHandle> file;
    EXPECT_EQ(fileManager()->open(path_, FileAccess::read, &file), noErr);
    Bytes bytes(length);
    std::size_t moved = 0;
    EXPECT_EQ(file->readAt(0, bytes.data(), length, &moved), noErr);
    return bytes;
  }

  std::int64_t fileLength() { return fileManager()->attributes(path_)->sizeInBytes; }

  static Bytes lastBytes(AudioFileSession& session, std::uint32_t count) {
    Bytes bytes(count);
    EXPECT_EQ(session.readBytes(session.dataByteCount() - count, &count, bytes.data()), noErr);
    return bytes;
  }

  const TemporaryDirectory directory_;
  const std::string path_ = directory_ / "f.wav";
};

TEST_F(LargeFiles, AIFFGrowsToTheLastFrameThatItsHeaderCanSayAndThenRefusesBeforeWriting) {
  const std::int64_t most = (k4GiB - 1 - 46) / 4 * 4;
  makeAIFF(most - 8);
  const Opened file = openForUpdate(path_);
  ASSERT_EQ(file.status, noErr) << file.problem;
  ASSERT_EQ(file.session->dataByteCount(), most - 8);
  std::uint32_t count = 0;
  EXPECT_EQ(appendTo(*file.session, audioBytes(12), &count), kAudioFileDoesNotAllow64BitDataSizeError);
  EXPECT_EQ(count, 0U);
  EXPECT_EQ(audioFileProblem(), "this type of file ends at 4 GiB");
  EXPECT_EQ(fileLength(), 54 + most - 8);
  EXPECT_EQ(appendTo(*file.session, audioBytes(8), &count), noErr);
  EXPECT_EQ(appendTo(*file.session, audioBytes(1), &count), kAudioFileDoesNotAllow64BitDataSizeError);
  EXPECT_EQ(count, 0U);
  EXPECT_EQ(file.session->close(), noErr);
  const Opened again = openForReading(path_);
  EXPECT_EQ(again.session->dataByteCount(), most);
  EXPECT_EQ(lastBytes(*again.session, 8), audioBytes(8));
  EXPECT_EQ(fileLength(), 54 + most);
}

TEST_F(LargeFiles, AIFFWithAChunkBehindRefusesBeforeTheGapWouldPassFourGiB) {
  const Bytes name = bigChunk("NAME", text("name"));
  const std::int64_t dataBytes = k4GiB - 400;
  const auto bytes = static_cast<std::uint64_t>(dataBytes);
  makeSparse(text("FORM") + bigEndian(46 + bytes + name.size(), 4) + text("AIFF") +
                 commonChunk(2, static_cast<std::uint32_t>(bytes / 4), 16) + text("SSND") + bigEndian(8 + bytes, 4) +
                 Bytes(8, 0),
             54 + dataBytes, name);
  const Opened file = openForUpdate(path_);
  std::uint32_t count = 0;
  EXPECT_EQ(appendTo(*file.session, audioBytes(400), &count), kAudioFileDoesNotAllow64BitDataSizeError);
  EXPECT_EQ(count, 0U);
  EXPECT_EQ(fileLength(), 54 + dataBytes + static_cast<std::int64_t>(name.size()));
  EXPECT_EQ(appendTo(*file.session, audioBytes(100), &count), noErr) << "a smaller gap does";
  EXPECT_EQ(file.session->close(), noErr);
  EXPECT_EQ(lastBytes(*openForReading(path_).session, 100), audioBytes(100));
  EXPECT_EQ(fileLength(), 54 + dataBytes + 100 + static_cast<std::int64_t>(name.size()));
}

TEST_F(LargeFiles, WAVEWithoutReserveRefusesBeforeWriting) {
  const std::int64_t dataBytes = k4GiB - 64;
  makeSparse(waveHeader(Reserve::none, dataBytes), 44 + dataBytes);
  const Opened file = openForUpdate(path_);
  std::uint32_t count = 0;
  EXPECT_EQ(appendTo(*file.session, audioBytes(64), &count), kAudioFileDoesNotAllow64BitDataSizeError);
  EXPECT_EQ(count, 0U);
  EXPECT_EQ(fileLength(), 44 + dataBytes);
  EXPECT_EQ(appendTo(*file.session, audioBytes(16), &count), noErr);
  EXPECT_EQ(file.session->close(), noErr);
  EXPECT_EQ(headOf(4), text("RIFF"));
}

TEST_F(LargeFiles, WAVEBecomesAnRF64InPlace) {
  const std::int64_t dataBytes = k4GiB - 512;
  makeSparse(waveHeader(Reserve::junk, dataBytes), 80 + dataBytes);
  const Opened file = openForUpdate(path_);
  std::uint32_t count = 0;
  ASSERT_EQ(appendTo(*file.session, audioBytes(100), &count), noErr);
  ASSERT_EQ(file.session->updateSizes(), noErr);
  EXPECT_EQ(headOf(4), text("RIFF"));
  ASSERT_EQ(appendTo(*file.session, audioBytes(1000), &count), noErr);
  ASSERT_EQ(file.session->close(), noErr);

  const auto total = static_cast<std::uint64_t>(dataBytes + 1100);
  EXPECT_EQ(headOf(80), text("RF64") + littleEndian(0xFFFFFFFF, 4) + text("WAVE") + text("ds64") + littleEndian(28, 4) +
                            littleEndian(72 + total, 8) + littleEndian(total, 8) + littleEndian(total / 4, 8) +
                            littleEndian(0, 4) + formatChunk(2, 16) + text("data") + littleEndian(0xFFFFFFFF, 4));
  const Opened again = openForReading(path_);
  EXPECT_EQ(again.session->dataByteCount(), static_cast<std::int64_t>(total));
  EXPECT_EQ(lastBytes(*again.session, 1000), audioBytes(1000));
}

TEST_F(LargeFiles, OthersReadTheRF64) {
  const std::int64_t dataBytes = k4GiB - 512;
  makeSparse(waveHeader(Reserve::junk, dataBytes), 80 + dataBytes);
  const Opened file = openForUpdate(path_);
  std::uint32_t count = 0;
  ASSERT_EQ(appendTo(*file.session, audioBytes(1000), &count), noErr);
  ASSERT_EQ(file.session->close(), noErr);
  const std::int64_t frames = (dataBytes + 1000) / 4;

  SF_INFO info{};
  SNDFILE* reading = sf_open(path_.c_str(), SFM_READ, &info);
  ASSERT_NE(reading, nullptr) << sf_strerror(nullptr);
  EXPECT_EQ(info.format & SF_FORMAT_TYPEMASK, SF_FORMAT_RF64);
  EXPECT_EQ(info.frames, frames);
  std::vector<short> samples(500);
  ASSERT_EQ(sf_seek(reading, frames - 250, SEEK_SET), frames - 250);
  ASSERT_EQ(sf_readf_short(reading, samples.data(), 250), 250);
  sf_close(reading);
  const Bytes audio = audioBytes(1000);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    ASSERT_EQ(samples[i], static_cast<short>(audio[2 * i] | audio[2 * i + 1] << 8));
  }

  const ProcessResult probe = run({"ffprobe", "-v", "error", "-show_entries", "stream=duration_ts", "-of",
                                   "default=noprint_wrappers=1:nokey=1", path_});
  EXPECT_EQ(probe.output, std::to_string(frames) + "\n") << probe.errors;
}

TEST_F(LargeFiles, AnRF64GrowsOnAsOne) {
  const std::int64_t dataBytes = k4GiB + 400;
  const Bytes sizes = littleEndian(static_cast<std::uint64_t>(72 + dataBytes), 8) +
                      littleEndian(static_cast<std::uint64_t>(dataBytes), 8) + littleEndian(0, 8) + littleEndian(0, 4);
  makeSparse(text("RF64") + littleEndian(0xFFFFFFFF, 4) + text("WAVE") + littleChunk("ds64", sizes) +
                 formatChunk(2, 16) + text("data") + littleEndian(0xFFFFFFFF, 4),
             80 + dataBytes);
  const Opened file = openForUpdate(path_);
  ASSERT_EQ(file.session->dataByteCount(), dataBytes);
  std::uint32_t count = 0;
  ASSERT_EQ(appendTo(*file.session, audioBytes(100), &count), noErr);
  ASSERT_EQ(file.session->close(), noErr);
  const Opened again = openForReading(path_);
  EXPECT_EQ(again.session->dataByteCount(), dataBytes + 100);
  EXPECT_EQ(lastBytes(*again.session, 100), audioBytes(100));
}

TEST_F(LargeFiles, AChunkBehindTheSoundIsKeptAcrossFourGiB) {
  const Bytes list = littleChunk("LIST", text("INFOINAM") + Bytes{4, 0, 0, 0} + text("song"));
  const std::int64_t dataBytes = k4GiB - 512;
  makeSparse(waveHeader(Reserve::junk, dataBytes, {}, list.size()), 80 + dataBytes, list);
  const Opened file = openForUpdate(path_);
  std::uint32_t count = 0;
  ASSERT_EQ(appendTo(*file.session, audioBytes(1000), &count), noErr);
  ASSERT_EQ(file.session->updateSizes(), noErr);
  EXPECT_EQ(openForReading(path_).session->dataByteCount(), dataBytes + 1000);
  ASSERT_EQ(file.session->close(), noErr);
  EXPECT_EQ(headOf(4), text("RF64"));
  EXPECT_EQ(fileLength(), 80 + dataBytes + 1000 + static_cast<std::int64_t>(list.size()));
  std::unique_ptr<FileHandle> bytes;
  ASSERT_EQ(fileManager()->open(path_, FileAccess::read, &bytes), noErr);
  Bytes end(list.size());
  std::size_t moved = 0;
  ASSERT_EQ(bytes->readAt(fileLength() - static_cast<std::int64_t>(end.size()), end.data(), end.size(), &moved), noErr);
  EXPECT_EQ(end, list);
}

struct UpgradeCase {
  const char* name;
  Bytes before;  ///< chunks between format and sound
  Bytes behind;  ///< chunks behind the sound
};

std::ostream& operator<<(std::ostream& out, const UpgradeCase& c) {
  return out << c.name;
}

class UpgradeInterrupted : public LargeFiles, public ::testing::WithParamInterface<UpgradeCase> {};

TEST_P(UpgradeInterrupted, AtEveryStepTheFileOpensWithAllThatWasCommitted) {
  const std::int64_t dataBytes = k4GiB - 8192;
  const Bytes head = waveHeader(Reserve::junk, dataBytes, GetParam().before, GetParam().behind.size());
  const auto dataStart = static_cast<std::int64_t>(head.size());
  bool hasDied = true;
  int steps = 0;
  for (; hasDied; ++steps) {
    makeSparse(head, dataStart + dataBytes, GetParam().behind);
    const auto files = std::make_shared<DyingFiles>(steps);
    const auto previous = installFileManager(files);
    {
      // What a process that is dead already is told does not matter.
      const Opened file = openForUpdate(path_);
      std::uint32_t count = 0;
      OSStatus status = appendTo(*file.session, audioBytes(10000), &count);
      status = status == noErr ? file.session->updateSizes() : status;
      status = status == noErr ? appendTo(*file.session, audioBytes(10000), &count) : status;
      status = status == noErr ? file.session->close() : status;
      EXPECT_TRUE(files->hasDied() || status == noErr) << status;
    }
    installFileManager(previous);
    hasDied = files->hasDied();
    const Opened file = openForReading(path_);
    ASSERT_EQ(file.status, noErr) << file.problem;
    const std::int64_t appended = file.session->dataByteCount() - dataBytes;
    EXPECT_TRUE(appended == 0 || appended == 10000 || appended == 20000) << appended << " after " << steps;
    EXPECT_TRUE(hasDied || appended == 20000);
    EXPECT_EQ(openForUpdate(path_).status, noErr);
  }
  EXPECT_GT(steps, 3);
}

const Bytes kList = littleChunk("LIST", text("INFOINAM") + Bytes{4, 0, 0, 0} + text("song"));
const Bytes kLongChunk = littleChunk("bext", Bytes(6000, 'x'));

INSTANTIATE_TEST_SUITE_P(Everywhere, UpgradeInterrupted,
                         ::testing::Values(UpgradeCase{"NothingBehind", {}, {}}, UpgradeCase{"ChunkBehind", {}, kList},
                                           UpgradeCase{"LongHeader", kLongChunk, {}},
                                           UpgradeCase{"LongHeaderAndChunkBehind", kLongChunk, kList}),
                         [](const auto& parameter) { return parameter.param.name; });

}  // namespace
}  // namespace orv::test
