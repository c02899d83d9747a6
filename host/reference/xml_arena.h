// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace nimbara {

/// Storage for the parts of one parsed document: blocks of the transient heap from which pieces are
/// cut one behind the other, and which are given back together. Not for two threads at a time.
class XmlArena {
 public:
  /// `block_size` is the size in bytes of an ordinary block.
  explicit XmlArena(std::size_t block_size) : block_size_(block_size) {}
  XmlArena(const XmlArena&) = delete;
  XmlArena& operator=(const XmlArena&) = delete;
  ~XmlArena() { Clear(); }

  /// `size` bytes, aligned for a pointer, or for nothing. Throws `std::bad_alloc`.
  void* AllocateAligned(std::size_t size);
  char* AllocateBytes(std::size_t size);

  /// Gives back every block; all pieces are gone.
  void Clear();

 private:
  struct Block {
    Block* previous;
  };

  char* NewBlock(std::size_t size);

  const std::size_t block_size_;
  Block* last_ = nullptr;  // Owned, and through it all others.
  char* next_ = nullptr;   // The free part of the last block.
  char* end_ = nullptr;
};

}  // namespace nimbara
