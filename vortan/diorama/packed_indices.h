// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "util/coding/bit_run.h"
#include "vortan/diorama/binary_coder.h"
#include "vortan/diorama/quantized_pool.h"

/// Indices in fields of one width, each as its distance from the smallest one.
namespace vortan::packed_indices {

/// Writes the distances of `indices` from `min`, none of which takes more than `bits` bits.
inline void Write(const std::vector<int>& indices, int min, int bits, BinaryEncoder* encoder) {
  BitRunWriter run(encoder->mutable_bits());
  run.MakeRoom(static_cast<std::size_t>(bits) * indices.size());
  for (const int index : indices) {
    run.Put(quantized_pool::Difference(index, min), bits);
  }
}

/// Reads all of `*indices`, each the sum of `min` and a distance of `bits` bits, 0 to 31, modulo
/// 2^32.
inline void Read(int min, int bits, std::vector<int>* indices, BinaryDecoder* decoder) {
  const auto base = static_cast<std::uint32_t>(min);
  std::size_t done = 0;
  if (decoder->mutable_bits() != nullptr) {
    BitRunReader run(decoder->mutable_bits());
    const std::uint32_t mask = (std::uint32_t{1} << bits) - 1;
    const std::size_t end =
        std::min(indices->size(), run.fields_left(static_cast<std::size_t>(bits)));
    // Narrow ones by fours, from one load.
    if (bits <= BitRunReader::kPeekBits / 4) {
      for (; end - done >= 4; done += 4) {
        std::uint64_t word = run.Peek();
        for (std::size_t i = 0; i < 4; ++i, word >>= bits) {
          (*indices)[done + i] = static_cast<int>(base + (static_cast<std::uint32_t>(word) & mask));
        }
        run.Consume(4 * bits);
      }
    }
    for (; done < end; ++done) {
      (*indices)[done] = static_cast<int>(base + (static_cast<std::uint32_t>(run.Peek()) & mask));
      run.Consume(bits);
    }
  }
  // The last bytes of the stream, and what is missing behind them.
  for (; done < indices->size(); ++done) {
    (*indices)[done] = static_cast<int>(base + decoder->ReadUInt(bits));
  }
}

}  // namespace vortan::packed_indices
