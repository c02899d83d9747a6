// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace test_support {

/// A bit stream as a list of bits, one at a time.
class BitWriterTwin {
 public:
  void PutBits(std::uint32_t v, int n) {
    for (int i = 0; i < n; ++i) {
      bits_.push_back((v >> i) % 2 == 1);
    }
  }
  void PutUnary(int n) {
    bits_.insert(bits_.end(), static_cast<std::size_t>(n - 1), true);
    bits_.push_back(false);
  }
  void PutGamma(std::uint32_t v) {
    int n = 0;
    while (n < 31 && (v >> (n + 1)) != 0) {
      ++n;
    }
    PutUnary(n + 1);
    PutBits(v, n);
  }
  std::size_t size() const { return bits_.size(); }
  /// Padded with zero bits to whole bytes.
  std::string Bytes() const {
    std::string bytes((bits_.size() + 7) / 8, '\0');
    for (std::size_t i = 0; i < bits_.size(); ++i) {
      if (bits_[i]) {
        bytes[i / 8] = static_cast<char>(static_cast<unsigned char>(bytes[i / 8]) | 1u << i % 8);
      }
    }
    return bytes;
  }

 private:
  std::vector<bool> bits_;
};

/// A bit source as a queue of bits in hand, with the loads of eight bytes that decide what a failed
/// read leaves.
class BitReaderTwin {
 public:
  explicit BitReaderTwin(std::string bytes) : bytes_(std::move(bytes)) {}

  bool GetBits(int n, std::uint32_t* v) {
    const auto wanted = static_cast<std::size_t>(n);
    std::deque<bool> taken;
    if (wanted <= hand_.size()) {
      Take(wanted, &taken);
    } else {
      const std::size_t rest = wanted - hand_.size();
      taken.swap(hand_);
      Load();
      if (rest > hand_.size()) {
        return false;
      }
      Take(rest, &taken);
    }
    *v = 0;
    for (std::size_t i = 0; i < std::min<std::size_t>(taken.size(), 32); ++i) {
      *v |= static_cast<std::uint32_t>(taken[i]) << i;
    }
    return true;
  }

  bool GetUnary(std::uint32_t* n) {
    for (std::uint32_t count = 1;; ++count) {
      if (hand_.empty()) {
        Load();
      }
      if (hand_.empty()) {
        return false;
      }
      const bool one = hand_.front();
      hand_.pop_front();
      if (!one) {
        *n = count;
        return true;
      }
    }
  }

  bool GetGamma(std::uint32_t* v) {
    std::uint32_t length = 0;
    std::uint32_t low = 0;
    if (!GetUnary(&length) || length > 32 || !GetBits(static_cast<int>(length) - 1, &low)) {
      return false;
    }
    *v = static_cast<std::uint32_t>((std::uint64_t{1} << (length - 1)) + low);
    return true;
  }

  std::size_t bytes_loaded() const { return loaded_; }
  std::size_t bits_in_hand() const { return hand_.size(); }
  bool at_end() const { return loaded_ == bytes_.size() && hand_.empty(); }

 private:
  void Load() {
    hand_.clear();
    for (int i = 0; i < 8 && loaded_ < bytes_.size(); ++i, ++loaded_) {
      for (int bit = 0; bit < 8; ++bit) {
        hand_.push_back((static_cast<unsigned char>(bytes_[loaded_]) >> bit) % 2 == 1);
      }
    }
  }
  void Take(std::size_t count, std::deque<bool>* taken) {
    for (; count > 0; --count) {
      taken->push_back(hand_.front());
      hand_.pop_front();
    }
  }

  std::string bytes_;
  std::size_t loaded_ = 0;
  std::deque<bool> hand_;
};

/// A copy in a block of exactly its size, so that a sanitizer sees the first byte behind it.
class ExactBytes {
 public:
  explicit ExactBytes(const std::string& bytes)
      : size_(bytes.size()), bytes_(new char[bytes.size()]) {
    bytes.copy(bytes_.get(), size_);
  }
  const char* data() const { return bytes_.get(); }
  const char* end() const { return bytes_.get() + size_; }
  std::size_t size() const { return size_; }

 private:
  std::size_t size_;
  std::unique_ptr<char[]> bytes_;
};

}  // namespace test_support
