// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "util/geometry3d/mesh/vector.h"
#include "vortan/diorama/binary_coder.h"

/// What the shape formats have in common: a pool of vectors is quantised to integers, of which each
/// component is stored as its distance from the smallest one, in as few bits as the range of that
/// component takes.
namespace vortan::quantized_pool {

/// The widest component that can be stored.
constexpr int kMaxWidth = 30;

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

/// Writes the distances of all entries from `range.min`. No width is above `kMaxWidth`.
template <typename Vector, typename At>
void Write(const At& at, std::size_t count, Scalar<Vector> factor,
           const Range<VectorTraits<Vector>::kSize>& range, BinaryEncoder* encoder) {
  std::size_t entry_bits = 0;
  for (std::size_t k = 0; k < range.min.size(); ++k) {
    entry_bits += static_cast<std::size_t>(range.width(k));
  }
  constexpr std::size_t kMost = std::numeric_limits<int>::max();
  encoder->Reserve(static_cast<int>(std::min(entry_bits * count, kMost)));
  for (std::size_t i = 0; i < count; ++i) {
    const auto q = Quantize(at(i), factor);
    for (std::size_t k = 0; k < q.size(); ++k) {
      encoder->WriteBits(static_cast<int>(Difference(q[k], range.min[k])), range.width(k));
    }
  }
}

/// What a stream says of the components of a pool.
template <std::size_t kSize>
struct Packing {
  std::array<std::int32_t, kSize> min;
  std::array<int, kSize> widths;
};

/// Reads all entries of `*values`: each component is the sum of its smallest value and the distance
/// read, modulo 2^32, divided by `factor`.
template <typename Vector>
void Read(const Packing<VectorTraits<Vector>::kSize>& packing, Scalar<Vector> factor,
          std::vector<Vector>* values, BinaryDecoder* decoder) {
  const auto component = [&](std::size_t k) {
    const std::uint32_t sum =
        static_cast<std::uint32_t>(packing.min[k]) + decoder->ReadBits(packing.widths[k]);
    return static_cast<Scalar<Vector>>(static_cast<std::int32_t>(sum)) / factor;
  };
  for (Vector& value : *values) {
    value.x = component(0);
    value.y = component(1);
    if constexpr (VectorTraits<Vector>::kSize == 3) {
      value.z = component(2);
    }
  }
}

}  // namespace vortan::quantized_pool
