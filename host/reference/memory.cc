// SPDX-License-Identifier: Apache-2.0
#include "host/memory.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>

#include "host/reference/heap_statistics.h"

namespace nimbara {
namespace {

class CountingHeap final : public MemoryManager {
 public:
  constexpr CountingHeap() = default;

  void Add(std::size_t size) {
    blocks_.fetch_add(1, std::memory_order_relaxed);
    bytes_.fetch_add(static_cast<std::int64_t>(size), std::memory_order_relaxed);
  }
  void Remove(std::size_t size) {
    blocks_.fetch_sub(1, std::memory_order_relaxed);
    bytes_.fetch_sub(static_cast<std::int64_t>(size), std::memory_order_relaxed);
  }
  HeapStatistics Statistics() const {
    return {blocks_.load(std::memory_order_relaxed), bytes_.load(std::memory_order_relaxed)};
  }

 private:
  std::atomic<std::int64_t> blocks_{0};
  std::atomic<std::int64_t> bytes_{0};
};

// Constant-initialised and trivially destroyed, so that they serve static initialisers and
// destructors of every library in any order.
CountingHeap g_dynamic_heap;
CountingHeap g_transient_heap;
CountingHeap g_static_heap;
CountingHeap g_default_heap;

// Stands in front of every block, keeping the block aligned for any fundamental type.
struct alignas(std::max_align_t) BlockHeader {
  CountingHeap* heap;
  std::size_t size;
};

const BlockHeader* HeaderOf(const void* block) {
  return static_cast<const BlockHeader*>(block) - 1;
}

}  // namespace

MemoryManager* MemoryManager::GetManager(const void* object) {
  return object == nullptr ? nullptr : HeaderOf(object)->heap;
}

MemoryManager* HeapManager::GetDynamicHeap() {
  return &g_dynamic_heap;
}
MemoryManager* HeapManager::GetTransientHeap() {
  return &g_transient_heap;
}
MemoryManager* HeapManager::GetStaticHeap() {
  return &g_static_heap;
}

MemoryManager* GetDefaultHeap() {
  return &g_default_heap;
}

HeapStatistics GetHeapStatistics(const MemoryManager* heap) {
  return (heap == nullptr ? g_default_heap : *static_cast<const CountingHeap*>(heap)).Statistics();
}

void* doNew(std::size_t size, MemoryManager* heap) {
  if (size > static_cast<std::size_t>(-1) - sizeof(BlockHeader)) {
    throw std::bad_alloc();
  }
  void* raw = std::malloc(sizeof(BlockHeader) + size);
  if (raw == nullptr) {
    throw std::bad_alloc();
  }
  CountingHeap* owner = heap == nullptr ? &g_default_heap : static_cast<CountingHeap*>(heap);
  BlockHeader* header = new (raw) BlockHeader{owner, size};
  owner->Add(size);
  return header + 1;
}

void doDelete(void* block) {
  if (block == nullptr) {
    return;
  }
  BlockHeader* header = static_cast<BlockHeader*>(block) - 1;
  header->heap->Remove(header->size);
  std::free(header);
}

}  // namespace nimbara
