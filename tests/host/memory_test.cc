// SPDX-License-Identifier: Apache-2.0
#include "host/memory.h"

#include <gtest/gtest.h>

#include <limits>

#include "host/reference/heap_statistics.h"

namespace nimbara {
namespace {

TEST(Heap, CountsBlocksAndBytesOfItsOwnOnly) {
  const HeapStatistics dynamic_before = GetHeapStatistics(HeapManager::GetDynamicHeap());
  const HeapStatistics transient_before = GetHeapStatistics(HeapManager::GetTransientHeap());
  void* block = doNew(100, HeapManager::GetTransientHeap());
  EXPECT_EQ(GetHeapStatistics(HeapManager::GetTransientHeap()).blocks, transient_before.blocks + 1);
  EXPECT_EQ(GetHeapStatistics(HeapManager::GetTransientHeap()).bytes, transient_before.bytes + 100);
  EXPECT_EQ(GetHeapStatistics(HeapManager::GetDynamicHeap()), dynamic_before);
  doDelete(block);
  EXPECT_EQ(GetHeapStatistics(HeapManager::GetTransientHeap()), transient_before);
}

TEST(Heap, IsFoundAgainFromItsBlock) {
  void* block = doNew(0, HeapManager::GetStaticHeap());
  EXPECT_EQ(MemoryManager::GetManager(block), HeapManager::GetStaticHeap());
  EXPECT_EQ(MemoryManager::GetManager(nullptr), nullptr);
  doDelete(block);
}

TEST(Heap, ThatIsNullIsTheDefaultHeap) {
  void* block = doNew(1, nullptr);
  EXPECT_EQ(MemoryManager::GetManager(block), GetDefaultHeap());
  doDelete(block);
  doDelete(nullptr);
}

TEST(Heap, RefusesASizeThatCannotBeCarried) {
  EXPECT_THROW(doNew(std::numeric_limits<std::size_t>::max(), nullptr), std::bad_alloc);
}

TEST(MemoryManagerVector, TakesItsElementsFromItsHeap) {
  const HeapStatistics before = GetHeapStatistics(HeapManager::GetTransientHeap());
  {
    mmvector<int> list(HeapManager::GetTransientHeap());
    list.resize(10);
    EXPECT_EQ(GetHeapStatistics(HeapManager::GetTransientHeap()).bytes,
              before.bytes + static_cast<std::int64_t>(list.capacity() * sizeof(int)));
  }
  EXPECT_EQ(GetHeapStatistics(HeapManager::GetTransientHeap()), before);
}

}  // namespace
}  // namespace nimbara
