// SPDX-License-Identifier: Apache-2.0
#include "host/depth_map.h"

#include <gtest/gtest.h>

#include "host/reference/heap_statistics.h"

namespace nimbara {
namespace {

TEST(DepthMapTest, IsEmptyAtFirst) {
  const DepthMap map;
  EXPECT_EQ(map.indices, nullptr);
  EXPECT_EQ(map.planes, nullptr);
  EXPECT_EQ(map.width, 0);
  EXPECT_EQ(map.height, 0);
  EXPECT_EQ(map.plane_count, 0);
  EXPECT_FALSE(map.flag);
}

// The address sanitizer sees whether both arrays go, each in its own way.
TEST(DepthMapTest, TakesBothArraysAndItsOwnBlockWithIt) {
  MemoryManager* heap = HeapManager::GetDynamicHeap();
  const HeapStatistics before = GetHeapStatistics(heap);
  auto* map = new (heap) DepthMap();
  map->indices = new std::uint8_t[6]{0, 1, 0, 1, 0, 1};
  map->planes = new Plane<double>[2];
  EXPECT_EQ(GetHeapStatistics(heap).blocks, before.blocks + 1);
  delete map;
  EXPECT_EQ(GetHeapStatistics(heap), before);
}

}  // namespace
}  // namespace nimbara
