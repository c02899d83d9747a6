// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstddef>
#include <new>
#include <string>

#include "util/coding/bit_run.h"

namespace {

thread_local bool memory_is_out = false;

}  // namespace

// The form of `new` that encoders take their blocks from, for this whole program, and its
// counterparts.
void* operator new[](std::size_t size) {
  if (memory_is_out) {
    throw std::bad_alloc();
  }
  return ::operator new(size);
}
void operator delete[](void* block) noexcept {
  ::operator delete(block);
}
void operator delete[](void* block, std::size_t /*size*/) noexcept {
  ::operator delete(block);
}

namespace {

TEST(BitRunWriter, KeepsTheFieldsBeforeARoomThatCannotBeHad) {
  BitEncoder encoder;
  {
    BitRunWriter run(&encoder);
    run.MakeRoom(64);
    run.Put(0x0504030201, 40);
    memory_is_out = true;
    EXPECT_THROW(run.MakeRoom(100000), std::bad_alloc);
    memory_is_out = false;
  }
  EXPECT_EQ(encoder.encoder().length(), 4u);
  EXPECT_EQ(encoder.num_bits(), 8);
  encoder.Flush();
  const Encoder& bytes = encoder.encoder();
  EXPECT_EQ(std::string(bytes.base(), bytes.length()), "\x01\x02\x03\x04\x05");
}

}  // namespace
