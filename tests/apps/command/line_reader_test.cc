// SPDX-License-Identifier: Apache-2.0
#include "apps/command/line_reader.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace pelorin {
namespace command {
namespace {

class LineReaderTest : public testing::Test {
 protected:
  void TearDown() override { std::filesystem::remove(path_); }

  std::vector<std::string> LinesOf(const std::string& content) {
    std::ofstream(path_, std::ios::binary) << content;
    LineReader reader;
    EXPECT_TRUE(reader.Open(path_).ok());
    std::vector<std::string> lines;
    while (reader.Next()) {
      lines.push_back(reader.line());
      EXPECT_EQ(reader.number(), lines.size());
    }
    EXPECT_TRUE(reader.status().ok());
    return lines;
  }

  const std::string path_ = testing::TempDir() + "line_reader_test." +
                            std::to_string(testing::UnitTest::GetInstance()->random_seed()) +
                            testing::UnitTest::GetInstance()->current_test_info()->name();
};

using Lines = std::vector<std::string>;

TEST_F(LineReaderTest, LeavesOutAByteOrderMarkInFrontOfAll) {
  EXPECT_EQ(LinesOf("\xEF\xBB\xBF"
                    "a\n\xEF\xBB\xBF"
                    "b"),
            (Lines{"a", "\xEF\xBB\xBF"
                        "b"}));
}

TEST_F(LineReaderTest, TakesEndsOfBothKindsAndNoneAtTheEnd) {
  EXPECT_EQ(LinesOf("a\nb\r\n\nc"), (Lines{"a", "b", "", "c"}));
  EXPECT_EQ(LinesOf("a\n"), Lines{"a"});
  EXPECT_EQ(LinesOf("\n"), Lines{""});
  EXPECT_EQ(LinesOf(""), Lines{});
}

TEST_F(LineReaderTest, KeepsBytesOfAnyKind) {
  EXPECT_EQ(LinesOf(std::string("a\0b\xFF\r\r\nc", 8)), (Lines{std::string("a\0b\xFF\r", 5), "c"}));
}

TEST_F(LineReaderTest, PutsLinesTogetherAcrossReads) {
  Lines lines;
  std::string content;
  for (int i = 0; i < 20000; ++i) {
    lines.push_back(std::to_string(i) + std::string(static_cast<std::size_t>(i % 40), 'x'));
    content += lines.back() + "\n";
  }
  EXPECT_EQ(LinesOf(content), lines);
}

TEST_F(LineReaderTest, CutsALineThatIsTooLongAndGoesOnBehindIt) {
  std::ofstream(path_) << std::string(LineReader::kLongestLine, 'a') << "\n"
                       << std::string(5 * LineReader::kLongestLine, 'b') << "\nc\n";
  LineReader reader;
  ASSERT_TRUE(reader.Open(path_).ok());
  ASSERT_TRUE(reader.Next());
  EXPECT_FALSE(reader.is_cut());
  EXPECT_EQ(reader.line().size(), LineReader::kLongestLine);
  ASSERT_TRUE(reader.Next());
  EXPECT_TRUE(reader.is_cut());
  EXPECT_EQ(reader.line().size(), LineReader::kLongestLine);
  ASSERT_TRUE(reader.Next());
  EXPECT_FALSE(reader.is_cut());
  EXPECT_EQ(reader.line(), "c");
  EXPECT_EQ(reader.number(), 3u);
  EXPECT_FALSE(reader.Next());
}

TEST_F(LineReaderTest, KnowsWhetherTheNextLineIsThere) {
  std::ofstream(path_) << "a\nb\nc";
  LineReader reader;
  ASSERT_TRUE(reader.Open(path_).ok());
  EXPECT_FALSE(reader.has_more_buffered());
  ASSERT_TRUE(reader.Next());
  EXPECT_TRUE(reader.has_more_buffered());
  ASSERT_TRUE(reader.Next());
  EXPECT_FALSE(reader.has_more_buffered()) << "the last line may go on";
}

TEST_F(LineReaderTest, NamesAFileThatCannotBeRead) {
  LineReader missing;
  const Outcome outcome = missing.Open(path_ + ".missing");
  EXPECT_EQ(outcome.code(), ExitCode::kDataError);
  EXPECT_NE(outcome.Line().find(".missing"), std::string::npos);
  LineReader folder;
  ASSERT_TRUE(folder.Open(testing::TempDir()).ok());
  EXPECT_FALSE(folder.Next());
  EXPECT_EQ(folder.status().code(), ExitCode::kDataError);
}

}  // namespace
}  // namespace command
}  // namespace pelorin
