// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/util/coding/bit_twins.h"
#include "tests/vortan/diorama/shape_coder_twin.h"
#include "vortan/diorama/shape_coder.h"

namespace test_support {

// Compared by their bytes, so that a NaN equals itself and no zero equals the other.
template <typename T>
bool SameBytes(const std::vector<T>& a, const std::vector<T>& b) {
  return a.size() == b.size() &&
         (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0);
}

inline bool SameIndexSets(const geometry3d::IndexSet& a, const geometry3d::IndexSet& b) {
  return a.IsEqual(b) && a.point_indices() == b.point_indices() &&
         a.normal_indices() == b.normal_indices() && a.tex_coord_indices() == b.tex_coord_indices();
}

/// Whether two shapes are the same to the last bit.
inline bool SameShapes(const geometry3d::Shape& a, const geometry3d::Shape& b) {
  bool same = SameBytes(a.points(), b.points()) && SameBytes(a.normals(), b.normals()) &&
              SameBytes(a.tex_coords(), b.tex_coords()) &&
              a.materials().size() == b.materials().size() &&
              a.index_sets().size() == b.index_sets().size();
  for (std::size_t i = 0; same && i < a.materials().size(); ++i) {
    same = a.materials()[i]->IsEqual(*b.materials()[i]);
  }
  for (std::size_t i = 0; same && i < a.index_sets().size(); ++i) {
    same = SameIndexSets(*a.index_sets()[i], *b.index_sets()[i]);
  }
  return same;
}

/// How a decoding can end.
enum class Ending { kTrue, kFalse, kNoMemory, kNoLength };

template <typename Decode>
Ending EndingOf(const Decode& decode) {
  try {
    return decode() ? Ending::kTrue : Ending::kFalse;
  } catch (const std::bad_alloc&) {
    return Ending::kNoMemory;
  } catch (const std::length_error&) {
    return Ending::kNoLength;
  }
}

/// Decodes `stream`, which begins with a header of ours and something behind it, from a block of
/// exactly its size. Whether that ends as with the twin, with the same shape.
inline bool DecodesAsItsTwin(const std::string& stream, std::size_t budget_bytes) {
  const ExactBytes exact(stream);
  const std::unique_ptr<vortan::ShapeDecoder> decoder(
      vortan::ShapeDecoder::CreateDecoder(vortan::ShapeDecoder::GetCodecVersionFromBuffer(stream)));
  decoder->set_allocation_budget(budget_bytes);
  decoder->set_buffer(exact.data(), exact.size());
  geometry3d::Shape shape;
  const Ending ending = EndingOf([&] { return decoder->DecodeShape(&shape); });
  geometry3d::Shape expected;
  const Ending expected_ending =
      EndingOf([&] { return ShapeDecoderTwin(stream, budget_bytes).Decode(&expected); });
  return ending == expected_ending && SameShapes(shape, expected);
}

}  // namespace test_support
