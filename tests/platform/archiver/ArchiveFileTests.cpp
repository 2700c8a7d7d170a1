#include <gtest/gtest.h>

#include <filesystem>

#include "OrvPlatform/FileManager.h"
#include "TestRecords.h"
#include "support/LogCapture.h"
#include "support/TemporaryDirectory.h"

namespace orv::test {
namespace {

class ArchiveFile : public ::testing::Test {
 protected:
  std::string outcome(const std::string& path) const {
    std::string problem;
    const auto object = unarchiveFromFile(path, testMakers(), &problem);
    return object ? show(*object) : problem;
  }

  const TemporaryDirectory folder_;
  const std::string path_ = folder_ / "side.tracks";
};

TEST_F(ArchiveFile, HoldsTheArchiveAndNothingElse) {
  ASSERT_TRUE(archiveToFile(labelled("a"), ArchiveForm::sequential, path_, nullptr));
  const ArchiveBytes bytes = archive(labelled("a"), ArchiveForm::sequential);
  EXPECT_EQ(readWholeFile(path_), std::string(bytes.begin(), bytes.end()));
  EXPECT_EQ(outcome(path_), "Labelled(a, nil)");
}

TEST_F(ArchiveFile, IsReplacedAndLeavesNothingBeside) {
  ASSERT_TRUE(archiveToFile("a much longer text than the next one", ArchiveForm::sequential, path_, nullptr));
  ASSERT_TRUE(archiveToFile("b", ArchiveForm::keyed, path_, nullptr));
  EXPECT_EQ(outcome(path_), "\"b\"");
  const std::filesystem::directory_iterator entries(folder_.path());
  EXPECT_EQ(std::distance(begin(entries), end(entries)), 1);
}

TEST_F(ArchiveFile, ThatCannotBeMadeIsToldAndLeavesNothing) {
  std::string problem;
  EXPECT_FALSE(archiveToFile("a", ArchiveForm::sequential, folder_ / "missing/side", &problem));
  EXPECT_EQ(problem, "no such file or directory");
  std::filesystem::create_directory(path_);
  EXPECT_FALSE(archiveToFile("a", ArchiveForm::sequential, path_, &problem));
  EXPECT_FALSE(problem.empty());
  const std::filesystem::directory_iterator entries(folder_.path());
  EXPECT_EQ(std::distance(begin(entries), end(entries)), 1) << "only the folder in its place";
}

TEST_F(ArchiveFile, StaysAsItWasWhenTheObjectCannotBeArchived) {
  ASSERT_TRUE(archiveToFile("kept", ArchiveForm::sequential, path_, nullptr));
  const auto array = std::make_shared<ArchiveArray>();
  array->push_back(array);
  const LogCapture log;
  std::string problem;
  EXPECT_FALSE(archiveToFile(array, ArchiveForm::sequential, path_, &problem));
  EXPECT_EQ(problem, "the objects can't be archived");
  EXPECT_EQ(outcome(path_), "\"kept\"");
  array->clear();
}

TEST_F(ArchiveFile, ThatIsADirectoryOrEmptyOrATextIsRefused) {
  EXPECT_EQ(outcome(path_), "no such file or directory");
  EXPECT_FALSE(unarchiveFromFile(folder_.path(), {}, nullptr));
  EXPECT_EQ(outcome(folder_.path()), describeStatus(kWrongFileKindStatus));
  writeWholeFile(path_, "");
  EXPECT_EQ(outcome(path_), "not an archive");
  writeWholeFile(path_, "1. Intro\n2. Something else entirely\n");
  EXPECT_EQ(outcome(path_), "not an archive");
}

TEST_F(ArchiveFile, ThatIsTooLongIsRefusedUnread) {
  writeWholeFile(path_, "");
  std::filesystem::resize_file(path_, std::uintmax_t{1} << 33);
  EXPECT_EQ(outcome(path_), "the archive is too long");
}

}  // namespace
}  // namespace orv::test
