// SPDX-License-Identifier: Apache-2.0
// Shape streams of version 3, from behind the header. The decoder must end as its field-by-field
// twin, with the same shape; and a shape that can be encoded again must come back with the same
// indices.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "tests/vortan/diorama/shape_twin_match.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kBudget = 1 << 15;
  if (size < 1) {
    return 0;
  }
  std::string stream("SE\x03\0", 4);
  stream.append(reinterpret_cast<const char*>(data), size);
  if (!test_support::DecodesAsItsTwin(stream, kBudget)) {
    std::abort();
  }
  geometry3d::Shape shape;
  const test_support::Ending ending = test_support::EndingOf(
      [&] { return vortan::ShapeDecoder::DecodeFromBuffer(stream, &shape, kBudget); });
  std::string again;
  if (ending != test_support::Ending::kTrue ||
      !vortan::ShapeEncoder::EncodeToBuffer(shape, &again)) {
    return 0;
  }
  // Indices of a decoded shape are in the order of first use already.
  geometry3d::Shape shape_again;
  if (!vortan::ShapeDecoder::DecodeFromBuffer(again, &shape_again)) {
    std::abort();
  }
  for (std::size_t i = 0; i < shape.index_sets().size(); ++i) {
    if (!test_support::SameIndexSets(*shape.index_sets()[i], *shape_again.index_sets()[i])) {
      std::abort();
    }
  }
  return 0;
}
