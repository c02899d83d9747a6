// SPDX-License-Identifier: Apache-2.0
// Traversal paths, there and back, beside a twin that walks down the tree.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "tests/support/log_recorder.h"
#include "vortan/common/internal/stratum_tools.h"

namespace vortan {
namespace {

struct Cell {
  int level = -7;
  int row = -7;
  int column = -7;
  int stratum = -7;

  friend bool operator==(const Cell& a, const Cell& b) {
    return a.level == b.level && a.row == b.row && a.column == b.column && a.stratum == b.stratum;
  }
  friend std::ostream& operator<<(std::ostream& out, const Cell& cell) {
    return out << cell.level << ' ' << cell.row << ' ' << cell.column << ' ' << cell.stratum;
  }
};

bool Read(const std::string& path, Cell* cell) {
  return TraversalPathToLevelRowColumnStratum(path, &cell->level, &cell->row, &cell->column,
                                              &cell->stratum);
}

bool Write(const Cell& cell, std::string* path) {
  return LevelRowColumnStratumToTraversalPath(cell.level, cell.row, cell.column, cell.stratum,
                                              path);
}

// Halves the cube of the root by each digit: the half to the east has the column bit, the half away
// from row 0's end the row bit, the upper half the stratum bit.
Cell WalkDown(const std::string& path) {
  std::int64_t size = std::int64_t{1} << path.size();
  const std::int64_t count = size;
  std::int64_t flipped_row = 0;
  std::int64_t column = 0;
  std::int64_t absolute = 0;
  for (const char c : path) {
    size /= 2;
    const int digit = c - '0';
    absolute += digit >= 4 ? size : 0;
    flipped_row += digit % 4 >= 2 ? size : 0;
    column += digit % 2 == 1 ? size : 0;
  }
  return {static_cast<int>(path.size()), static_cast<int>(count - 1 - flipped_row),
          static_cast<int>(column), static_cast<int>(absolute - count / 6)};
}

TEST(TraversalPath, WritesAndReadsARowFiveColumnTwoAtLevelThree) {
  std::string path;
  EXPECT_TRUE(Write({3, 5, 2, 0}, &path));
  EXPECT_EQ(path, "034");
  Cell cell;
  EXPECT_TRUE(Read("034", &cell));
  EXPECT_EQ(cell, (Cell{3, 5, 2, 0}));
}

TEST(TraversalPath, IsEmptyForTheRoot) {
  Cell cell;
  EXPECT_TRUE(Read("", &cell));
  EXPECT_EQ(cell, (Cell{0, 0, 0, 0}));
  std::string path = "before";
  EXPECT_TRUE(Write({0, 0, 0, 0}, &path));
  EXPECT_EQ(path, "");
}

TEST(TraversalPath, ReadsWhatAWalkDownTheTreeFinds) {
  std::mt19937 random(20261121);
  for (int i = 0; i < 20000; ++i) {
    std::string path(random() % 32, '0');
    for (char& c : path) {
      c = static_cast<char>('0' + random() % 8);
    }
    Cell cell;
    ASSERT_TRUE(Read(path, &cell)) << path;
    EXPECT_EQ(cell, WalkDown(path)) << path;
    std::string written;
    EXPECT_EQ(Write(cell, &written), path.size() <= 30) << path;
    EXPECT_EQ(written, path.size() <= 30 ? path : "");
  }
}

TEST(TraversalPath, NamesEveryOctantOfALevelOnce) {
  for (int level = 0; level <= 3; ++level) {
    const int count = 1 << level;
    const int zero = StratumTools::ZeroStratumForLevel(level);
    std::vector<std::string> paths;
    for (int row = 0; row < count; ++row) {
      for (int column = 0; column < count; ++column) {
        for (int absolute = 0; absolute < count; ++absolute) {
          paths.emplace_back();
          const Cell cell{level, row, column, absolute - zero};
          ASSERT_TRUE(Write(cell, &paths.back()));
          EXPECT_EQ(WalkDown(paths.back()), cell);
        }
      }
    }
    std::sort(paths.begin(), paths.end());
    EXPECT_EQ(std::unique(paths.begin(), paths.end()), paths.end());
  }
}

TEST(TraversalPath, ReadsThirtyOneDigits) {
  Cell cell;
  EXPECT_TRUE(Read(std::string(31, '7'), &cell));
  EXPECT_EQ(cell, (Cell{31, 0, 2147483647, 2147483647 - 357913941}));
  EXPECT_TRUE(Read(std::string(31, '0'), &cell));
  EXPECT_EQ(cell, (Cell{31, 2147483647, 0, -357913941}));
}

TEST(TraversalPath, WritesDownToLevel30AndNoFurther) {
  std::string path;
  EXPECT_TRUE(Write({30, 0, (1 << 30) - 1, 0}, &path));
  EXPECT_EQ(path.size(), 30u);
  path = "before";
  EXPECT_FALSE(Write({31, 0, 0, 0}, &path));
  EXPECT_EQ(path, "before");
}

TEST(TraversalPath, LeavesTheBitsSoFarAtABadDigit) {
  Cell cell;
  EXPECT_FALSE(Read("0368", &cell));
  // Column 010, flipped row 011, stratum 001, of three digits; nothing flipped or subtracted.
  EXPECT_EQ(cell, (Cell{4, 3, 2, 1}));
  EXPECT_FALSE(Read("8", &cell));
  EXPECT_EQ(cell, (Cell{1, 0, 0, 0}));
}

TEST(TraversalPath, RefusesEveryByteThatIsNoDigitBelow8) {
  for (int byte = 0; byte < 256; ++byte) {
    const std::string path = std::string("12") + static_cast<char>(byte) + "3";
    Cell cell;
    EXPECT_EQ(Read(path, &cell), byte >= '0' && byte <= '7') << byte;
  }
}

TEST(TraversalPath, RefusesOver31CharactersWithTheirNumber) {
  Cell cell;
  EXPECT_FALSE(Read(std::string(32, '0'), &cell));
  EXPECT_EQ(cell, (Cell{32, 0, 0, 0}));
  EXPECT_FALSE(Read(std::string(1000, 'x'), &cell));
  EXPECT_EQ(cell, (Cell{1000, 0, 0, 0}));
}

// In a process of its own, where none has been counted yet.
TEST(TraversalPath, LogsTheFirstOverlongPathAndThenTheHundredAndFirst) {
  ::testing::GTEST_FLAG(death_test_style) = "threadsafe";
  EXPECT_EXIT(
      {
        const test_support::LogRecorder log;
        Cell cell;
        Read(std::string(32, '0'), &cell);
        const bool first = log.lines() == std::vector<std::string>{"2 Level (32) out of range."};
        for (int i = 0; i < 99; ++i) {
          Read(std::string(33, '0'), &cell);
        }
        const bool none_between = log.lines().size() == 1;
        Read(std::string(34, '0'), &cell);
        std::exit(first && none_between && log.lines().size() == 2 ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

TEST(TraversalPath, LogsEveryHundredthOverlongPath) {
  const test_support::LogRecorder log;
  Cell cell;
  for (int i = 0; i < 300; ++i) {
    Read(std::string(40, '0'), &cell);
  }
  // Other tests of this process have counted too, so only the rate is known.
  EXPECT_EQ(log.lines(), std::vector<std::string>(3, "2 Level (40) out of range."));
}

TEST(TraversalPath, RefusesLevelsRowsColumnsAndStrataThatDoNotExist) {
  constexpr int kMaxInt = std::numeric_limits<int>::max();
  constexpr int kMinInt = std::numeric_limits<int>::min();
  for (const Cell& cell :
       {Cell{-1, 0, 0, 0}, Cell{32, 0, 0, 0}, Cell{kMaxInt, 0, 0, 0}, Cell{kMinInt, 0, 0, 0},
        Cell{3, 8, 0, 0}, Cell{3, -1, 0, 0}, Cell{3, 0, 8, 0}, Cell{3, 0, -1, 0}, Cell{3, 0, 0, 7},
        Cell{3, 0, 0, -2}, Cell{3, kMaxInt, kMaxInt, kMaxInt}, Cell{3, kMinInt, kMinInt, kMinInt},
        Cell{30, 0, 0, kMaxInt}, Cell{0, 1, 0, 0}}) {
    std::string path = "before";
    EXPECT_FALSE(Write(cell, &path)) << cell;
    EXPECT_EQ(path, "before") << cell;
  }
}

TEST(TraversalPath, TakesTheLowestAndTheHighestStratum) {
  std::string path;
  EXPECT_TRUE(Write({3, 7, 0, -1}, &path));
  EXPECT_EQ(path, "000");
  EXPECT_TRUE(Write({3, 7, 0, 6}, &path));
  EXPECT_EQ(path, "444");
}

}  // namespace
}  // namespace vortan
