// SPDX-License-Identifier: Apache-2.0
#include "spatial/graph/cell_table.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <vector>

#include "host/reference/heap_statistics.h"

namespace nimbara {
namespace spatial {
namespace {

class CellTableTest : public testing::Test {
 protected:
  CellTable<int> table{HeapManager::GetDynamicHeap()};
  int one = 1;
  int two = 2;
};

TEST_F(CellTableTest, FindsNothingWhereNothingWasSet) {
  EXPECT_EQ(table.Find(0), nullptr);
  table.Set(1, &one);
  EXPECT_EQ(table.Find(0), nullptr);
}

TEST_F(CellTableTest, ReplacesTheItemOfACell) {
  table.Set(7, &one);
  table.Set(7, &two);
  EXPECT_EQ(table.Find(7), &two);
}

TEST_F(CellTableTest, FindsNothingAfterClear) {
  table.Set(7, &one);
  table.Clear();
  EXPECT_EQ(table.Find(7), nullptr);
  table.Set(8, &two);
  EXPECT_EQ(table.Find(7), nullptr);
  EXPECT_EQ(table.Find(8), &two);
}

TEST_F(CellTableTest, FindsWhatAnOrderedMapFinds) {
  constexpr unsigned kSeed = 20261121;
  const testing::ScopedTrace trace(__FILE__, __LINE__, kSeed);
  std::mt19937_64 random(kSeed);
  std::vector<int> items(20000);
  std::map<std::uint64_t, int*> twin;
  for (int& item : items) {
    // Rows and columns of a grid beside cells of any kind.
    const std::uint64_t any = random();
    const std::uint64_t cell = any % 2 == 0 ? any : (any & 0x7F) << 32 | (any >> 57);
    table.Set(cell, &item);
    twin[cell] = &item;
  }
  for (const auto& expected : twin) {
    ASSERT_EQ(table.Find(expected.first), expected.second);
    const std::uint64_t beside = expected.first + 1;
    ASSERT_EQ(table.Find(beside), twin.count(beside) == 0 ? nullptr : twin[beside]);
  }
}

TEST_F(CellTableTest, LeavesNothingOnTheHeap) {
  const HeapStatistics before = GetHeapStatistics(HeapManager::GetDynamicHeap());
  {
    CellTable<int> filled(HeapManager::GetDynamicHeap());
    for (std::uint64_t cell = 0; cell < 1000; ++cell) {
      filled.Set(cell, &one);
    }
  }
  EXPECT_EQ(GetHeapStatistics(HeapManager::GetDynamicHeap()), before);
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
