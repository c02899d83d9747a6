// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstddef>
#include <random>
#include <string>
#include <vector>

#include "tests/util/coding/bit_twins.h"
#include "util/coding/bit_run.h"

namespace {

using test_support::ExactBytes;
constexpr unsigned kStart = 20261121;

std::string RandomBytes(std::size_t size, std::mt19937* random) {
  std::string bytes(size, '\0');
  for (char& byte : bytes) {
    byte = static_cast<char>((*random)());
  }
  return bytes;
}

// All that can be seen of an encoder, and its bytes after a flush.
struct Seen {
  std::size_t length;
  int bits;
  std::string stored;
  std::string flushed;
  bool operator==(const Seen& other) const {
    return length == other.length && bits == other.bits && stored == other.stored &&
           flushed == other.flushed;
  }
};
std::string Stored(const BitEncoder& encoder) {
  const std::size_t length = encoder.encoder().length();
  return length == 0 ? std::string() : std::string(encoder.encoder().base(), length);
}
Seen Look(BitEncoder* encoder) {
  Seen seen{encoder->encoder().length(), encoder->num_bits(), Stored(*encoder), ""};
  encoder->Flush();
  seen.flushed = Stored(*encoder);
  return seen;
}

TEST(BitRunWriter, LeavesTheEncoderAsIfEveryFieldHadGoneThroughIt) {
  std::mt19937 random(kStart);
  for (int round = 0; round < 2000; ++round) {
    BitEncoder by_run;
    BitEncoder by_field;
    for (auto runs = random() % 4; runs > 0; --runs) {
      // Fields of the encoder itself, so that a run begins with any number of bits in hand.
      for (auto fields = random() % 3; fields > 0; --fields) {
        const auto v = static_cast<std::uint32_t>(random());
        const int n = static_cast<int>(random() % 33);
        by_run.PutBits(v, n);
        by_field.PutBits(v, n);
      }
      BitRunWriter run(&by_run);
      for (auto blocks = random() % 3; blocks > 0; --blocks) {
        const std::size_t fields = random() % 10;
        run.MakeRoom(fields * BitRunWriter::kMaxBits);
        for (std::size_t i = 0; i < fields; ++i) {
          const int n = static_cast<int>(random() % (BitRunWriter::kMaxBits + 1));
          const std::uint64_t v = (std::uint64_t{random()} << 32 | random()) &
                                  BitEncoder::mask_[static_cast<std::size_t>(n)];
          run.Put(v, n);
          by_field.PutBits(static_cast<std::uint32_t>(v), n < 32 ? n : 32);
          by_field.PutBits(static_cast<std::uint32_t>(v >> 32), n - 32);
        }
      }
    }
    ASSERT_TRUE(Look(&by_run) == Look(&by_field)) << round;
  }
}

TEST(BitRunWriter, LeavesZerosBehindTheBytes) {
  BitEncoder encoder;
  {
    BitRunWriter run(&encoder);
    run.MakeRoom(1000);
    for (int i = 0; i < 7; ++i) {
      run.Put(BitEncoder::mask_[13], 13);
    }
  }
  const Encoder& bytes = encoder.encoder();
  EXPECT_EQ(bytes.length(), 8u);
  EXPECT_EQ(std::string(bytes.base() + 8, bytes.avail()), std::string(bytes.avail(), '\0'));
}

TEST(BitRunWriter, WritesNothingOfItsOwn) {
  BitEncoder encoder;
  { BitRunWriter run(&encoder); }
  EXPECT_EQ(encoder.encoder().base(), nullptr);
  encoder.PutBits(5, 3);
  { BitRunWriter run(&encoder); }
  EXPECT_EQ(encoder.num_bits(), 3);
  encoder.Flush();
  EXPECT_EQ(Stored(encoder), "\x05");
}

TEST(BitRunReader, LeavesTheDecoderAsIfEveryFieldHadBeenReadFromIt) {
  std::mt19937 random(kStart);
  for (int round = 0; round < 5000; ++round) {
    const ExactBytes bytes(RandomBytes(random() % 80, &random));
    BitDecoder by_run(bytes.data(), bytes.size());
    BitDecoder by_field(bytes.data(), bytes.size());
    for (int turn = 0; turn < 6; ++turn) {
      {
        BitRunReader run(&by_run);
        for (auto fields = random() % 12; fields > 0 && run.has_bits(); --fields) {
          const int n = static_cast<int>(random() % 33);
          std::uint32_t v = 0;
          ASSERT_TRUE(by_field.GetBits(n, &v));
          ASSERT_EQ(run.Peek() & BitEncoder::mask_[static_cast<std::size_t>(n)], v);
          run.Consume(n);
        }
      }
      ASSERT_EQ(by_run.bytes_loaded(), by_field.bytes_loaded()) << round;
      ASSERT_EQ(by_run.bits_in_hand(), by_field.bits_in_hand()) << round;
      ASSERT_EQ(by_run.at_end(), by_field.at_end()) << round;
      // Also beyond the end, where a failed read leaves bits in hand.
      const int n = static_cast<int>(random() % 80);
      std::uint32_t v = 77;
      std::uint32_t expected = 77;
      ASSERT_EQ(by_run.GetBits(n, &v), by_field.GetBits(n, &expected));
      ASSERT_EQ(v, expected);
      ASSERT_EQ(by_run.bits_in_hand(), by_field.bits_in_hand()) << round;
    }
  }
}

TEST(BitRunReader, HasNoBitsInTheLastBytes) {
  const std::string bytes(8, 'x');
  for (std::size_t size = 0; size < 8; ++size) {
    BitDecoder decoder(bytes.data(), size);
    EXPECT_FALSE(BitRunReader(&decoder).has_bits()) << size;
    EXPECT_EQ(BitRunReader(&decoder).fields_left(1), 0u);
  }
  BitDecoder decoder(bytes.data(), 8);
  EXPECT_EQ(BitRunReader(&decoder).fields_left(1), 8u);
  EXPECT_EQ(BitRunReader(&decoder).fields_left(3), 2u);
  BitDecoder none(nullptr, 0);
  EXPECT_FALSE(BitRunReader(&none).has_bits());
}

TEST(BitRunReader, CountsFieldsWithoutBitsAsFieldsOfOne) {
  const std::string bytes(20, 'x');
  BitDecoder decoder(bytes.data(), bytes.size());
  EXPECT_EQ(BitRunReader(&decoder).fields_left(0), BitRunReader(&decoder).fields_left(1));
}

}  // namespace
