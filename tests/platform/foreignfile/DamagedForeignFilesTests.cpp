#include <gtest/gtest.h>

#include <atomic>
#include <random>

#include "ForeignRecipes.h"
#include "OrvPlatform/FileManager.h"
#include "support/TemporaryDirectory.h"

/// For the leak sanitizer: libsndfile 1.2.0 forgets a Vorbis decoder when it gives up on a damaged file.
extern "C" const char* __lsan_default_suppressions();
const char* __lsan_default_suppressions() {
  return "leak:vorbis_info_init\n";
}

/// Whatever is wrong with a file, there is an answer: never a crash, never an endless loop.
namespace orv::test {
namespace {

/// The system's files, whose reads fail from a certain offset on.
class FailingFiles final : public FileManager {
 public:
  explicit FailingFiles(std::shared_ptr<FileManager> system) : system_(std::move(system)) {}

  std::atomic<std::int64_t> goodBytes = std::numeric_limits<std::int64_t>::max();

  OSStatus open(const std::string& path, FileAccess access, std::unique_ptr<FileHandle>* handle) override {
    std::unique_ptr<FileHandle> file;
    const OSStatus status = system_->open(path, access, &file);
    if (status == noErr) {
      *handle = std::make_unique<Handle>(std::move(file), goodBytes);
    }
    return status;
  }
  bool exists(const std::string& path) override { return system_->exists(path); }
  std::optional<FileAttributes> attributes(const std::string& path) override { return system_->attributes(path); }
  OSStatus move(const std::string&, const std::string&) override { return kInputOutputErrorStatus; }
  OSStatus copy(const std::string&, const std::string&) override { return kInputOutputErrorStatus; }
  OSStatus remove(const std::string&) override { return kInputOutputErrorStatus; }
  OSStatus replace(const std::string&, const std::string&) override { return kInputOutputErrorStatus; }
  OSStatus setHFSCodes(const std::string&, const HFSCodes&) override { return noErr; }

 private:
  class Handle final : public FileHandle {
   public:
    Handle(std::unique_ptr<FileHandle> file, const std::atomic<std::int64_t>& goodBytes)
        : file_(std::move(file)), goodBytes_(goodBytes) {}
    OSStatus readAt(std::int64_t offset, void* buffer, std::size_t length, std::size_t* moved) override {
      if (offset + static_cast<std::int64_t>(length) > goodBytes_) {
        *moved = 0;
        return kInputOutputErrorStatus;
      }
      return file_->readAt(offset, buffer, length, moved);
    }
    OSStatus writeAt(std::int64_t, const void*, std::size_t, std::size_t*) override { return kInputOutputErrorStatus; }
    std::int64_t size() override { return file_->size(); }
    OSStatus setSize(std::int64_t) override { return kInputOutputErrorStatus; }
    OSStatus reserve(std::int64_t, std::int64_t) override { return kInputOutputErrorStatus; }
    OSStatus synchronise() override { return noErr; }

   private:
    const std::unique_ptr<FileHandle> file_;
    const std::atomic<std::int64_t>& goodBytes_;
  };

  const std::shared_ptr<FileManager> system_;
};

class DamagedForeignFiles : public testing::TestWithParam<ForeignFile> {
 protected:
  /// Opens and reads whatever comes, in order and at a few places.
  void exercise(const std::string& bytes) {
    writeWholeFile(scratch_ / "damaged", bytes);
    const OpenedForeign opened = openFile(scratch_ / "damaged");
    EXPECT_EQ(opened.status == noErr, opened.session != nullptr);
    if (opened.status != noErr) {
      EXPECT_FALSE(opened.problem.empty());
      EXPECT_EQ(opened.problem.find('\n'), std::string::npos) << opened.problem;
      return;
    }
    const std::int64_t length = opened.session->dataByteCount();
    EXPECT_GE(length, 0);
    EXPECT_EQ(length % opened.session->format().mBytesPerFrame, 0);
    EXPECT_LE(static_cast<std::int64_t>(allBytes(*opened.session).size()), length);
    for (const std::int64_t start : {length / 2 + 1, length - 10, std::int64_t{3}}) {
      readBytes(*opened.session, std::max<std::int64_t>(start, 0), 5000);
    }
  }

  TemporaryDirectory scratch_;
  const std::string whole_ = readWholeFile(make(GetParam(), sourceFor(GetParam(), 6000), scratch_.path()));
};

TEST_P(DamagedForeignFiles, CutAnywhereOpenOrAreRefused) {
  for (std::size_t length = 1; length < whole_.size(); length += length < 64 ? 1 : whole_.size() / 23) {
    exercise(whole_.substr(0, length));
  }
}

TEST_P(DamagedForeignFiles, WithFlippedBitsOpenOrAreRefused) {
  std::mt19937 random(11);
  for (int i = 0; i < 60; ++i) {
    std::string bytes = whole_;
    for (int flips = 1 + i % 4; flips > 0; --flips) {
      // Most of them where the headers are.
      const std::size_t range = i % 3 == 0 ? bytes.size() : std::min<std::size_t>(bytes.size(), 128);
      char& byte = bytes[random() % range];
      byte = static_cast<char>(byte ^ (1 << random() % 8));
    }
    exercise(bytes);
  }
}

TEST_P(DamagedForeignFiles, WithBytesOfOnesOpenOrAreRefused) {
  for (std::size_t at = 4; at < std::min<std::size_t>(whole_.size() - 4, 96); at += 2) {
    std::string bytes = whole_;
    bytes.replace(at, 4, 4, '\xFF');
    exercise(bytes);
  }
}

INSTANTIATE_TEST_SUITE_P(EveryKind, DamagedForeignFiles, testing::ValuesIn(foreignFiles()),
                         [](const auto& instance) { return std::string(instance.param.name); });

class ForeignReadErrors : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override { installFileManager(files_); }
  void TearDown() override { installFileManager(system_); }

  TemporaryDirectory scratch_;
  std::string path_ = make(foreignFile(GetParam()), sourceFor(foreignFile(GetParam()), 400'000), scratch_.path());
  std::shared_ptr<FileManager> system_ = fileManager();
  std::shared_ptr<FailingFiles> files_ = std::make_shared<FailingFiles>(system_);
};

TEST_P(ForeignReadErrors, AreAStatusAndNeitherTheEndNorSilence) {
  const std::string whole = allBytes(*openFile(path_).session);
  const OpenedForeign opened = openFile(path_);
  ASSERT_EQ(opened.status, noErr) << opened.problem;
  files_->goodBytes = opened.session->format().mBytesPerFrame + 30'000;
  std::string bytes(whole.size(), '\0');
  auto count = static_cast<std::uint32_t>(bytes.size());
  EXPECT_EQ(opened.session->readBytes(0, &count, bytes.data()), kInputOutputErrorStatus);
  EXPECT_EQ(audioFileProblem(), describeStatus(kInputOutputErrorStatus));
  EXPECT_LT(count, bytes.size());
  EXPECT_EQ(bytes.compare(0, count, whole, 0, count), 0);
}

TEST_P(ForeignReadErrors, ThatPassLeaveAFileThatCanBeRead) {
  const std::string whole = allBytes(*openFile(path_).session);
  const OpenedForeign opened = openFile(path_);
  ASSERT_EQ(opened.status, noErr) << opened.problem;
  files_->goodBytes = 0;
  const auto middle = static_cast<std::int64_t>(whole.size() / 3);
  EXPECT_LT(readBytes(*opened.session, 0, static_cast<std::uint32_t>(whole.size())).size(), whole.size());
  files_->goodBytes = std::numeric_limits<std::int64_t>::max();
  EXPECT_TRUE(readBytes(*opened.session, middle, 5000) == whole.substr(whole.size() / 3, 5000));
  EXPECT_TRUE(allBytes(*opened.session) == whole);
}

TEST_P(ForeignReadErrors, WhileOpeningAreReportedAsSuch) {
  files_->goodBytes = 4096;  // what our containers look at
  const OpenedForeign opened = openFile(path_);
  EXPECT_EQ(opened.status, kInputOutputErrorStatus);
  EXPECT_EQ(opened.problem, describeStatus(kInputOutputErrorStatus));
}

INSTANTIATE_TEST_SUITE_P(Some, ForeignReadErrors,
                         testing::Values("Flac16", "Vorbis", "Mp3", "Caf24", "W64Of16", "Opus"),
                         [](const auto& instance) { return std::string(instance.param); });

TEST(DamagedFlac, IsAReadErrorWhereTheDamageIsAndPlaysBeforeAndBehindIt) {
  const TemporaryDirectory scratch;
  const std::string path = make(foreignFile("Flac16"), makeSource(400'000), scratch.path());
  std::string whole;
  {
    const OpenedForeign good = openFile(path);
    ASSERT_EQ(good.status, noErr);
    whole = allBytes(*good.session);
  }
  std::string file = readWholeFile(path);
  for (std::size_t i = 0; i < 40; ++i) {
    file[file.size() / 2 + i * 7] = static_cast<char>(file[file.size() / 2 + i * 7] ^ 0x5A);
  }
  writeWholeFile(path, file);
  const OpenedForeign opened = openFile(path);
  ASSERT_EQ(opened.status, noErr) << opened.problem;
  ASSERT_EQ(opened.session->dataByteCount(), static_cast<std::int64_t>(whole.size()));

  std::string bytes(whole.size(), '\0');
  auto count = static_cast<std::uint32_t>(bytes.size());
  EXPECT_EQ(opened.session->readBytes(0, &count, bytes.data()), kAudioFileInvalidFileError);
  EXPECT_TRUE(audioFileProblem().starts_with("FLAC: the file is damaged")) << audioFileProblem();
  EXPECT_GT(count, whole.size() / 3);
  EXPECT_LT(count, whole.size() * 2 / 3);
  EXPECT_EQ(bytes.compare(0, count, whole, 0, count), 0) << "all that comes before the damage is right";

  const std::size_t behind = whole.size() * 3 / 4;
  EXPECT_TRUE(readBytes(*opened.session, static_cast<std::int64_t>(behind), 100'000) == whole.substr(behind, 100'000));
}

}  // namespace
}  // namespace orv::test
