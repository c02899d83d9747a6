// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <limits>
#include <new>

namespace vortan {

/// How many bytes a decoder may still allocate for what it decodes; by default any number. Counts
/// in a stream are taken as they are read, so forty damaged bytes can promise a hundred gigabytes;
/// whoever reads streams of strangers sets a limit.
///
/// What is charged is the size of the decoded elements (and of the history that a format keeps of
/// them), before they are allocated. Spare room of the containers is not counted. What was charged
/// is never given back: one decoder reads one stream.
class AllocationBudget {
 public:
  /// The limit that is none.
  static constexpr std::size_t kUnlimited = std::numeric_limits<std::size_t>::max();

  /// From now on `bytes` may be allocated.
  void set_bytes(std::size_t bytes) { left_ = bytes; }
  /// Bytes that are left; stays `kUnlimited` where there is no limit.
  std::size_t bytes() const { return left_; }

  /// Takes room for `count` elements of `size` bytes, above 0. Throws `std::bad_alloc`, as the
  /// allocator would, when there is not enough; the budget is then as before.
  void Charge(std::size_t count, std::size_t size) {
    if (left_ == kUnlimited) {
      return;
    }
    if (count > left_ / size) {
      throw std::bad_alloc();
    }
    left_ -= count * size;
  }

 private:
  std::size_t left_ = kUnlimited;
};

}  // namespace vortan
