// SPDX-License-Identifier: Apache-2.0
// Bytes that claim to be varints, read by every parser, forwards and backwards: none may look
// behind its bytes, and where two of them both take a varint they must read the same.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "util/coding/coder.h"

namespace {

void Require(bool condition) {
  if (!condition) {
    std::abort();
  }
}

// What the decoder takes, the bounded parser takes too, to the same place.
void ReadAll64(const char* data, std::size_t size) {
  Decoder decoder(data, size);
  while (true) {
    const char* const p = data + decoder.pos();
    std::uint64_t limited = 0;
    const char* const end = Varint::Parse64WithLimit(p, data + size, &limited);
    std::uint64_t v = 0;
    const bool good = decoder.get_varint64(&v);
    Require(good == (end != nullptr));
    if (!good) {
      return;
    }
    Require(v == limited && data + decoder.pos() == end);
    std::uint64_t backward = 0;
    Require(Varint::Parse64BackwardSlow(end, p, &backward) == p && backward == v);
    std::uint32_t a = 0;
    std::uint32_t b = 0;
    Require(Varint::DecodeTwo32ValuesSlow(p, &a, &b) == end);
  }
}

// A number that is written as few bytes as can be comes back from its own bytes.
void ReadAll32(const char* data, std::size_t size) {
  Decoder decoder(data, size);
  std::uint32_t v = 0;
  while (decoder.get_varint32(&v)) {
    std::string bytes;
    Varint::Append32Slow(&bytes, v);
    Decoder again(bytes.data(), bytes.size());
    std::uint32_t w = ~v;
    Require(again.get_varint32(&w) && w == v && again.avail() == 0);
    Require(Encoder::varint32_length(v) == static_cast<int>(bytes.size()));
  }
}

void ReadBackwards(const char* data, std::size_t size) {
  const char* p = data + size;
  std::uint32_t v = 0;
  while (const char* const first = Varint::Parse32BackwardSlow(p, data, &v)) {
    Require(first < p && first >= data && p - first <= Varint::kMax32);
    p = first;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const char* const bytes = reinterpret_cast<const char*>(data);
  ReadAll64(bytes, size);
  ReadAll32(bytes, size);
  ReadBackwards(bytes, size);
  return 0;
}
