// SPDX-License-Identifier: Apache-2.0
#include "apps/command/output_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "apps/files/partial_files.h"

namespace pelorin {
namespace command {
namespace {

namespace fs = std::filesystem;

class OutputFiles : public testing::Test {
 protected:
  void SetUp() override {
    const testing::TestInfo* const test = testing::UnitTest::GetInstance()->current_test_info();
    folder_ = fs::path(testing::TempDir()) / (std::string("pelorin_output_") + test->name());
    fs::remove_all(folder_);
    fs::create_directories(folder_);
  }
  void TearDown() override { fs::remove_all(folder_); }

  std::string Path(const char* name) const { return (folder_ / name).string(); }
  static std::string Content(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
  }
  std::ptrdiff_t FileCount() const {
    return std::distance(fs::directory_iterator(folder_), fs::directory_iterator());
  }

  fs::path folder_;
};

TEST_F(OutputFiles, AreThereOnlyAfterCommit) {
  const std::string path = Path("a.txt");
  OutputFile file;
  ASSERT_TRUE(file.Open(path, false).ok());
  file.Write("hello");
  EXPECT_FALSE(fs::exists(path));
  ASSERT_TRUE(file.Commit().ok());
  EXPECT_EQ(Content(path), "hello");
  EXPECT_EQ(FileCount(), 1);
}

TEST_F(OutputFiles, LeaveTheOldFileWholeUntilCommit) {
  const std::string path = Path("a.txt");
  ASSERT_TRUE(WriteOutput(path, false, "old").ok());
  {
    OutputFile file;
    ASSERT_TRUE(file.Open(path, true).ok());
    file.Write("new");
    EXPECT_EQ(Content(path), "old");
  }
  EXPECT_EQ(Content(path), "old");
  EXPECT_EQ(FileCount(), 1);
}

TEST_F(OutputFiles, RefuseToReplaceUnlessAsked) {
  const std::string path = Path("a.txt");
  ASSERT_TRUE(WriteOutput(path, false, "old").ok());
  const Outcome outcome = WriteOutput(path, false, "new");
  EXPECT_EQ(outcome.code(), ExitCode::kWrongUsage);
  EXPECT_NE(outcome.Line().find("--overwrite"), std::string::npos);
  EXPECT_EQ(Content(path), "old");
  ASSERT_TRUE(WriteOutput(path, true, "new").ok());
  EXPECT_EQ(Content(path), "new");
}

TEST_F(OutputFiles, DoNotReplaceAFileThatAppearedMeanwhile) {
  const std::string path = Path("a.txt");
  OutputFile file;
  ASSERT_TRUE(file.Open(path, false).ok());
  file.Write("ours");
  std::ofstream(path) << "theirs";
  EXPECT_EQ(file.Commit().code(), ExitCode::kWrongUsage);
  EXPECT_EQ(Content(path), "theirs");
}

TEST_F(OutputFiles, KeepTheModeOfTheFileTheyReplace) {
  const std::string path = Path("a.txt");
  ASSERT_TRUE(WriteOutput(path, false, "old").ok());
  ASSERT_EQ(chmod(path.c_str(), 0640), 0);
  ASSERT_TRUE(WriteOutput(path, true, "new").ok());
  struct stat info {};
  ASSERT_EQ(stat(path.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07777, 0640u);
}

TEST_F(OutputFiles, SayThatTheFolderIsMissing) {
  const Outcome outcome = WriteOutput(Path("nowhere/a.txt"), false, "x");
  EXPECT_EQ(outcome.code(), ExitCode::kDataError);
  EXPECT_NE(outcome.Line().find("make its folder first"), std::string::npos);
}

TEST_F(OutputFiles, RefuseAFolder) {
  EXPECT_EQ(WriteOutput(folder_.string(), true, "x").code(), ExitCode::kWrongUsage);
}

TEST_F(OutputFiles, WriteDevicesStraight) {
  EXPECT_TRUE(WriteOutput("/dev/null", false, "x").ok());
  const Outcome full = WriteOutput("/dev/full", false, "x");
  EXPECT_EQ(full.code(), ExitCode::kDataError);
  EXPECT_TRUE(fs::exists("/dev/full"));
}

TEST_F(OutputFiles, GoAwayWhenAllPartialFilesAreDeleted) {
  OutputFile file;
  ASSERT_TRUE(file.Open(Path("a.txt"), false).ok());
  EXPECT_EQ(FileCount(), 1);
  PartialFiles::Instance().DeleteAll();
  EXPECT_EQ(FileCount(), 0);
  EXPECT_EQ(file.Commit().code(), ExitCode::kDataError);
}

}  // namespace
}  // namespace command
}  // namespace pelorin
