// SPDX-License-Identifier: Apache-2.0
#include "host/reference/xml_arena.h"

#include <cstdint>
#include <new>

#include "host/memory.h"

namespace nimbara {

void* XmlArena::AllocateAligned(std::size_t size) {
  const std::size_t padding =
      (alignof(void*) - reinterpret_cast<std::uintptr_t>(next_)) % alignof(void*);
  if (next_ == nullptr || static_cast<std::size_t>(end_ - next_) < padding + size) {
    return NewBlock(size);
  }
  char* piece = next_ + padding;
  next_ = piece + size;
  return piece;
}

char* XmlArena::AllocateBytes(std::size_t size) {
  if (next_ == nullptr || static_cast<std::size_t>(end_ - next_) < size) {
    return NewBlock(size);
  }
  char* piece = next_;
  next_ += size;
  return piece;
}

// A piece that fills much of a block gets one of its own, so that the free part of the present
// block is not thrown away for it.
char* XmlArena::NewBlock(std::size_t size) {
  const bool alone = size > block_size_ / 4;
  const std::size_t payload = alone ? size : block_size_;
  void* raw = doNew(sizeof(Block) + payload, HeapManager::GetTransientHeap());
  last_ = new (raw) Block{last_};
  char* bytes = static_cast<char*>(raw) + sizeof(Block);
  if (!alone) {
    next_ = bytes + size;
    end_ = bytes + payload;
  }
  return bytes;
}

void XmlArena::Clear() {
  while (last_ != nullptr) {
    Block* previous = last_->previous;
    doDelete(last_);
    last_ = previous;
  }
  next_ = nullptr;
  end_ = nullptr;
}

}  // namespace nimbara
