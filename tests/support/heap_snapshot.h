// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "host/memory.h"
#include "host/reference/heap_statistics.h"

namespace nimbara {
namespace test_support {

/// What all heaps held at one moment, to show that a test leaves nothing behind. Meaningful only
/// while no other thread allocates.
class HeapSnapshot {
 public:
  friend bool operator==(const HeapSnapshot& a, const HeapSnapshot& b) {
    return a.dynamic_ == b.dynamic_ && a.transient_ == b.transient_ && a.static_ == b.static_ &&
           a.default_ == b.default_;
  }

  std::int64_t blocks() const {
    return dynamic_.blocks + transient_.blocks + static_.blocks + default_.blocks;
  }

 private:
  HeapStatistics dynamic_ = GetHeapStatistics(HeapManager::GetDynamicHeap());
  HeapStatistics transient_ = GetHeapStatistics(HeapManager::GetTransientHeap());
  HeapStatistics static_ = GetHeapStatistics(HeapManager::GetStaticHeap());
  HeapStatistics default_ = GetHeapStatistics(GetDefaultHeap());
};

}  // namespace test_support
}  // namespace nimbara
