// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "host/export.h"
#include "host/memory.h"

namespace nimbara {

/// What a heap holds at one moment.
struct HeapStatistics {
  std::int64_t blocks = 0;  ///< Blocks handed out and not yet returned.
  std::int64_t bytes = 0;   ///< Their sizes as asked for, without the heap's own overhead.

  friend bool operator==(const HeapStatistics& a, const HeapStatistics& b) {
    return a.blocks == b.blocks && a.bytes == b.bytes;
  }
};

/// The heap that a null `MemoryManager*` stands for.
PELORIN_HOST_EXPORT MemoryManager* GetDefaultHeap();

/// The statistics of `heap`; of null, those of the default heap. Both numbers are exact while no
/// other thread allocates or frees; otherwise each is a value that the counter had. Safe from any
/// thread.
PELORIN_HOST_EXPORT HeapStatistics GetHeapStatistics(const MemoryManager* heap);

}  // namespace nimbara
