// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <vector>

#include "util/coding/bit_run.h"
#include "util/geometry3d/mesh/vector.h"
#include "vortan/diorama/binary_coder.h"

/// What shapes and buildings have in common: a pool of vectors is quantised to integers, of which
/// each component is stored as its distance from the smallest one, in as few bits as the range of
/// that component takes.
namespace vortan::quantized_pool {

/// The widest component that the shape formats store.
constexpr int kMaxShapeWidth = 30;

/// How many numbers a vector has, and of which type.
template <typename Vector>
struct VectorTraits;
template <typename T>
struct VectorTraits<geometry3d::Vector2<T>> {
  using Scalar = T;
  static constexpr std::size_t kSize = 2;
};
template <typename T>
struct VectorTraits<geometry3d::Vector3<T>> {
  using Scalar = T;
  static constexpr std::size_t kSize = 3;
};

template <typename Vector>
using Scalar = typename VectorTraits<Vector>::Scalar;
template <typename Vector>
using Integers = std::array<std::int32_t, VectorTraits<Vector>::kSize>;

template <typename T>
Integers<geometry3d::Vector2<T>> Quantize(const geometry3d::Vector2<T>& value, T factor) {
  const auto q = (value * factor).IRound();
  return {q.x, q.y};
}
template <typename T>
Integers<geometry3d::Vector3<T>> Quantize(const geometry3d::Vector3<T>& value, T factor) {
  const auto q = (value * factor).IRound();
  return {q.x, q.y, q.z};
}

inline std::uint32_t Difference(std::int32_t value, std::int32_t min) {
  return static_cast<std::uint32_t>(value) - static_cast<std::uint32_t>(min);
}

/// The component-wise bounds of quantised values, of which there is at least one.
template <std::size_t kSize>
struct Range {
  std::array<std::int32_t, kSize> min;
  std::array<std::int32_t, kSize> max;

  /// Bits that a component takes, 1 to 32; 1 where all values are the same.
  int width(std::size_t i) const {
    return BinaryEncoder::BitsRequired(static_cast<int>(Difference(max[i], min[i])));
  }
  std::array<int, kSize> widths() const {
    std::array<int, kSize> result;
    for (std::size_t i = 0; i < kSize; ++i) {
      result[i] = width(i);
    }
    return result;
  }
};

/// `at(i)` is the entry of the pool that comes `i`-th; `count` is 1 or more.
template <typename Vector, typename At>
Range<VectorTraits<Vector>::kSize> Measure(const At& at, std::size_t count, Scalar<Vector> factor) {
  const auto first = Quantize(at(0), factor);
  Range<VectorTraits<Vector>::kSize> range{first, first};
  for (std::size_t i = 1; i < count; ++i) {
    const auto q = Quantize(at(i), factor);
    for (std::size_t k = 0; k < q.size(); ++k) {
      range.min[k] = std::min(range.min[k], q[k]);
      range.max[k] = std::max(range.max[k], q[k]);
    }
  }
  return range;
}

template <std::size_t kSize>
std::size_t Sum(const std::array<int, kSize>& widths) {
  return static_cast<std::size_t>(std::accumulate(widths.begin(), widths.end(), 0));
}

/// Writes the distances of all entries from `range.min`.
template <typename Vector, typename At>
void Write(const At& at, std::size_t count, Scalar<Vector> factor,
           const Range<VectorTraits<Vector>::kSize>& range, BinaryEncoder* encoder) {
  constexpr std::size_t kSize = VectorTraits<Vector>::kSize;
  const std::array<int, kSize> widths = range.widths();
  const std::size_t entry_bits = Sum(widths);
  BitRunWriter run(encoder->mutable_bits());
  run.MakeRoom(entry_bits * count);
  const bool in_one_field = entry_bits <= BitRunWriter::kMaxBits;
  for (std::size_t i = 0; i < count; ++i) {
    const auto q = Quantize(at(i), factor);
    if (in_one_field) {
      std::uint64_t entry = 0;
      for (std::size_t k = kSize; k-- > 0;) {
        entry = entry << widths[k] | Difference(q[k], range.min[k]);
      }
      run.Put(entry, static_cast<int>(entry_bits));
    } else {
      for (std::size_t k = 0; k < kSize; ++k) {
        run.Put(Difference(q[k], range.min[k]), widths[k]);
      }
    }
  }
}

/// What a stream says of the components of a pool.
template <std::size_t kSize>
struct Packing {
  std::array<std::int32_t, kSize> min;
  /// 0 to 31.
  std::array<int, kSize> widths;
};

/// Reads one entry, whose distances `next_bits(width)` gives one by one: each component is the sum
/// of its smallest value and the distance, modulo 2^32, made a number by `to_scalar`.
template <typename Vector, typename ToScalar, typename NextBits>
void ReadEntry(const Packing<VectorTraits<Vector>::kSize>& packing, const ToScalar& to_scalar,
               const NextBits& next_bits, Vector* entry) {
  const auto component = [&](std::size_t k) {
    const std::uint32_t distance = next_bits(packing.widths[k]);
    return to_scalar(
        static_cast<std::int32_t>(static_cast<std::uint32_t>(packing.min[k]) + distance));
  };
  entry->x = component(0);
  entry->y = component(1);
  if constexpr (VectorTraits<Vector>::kSize == 3) {
    entry->z = component(2);
  }
}

inline std::uint32_t LowBits(std::uint64_t word, int width) {
  return static_cast<std::uint32_t>(word & ((std::uint64_t{1} << width) - 1));
}

/// Reads the first entries of `*values`, as many as can be had in one run; how many.
template <typename Vector, typename ToScalar>
std::size_t ReadRun(const Packing<VectorTraits<Vector>::kSize>& packing, const ToScalar& to_scalar,
                    std::vector<Vector>* values, BitDecoder* bits) {
  BitRunReader run(bits);
  const std::size_t entry_bits = Sum(packing.widths);
  const std::size_t count = std::min(values->size(), run.fields_left(entry_bits));
  if (entry_bits <= BitRunReader::kPeekBits) {
    for (std::size_t i = 0; i < count; ++i) {
      std::uint64_t word = run.Peek();
      const auto next_bits = [&](int width) {
        const std::uint32_t distance = LowBits(word, width);
        word >>= width;
        return distance;
      };
      ReadEntry(packing, to_scalar, next_bits, &(*values)[i]);
      run.Consume(static_cast<int>(entry_bits));
    }
    return count;
  }
  const auto next_bits = [&](int width) {
    const std::uint32_t distance = LowBits(run.Peek(), width);
    run.Consume(width);
    return distance;
  };
  for (std::size_t i = 0; i < count; ++i) {
    ReadEntry(packing, to_scalar, next_bits, &(*values)[i]);
  }
  return count;
}

/// Reads all entries of `*values`.
template <typename Vector, typename ToScalar>
void Read(const Packing<VectorTraits<Vector>::kSize>& packing, const ToScalar& to_scalar,
          std::vector<Vector>* values, BinaryDecoder* decoder) {
  std::size_t done = 0;
  if (decoder->mutable_bits() != nullptr) {
    done = ReadRun(packing, to_scalar, values, decoder->mutable_bits());
  }
  // The last bytes of the stream, and what is missing behind them.
  const auto next_bits = [decoder](int width) { return decoder->ReadBits(width); };
  for (; done < values->size(); ++done) {
    ReadEntry(packing, to_scalar, next_bits, &(*values)[done]);
  }
}

}  // namespace vortan::quantized_pool
