// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "host/memory.h"

namespace nimbara {
namespace spatial {

/// A hash table from the cells of a grid to something that stands there. Open addressing in one
/// block, since a look-up is to cost one cache miss, not three.
///
/// Has no lock: its owner lets one thread in at a time (concurrent `Find` alone is safe). Does not
/// own the items.
template <typename Item>
class CellTable {
 public:
  /// An empty table, which needs no memory before its first cell. Null is the default heap.
  explicit CellTable(MemoryManager* heap) : slots_(heap) {}

  /// Any 64 bits name a cell. An item that is known for it already is replaced. `item` must not be
  /// null.
  void Set(std::uint64_t cell, Item* item) {
    if (2 * (used_ + 1) > slots_.size()) {
      Grow();
    }
    Slot& slot = slots_[SlotOf(cell)];
    used_ += slot.item == nullptr ? 1 : 0;
    slot = {cell, item};
  }

  /// Null for a cell that was never set.
  Item* Find(std::uint64_t cell) const {
    return slots_.empty() ? nullptr : slots_[SlotOf(cell)].item;
  }

  void Clear() {
    slots_.clear();
    used_ = 0;
  }

 private:
  struct Slot {
    std::uint64_t cell = 0;
    Item* item = nullptr;  ///< Null where nothing was set.
  };

  // Where `cell` stands, or else the slot into which it goes. One is free: half of them are.
  std::size_t SlotOf(std::uint64_t cell) const {
    constexpr std::uint64_t kGoldenRatio = 0x9E3779B97F4A7C15;
    std::size_t at = static_cast<std::size_t>(cell * kGoldenRatio >> 32) & (slots_.size() - 1);
    while (slots_[at].item != nullptr && slots_[at].cell != cell) {
      at = (at + 1) & (slots_.size() - 1);
    }
    return at;
  }

  void Grow() {
    constexpr std::size_t kFirstSlots = 16;
    mmvector<Slot> before(slots_.empty() ? kFirstSlots : 2 * slots_.size(), Slot(),
                          slots_.get_allocator());
    before.swap(slots_);
    for (const Slot& slot : before) {
      if (slot.item != nullptr) {
        slots_[SlotOf(slot.cell)] = slot;
      }
    }
  }

  mmvector<Slot> slots_;  // A power of two of them.
  std::size_t used_ = 0;
};

}  // namespace spatial
}  // namespace nimbara
