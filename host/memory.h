// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <new>
#include <type_traits>
#include <vector>

#include "host/export.h"

namespace nimbara {

/// One heap of the host. Opaque: the library only passes the pointer on. Null stands for the host's
/// default heap wherever a `MemoryManager*` is accepted.
class PELORIN_HOST_EXPORT MemoryManager {
 public:
  /// The heap that `object` came from, or null for null. `object` must be the start of a block made
  /// by `doNew`, directly or through `MemoryObject`.
  static MemoryManager* GetManager(const void* object);

 protected:
  MemoryManager() = default;
  ~MemoryManager() = default;
  MemoryManager(const MemoryManager&) = delete;
  MemoryManager& operator=(const MemoryManager&) = delete;
};

/// The three process-wide heaps. They exist before the first static initialiser of the library and
/// after its last static destructor. Safe from any thread.
class PELORIN_HOST_EXPORT HeapManager {
 public:
  /// Long-lived records: panoramas, graph, maps.
  static MemoryManager* GetDynamicHeap();
  /// Short lists and request parameters, gone with the call or job that made them.
  static MemoryManager* GetTransientHeap();
  /// KML schema objects, which live as long as the process.
  static MemoryManager* GetStaticHeap();
};

/// A block of `size` bytes on `heap` (null: the default heap), aligned for any fundamental type.
/// Never null: throws `std::bad_alloc` as `operator new` does. Zero bytes give a unique block. Safe
/// from any thread. Give the block back with `doDelete`, and only with that.
PELORIN_HOST_EXPORT void* doNew(std::size_t size, MemoryManager* heap);

/// Returns a block to the heap that it came from. Null does nothing. Safe from any thread.
PELORIN_HOST_EXPORT void doDelete(void* block);

/// Base of the host's heap objects: gives a class placement on a heap,
/// `new (HeapManager::GetDynamicHeap()) Thing(...)`, and the matching release through plain
/// `delete`.
class PELORIN_HOST_EXPORT MemoryObject {
 public:
  static void* operator new(std::size_t size) { return doNew(size, nullptr); }
  static void* operator new(std::size_t size, MemoryManager* heap) { return doNew(size, heap); }
  static void operator delete(void* block) { doDelete(block); }
  /// Called only where a constructor throws after the placement form above.
  static void operator delete(void* block, MemoryManager*) { doDelete(block); }
};

/// A standard allocator over a heap. Two allocators are equal if they name the same heap; the heap
/// moves with the contents on swap and move assignment, so that no element changes its heap.
template <typename T>
class mmallocator {
 public:
  using value_type = T;
  using propagate_on_container_move_assignment = std::true_type;
  using propagate_on_container_swap = std::true_type;
  using is_always_equal = std::false_type;

  /// Allocates on `heap`; null is the default heap.
  mmallocator(MemoryManager* heap = nullptr) noexcept : heap_(heap) {}
  template <typename U>
  mmallocator(const mmallocator<U>& other) noexcept : heap_(other.heap()) {}

  T* allocate(std::size_t count) {
    if (count > static_cast<std::size_t>(-1) / sizeof(T)) {
      throw std::bad_alloc();
    }
    return static_cast<T*>(doNew(count * sizeof(T), heap_));
  }
  void deallocate(T* block, std::size_t) noexcept { doDelete(block); }

  MemoryManager* heap() const noexcept { return heap_; }

  friend bool operator==(const mmallocator& a, const mmallocator& b) { return a.heap_ == b.heap_; }
  friend bool operator!=(const mmallocator& a, const mmallocator& b) { return a.heap_ != b.heap_; }

 private:
  MemoryManager* heap_;
};

/// The vector over a heap: `mmvector<T> list(HeapManager::GetTransientHeap())`.
template <typename T>
using mmvector = std::vector<T, mmallocator<T>>;

}  // namespace nimbara
