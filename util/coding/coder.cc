// SPDX-License-Identifier: Apache-2.0
#include "util/coding/coder.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>
#include <new>

#include "base/logging.h"

char Encoder::kEmptyBuffer = 0;

Encoder::Encoder(char* buffer, std::size_t size)
    : start_(buffer), cursor_(buffer), limit_(buffer + size), underlying_buffer_(nullptr) {}

Encoder::~Encoder() {
  if (underlying_buffer_ != &kEmptyBuffer) {
    delete[] underlying_buffer_;
  }
}

void Encoder::EnsureSlowPath(std::size_t N) {
  PELORIN_CHECK(ensure_allowed());
  const std::size_t used = length();
  constexpr std::size_t kMost = std::numeric_limits<std::ptrdiff_t>::max();
  if (N > kMost - used) {
    throw std::bad_alloc();
  }
  const std::size_t capacity = std::max(used + N, 2 * used);
  char* const block = new char[capacity];
  if (used != 0) {
    std::memcpy(block, start_, used);
  }
  // A user may count in bits that are not stored yet; it then reads zeros, not old memory.
  std::memset(block + used, 0, capacity - used);
  if (underlying_buffer_ != &kEmptyBuffer) {
    delete[] underlying_buffer_;
  }
  underlying_buffer_ = block;
  start_ = block;
  cursor_ = block + used;
  limit_ = block + capacity;
  PELORIN_CHECK(avail() >= N);
}

void Encoder::RemoveLast(std::size_t N) {
  PELORIN_CHECK(length() >= N);
  cursor_ -= std::min(N, length());
}

void Encoder::Resize(std::size_t N) {
  PELORIN_CHECK(length() >= N);
  cursor_ = start_ + std::min(N, length());
}

bool Decoder::GetVarint32NearEnd(std::uint32_t* v) {
  std::uint32_t result = 0;
  const char* p = cursor_;
  for (int shift = 0; p != limit_ && shift <= 28; shift += 7) {
    const std::uint32_t byte = static_cast<unsigned char>(*p++);
    if (shift == 28 && byte > 15) {
      return false;
    }
    result |= (byte & 127) << shift;
    if (byte < 128) {
      *v = result;
      cursor_ = p;
      return true;
    }
  }
  return false;
}

// Fewer than ten bytes hold fewer than 64 bits, so no shift gets too far.
bool Decoder::GetVarint64NearEnd(std::uint64_t* v) {
  std::uint64_t result = 0;
  for (int shift = 0; cursor_ != limit_; shift += 7) {
    const std::uint64_t byte = static_cast<unsigned char>(*cursor_++);
    result |= (byte & 127) << shift;
    if (byte < 128) {
      *v = result;
      return true;
    }
  }
  return false;
}
