// SPDX-License-Identifier: Apache-2.0
#include "util/coding/bitcoding.h"

#include <algorithm>
#include <limits>

#include "base/logging.h"

namespace {

constexpr std::array<std::uint64_t, 65> MakeMasks() {
  std::array<std::uint64_t, 65> masks{};
  for (unsigned i = 1; i <= 64; ++i) {
    masks[i] = masks[i - 1] * 2 + 1;
  }
  return masks;
}

constexpr std::array<unsigned char, 256> MakeLogarithms() {
  std::array<unsigned char, 256> logarithms{};
  for (unsigned i = 2; i < 256; ++i) {
    logarithms[i] = static_cast<unsigned char>(logarithms[i / 2] + 1);
  }
  return logarithms;
}

constexpr std::array<unsigned char, 256> MakeUnaryLengths() {
  std::array<unsigned char, 256> lengths{};
  for (unsigned byte = 0; byte < 256; ++byte) {
    unsigned char length = 1;
    for (unsigned rest = byte; rest % 2 == 1; rest /= 2) {
      ++length;
    }
    lengths[byte] = length;
  }
  return lengths;
}

struct Initializer {
  Initializer() { BitEncoder::Initialize(); }
};

// Ahead of statics of default priority, whatever their file, since those may write gamma codes.
__attribute__((init_priority(101))) const Initializer initializer;

}  // namespace

constexpr std::array<std::uint64_t, 65> BitEncoder::mask_ = MakeMasks();
constexpr std::array<unsigned char, 256> BitEncoder::log2_table_ = MakeLogarithms();
std::array<std::uint32_t, 256> BitEncoder::gamma_;
constexpr std::array<unsigned char, 256> BitDecoder::unary_decode_table = MakeUnaryLengths();

void BitEncoder::Initialize() {
  constexpr std::uint32_t kEnd = 256;
  for (std::uint32_t i = 1; i < kEnd; ++i) {
    BitEncoder scratch;
    scratch.PutLongGamma(i);
    const std::uint32_t value = scratch.bits_;
    PELORIN_CHECK((value & 0xffffff) == value);
    gamma_[i] = (static_cast<std::uint32_t>(scratch.num_bits_) << 24) | value;
  }

  char buffer[2048] = {};
  BitEncoder all(buffer, sizeof(buffer));
  for (std::uint32_t i = 1; i < kEnd; ++i) {
    all.PutGamma(i);
  }
  all.Flush();
  BitDecoder bd(buffer, all.encoder_.length());
  for (std::uint32_t i = 1; i < kEnd; ++i) {
    std::uint32_t v = 0;
    PELORIN_CHECK(bd.GetGamma(&v));
    PELORIN_CHECK(v == i);
  }
}

std::uint32_t BitEncoder::ReverseBits(int n, std::uint32_t v) {
  std::uint32_t reversed = 0;
  for (int i = 0; i < std::min(n, 32); ++i) {
    reversed = (reversed << 1) | ((v >> i) & 1);
  }
  return reversed;
}

char* BitEncoder::UnparseLSBFirst(char* dest, std::uint32_t v, int n) {
  for (int i = 0; i < n; ++i) {
    dest[i] = i < 32 && ((v >> i) & 1) != 0 ? '1' : '0';
  }
  dest[n] = '\0';
  return dest;
}

void BitEncoder::PutLongGamma(std::uint32_t v) {
  const int n = Bits::Log2FloorNonZero(v);
  PutUnary(n + 1);
  PutBits(v - (std::uint32_t{1} << n), n);
}

void BitEncoder::Flush() {
  const int rounded = (num_bits_ + 7) / 8 * 8;
  if (rounded == 32) {
    encoder_.Put32(bits_);
  } else {
    for (int stored = 0; stored < rounded; stored += 8) {
      encoder_.Put8(static_cast<unsigned char>(bits_ >> stored));
    }
  }
  bits_ = 0;
  num_bits_ = 0;
}

void BitDecoder::Refill() {
  const auto left = static_cast<std::size_t>(limit_ - cursor_);
  if (left >= sizeof(bits_)) {
    bits_ = LoadLittleEndian<std::uint64_t>(cursor_);
    num_bits_ = 64;
    cursor_ += sizeof(bits_);
    return;
  }
  bits_ = 0;
  num_bits_ = 0;
  for (; cursor_ != limit_; ++cursor_, num_bits_ += 8) {
    bits_ |= static_cast<std::uint64_t>(static_cast<unsigned char>(*cursor_)) << num_bits_;
  }
}

void BitDecoder::Settle() {
  MoveTo(position());
  if (num_bits_ < 0) {
    const int taken = -num_bits_;
    Refill();
    Consume(taken);
  } else if (cursor_ != start_ && (cursor_ - start_) % 8 == 0) {
    // After a shorter load all reads are slow ones and have kept the bits up to date.
    const auto word = LoadLittleEndian<std::uint64_t>(cursor_ - 8);
    bits_ = num_bits_ == 0 ? 0 : word >> (64 - num_bits_);
  }
}

bool BitDecoder::GetGammaSlow(std::uint32_t* v) {
  std::uint32_t length = 0;
  std::uint32_t low = 0;
  if (!GetUnary(&length) || length > 32 || !GetBits(static_cast<int>(length) - 1, &low)) {
    return false;
  }
  *v = (std::uint32_t{1} << (length - 1)) + low;
  return true;
}

bool BitDecoder::GetBitsSlow(int n, std::uint32_t* v) {
  if (n < 0) {
    return false;
  }
  const std::uint64_t in_hand = bits_;
  const int in_hand_count = num_bits_;
  if (n <= in_hand_count) {
    *v = static_cast<std::uint32_t>(in_hand & BitEncoder::mask_[static_cast<unsigned>(n)]);
    Consume(n);
    return true;
  }
  const int wanted = n - in_hand_count;
  Refill();
  if (wanted > num_bits_) {
    return false;
  }
  const std::uint64_t fresh = bits_ & BitEncoder::mask_[static_cast<unsigned>(wanted)];
  *v =
      static_cast<std::uint32_t>(in_hand_count < 32 ? in_hand | (fresh << in_hand_count) : in_hand);
  Consume(wanted);
  return true;
}

bool BitDecoder::GetUnarySlow(std::uint32_t* n) {
  std::uint64_t count = 0;
  while (true) {
    const int ones = ~bits_ == 0 ? 64 : __builtin_ctzll(~bits_);
    if (ones < num_bits_) {
      constexpr std::uint64_t kMost = std::numeric_limits<std::uint32_t>::max();
      count += static_cast<std::uint64_t>(ones) + 1;
      *n = static_cast<std::uint32_t>(std::min(count, kMost));
      Consume(ones + 1);
      return true;
    }
    count += static_cast<std::uint64_t>(num_bits_);
    Refill();
    if (num_bits_ == 0) {
      return false;
    }
  }
}
