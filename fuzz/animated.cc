// SPDX-License-Identifier: Apache-2.0
// Bytes that claim to be an animated shape stream. What decodes can be encoded, and the stream that
// comes of it decodes into one that encodes to the same bytes.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <string>

#include "util/geometry3d/mesh/shape.h"
#include "vortan/diorama/animated_shape_coder.h"

namespace {

constexpr std::size_t kBudget = std::size_t{1} << 15;

void Require(bool condition) {
  if (!condition) {
    std::abort();
  }
}

bool Decode(const std::string& stream, geometry3d::AnimationSet* set) {
  geometry3d::Shape shape;
  try {
    return vortan::AnimatedShapeDecoder::DecodeFromBuffer(stream, &shape, set, kBudget);
  } catch (const std::bad_alloc&) {
    return false;
  }
}

std::string Encode(const geometry3d::AnimationSet& set) {
  std::string stream;
  Require(vortan::AnimatedShapeEncoder::EncodeToBuffer(geometry3d::Shape(), set, 3, &stream));
  return stream;
}

// Numbers outside -2^30 to 2^30 - 1 are not told of and do not come back.
bool ComesBack(const geometry3d::AnimationSet& set) {
  const auto is_small = [](int number) { return number >= -(1 << 30) && number < (1 << 30); };
  for (const auto* const transform : set.transforms()) {
    if (!is_small(transform->id())) {
      return false;
    }
  }
  for (const auto* const animation : set.animations()) {
    for (const auto* const channel : animation->channels()) {
      if (!is_small(channel->target())) {
        return false;
      }
    }
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  geometry3d::AnimationSet set;
  if (!Decode(std::string(reinterpret_cast<const char*>(data), size), &set) || !ComesBack(set)) {
    return 0;
  }
  const std::string stream = Encode(set);
  geometry3d::AnimationSet again;
  Require(Decode(stream, &again));
  Require(Encode(again) == stream);
  return 0;
}
