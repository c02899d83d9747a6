// SPDX-License-Identifier: Apache-2.0
#include "apps/files/replaced_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <string>
#include <thread>
#include <vector>

#include "apps/files/partial_files.h"
#include "tests/support/temporary_folder.h"

namespace pelorin {
namespace {

using test_support::BytesOf;
using test_support::TemporaryFolder;

class ReplacedFileTest : public testing::Test {
 protected:
  std::unique_ptr<ReplacedFile> Begin(const std::string& name) {
    std::unique_ptr<ReplacedFile> file;
    EXPECT_EQ(ReplacedFile::Begin(folder_.File(name), &file), 0);
    return file;
  }
  static void Write(const ReplacedFile& file, const std::string& text) {
    EXPECT_EQ(write(file.descriptor(), text.data(), text.size()),
              static_cast<ssize_t>(text.size()));
  }
  mode_t ModeOf(const std::string& path) {
    struct stat info {};
    EXPECT_EQ(stat(path.c_str(), &info), 0);
    return info.st_mode & 07777u;
  }

  TemporaryFolder folder_;
};

TEST_F(ReplacedFileTest, TakesItsPlaceWithTheCommit) {
  folder_.Write("a", "old");
  const auto file = Begin("a");
  Write(*file, "new");
  EXPECT_EQ(file->Sync(), 0);
  EXPECT_EQ(BytesOf(folder_.File("a")), "old");
  EXPECT_EQ(file->Commit(true), 0);
  EXPECT_EQ(BytesOf(folder_.File("a")), "new");
  EXPECT_EQ(folder_.Names().size(), 1u);
}

TEST_F(ReplacedFileTest, IsGoneWithoutACommit) {
  folder_.Write("a", "old");
  Write(*Begin("a"), "new");
  EXPECT_EQ(BytesOf(folder_.File("a")), "old");
  EXPECT_EQ(folder_.Names().size(), 1u);
}

TEST_F(ReplacedFileTest, LeavesAFileThatItMayNotReplace) {
  const auto file = Begin("a");
  folder_.Write("a", "theirs");
  EXPECT_EQ(file->Commit(false), EEXIST);
  EXPECT_EQ(BytesOf(folder_.File("a")), "theirs");
}

TEST_F(ReplacedFileTest, IsForFilesAlone) {
  std::unique_ptr<ReplacedFile> file;
  EXPECT_EQ(ReplacedFile::Begin(folder_.path(), &file), EISDIR);
  ASSERT_EQ(mkfifo(folder_.File("pipe").c_str(), 0600), 0);
  EXPECT_EQ(ReplacedFile::Begin(folder_.File("pipe"), &file), EEXIST);
  EXPECT_EQ(ReplacedFile::Begin(folder_.File("none/a"), &file), ENOENT);
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  EXPECT_EQ(ReplacedFile::Begin("/proc/self/fd/" + std::to_string(ends[1]), &file), EEXIST);
  close(ends[0]);
  close(ends[1]);
  EXPECT_EQ(file, nullptr);
  EXPECT_EQ(folder_.Names().size(), 1u);
}

TEST_F(ReplacedFileTest, HasTheRightsOfTheOldFileOrOfAnyNewOne) {
  const mode_t before = umask(027);
  EXPECT_EQ(ModeOf(Begin("new")->partial_path()), 0640u);
  chmod(folder_.Write("old", "").c_str(), 0604);
  EXPECT_EQ(ModeOf(Begin("old")->partial_path()), 0604u);
  chmod(folder_.Write("lent", "").c_str(), 04755);
  EXPECT_EQ(ModeOf(Begin("lent")->partial_path()), 0755u);
  umask(before);
}

TEST_F(ReplacedFileTest, GoesWhereALinkLeads) {
  folder_.Write("a", "old");
  ASSERT_EQ(symlink("a", folder_.File("link").c_str()), 0);
  const auto file = Begin("link");
  Write(*file, "new");
  EXPECT_EQ(file->Commit(true), 0);
  EXPECT_EQ(BytesOf(folder_.File("a")), "new");
  ASSERT_EQ(symlink("circle", folder_.File("circle").c_str()), 0);
  std::unique_ptr<ReplacedFile> none;
  EXPECT_EQ(ReplacedFile::Begin(folder_.File("circle"), &none), ELOOP);
}

TEST_F(ReplacedFileTest, IsGoneWhenTheProcessIsInterrupted) {
  const auto file = Begin("a");
  PartialFiles::Instance().DeleteAll();
  EXPECT_TRUE(folder_.Names().empty());
  EXPECT_EQ(file->Commit(true), ENOENT);
}

TEST_F(ReplacedFileTest, ForOnePlaceMayBeManyOfWhichTheLastIsSeen) {
  std::atomic<int> failed{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([this, &failed] {
      for (int i = 0; i < 50; ++i) {
        std::unique_ptr<ReplacedFile> file;
        failed += ReplacedFile::Begin(folder_.File("a"), &file) != 0 ||
                  write(file->descriptor(), "whole", 5) != 5 || file->Commit(true) != 0;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(failed, 0);
  EXPECT_EQ(BytesOf(folder_.File("a")), "whole");
  EXPECT_EQ(folder_.Names().size(), 1u);
}

}  // namespace
}  // namespace pelorin
