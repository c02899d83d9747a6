// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "tests/support/log_recorder.h"
#include "tests/util/coding/bit_twins.h"
#include "util/coding/bitcoding.h"

namespace {

using test_support::BitWriterTwin;
using test_support::LogRecorder;
constexpr unsigned kSeed = 20261121;

std::string Flushed(BitEncoder* encoder) {
  encoder->Flush();
  const Encoder& bytes = encoder->encoder();
  return bytes.length() == 0 ? std::string() : std::string(bytes.base(), bytes.length());
}

TEST(BitEncoder, PutsTheLowestBitFirst) {
  BitEncoder encoder;
  encoder.PutBits(5, 3);
  encoder.PutBits(1, 1);
  EXPECT_EQ(Flushed(&encoder), "\x0D");
}

TEST(BitEncoder, WritesNothingWhenAnEmptyStreamIsFlushed) {
  BitEncoder encoder;
  encoder.Flush();
  EXPECT_EQ(encoder.encoder().length(), 0u);
  EXPECT_EQ(encoder.num_bits(), 0);
  EXPECT_EQ(encoder.encoder().base(), nullptr);
}

TEST(BitEncoder, PadsWithZeroBitsAndIsAlignedAfterwards) {
  BitEncoder encoder;
  encoder.PutBits(1, 1);
  encoder.Flush();
  encoder.Flush();
  encoder.PutBits(0xFF, 8);
  EXPECT_EQ(Flushed(&encoder), "\x01\xFF");
  EXPECT_EQ(encoder.num_bits(), 0);
}

TEST(BitEncoder, FlushesEveryNumberOfBits) {
  for (int n = 0; n <= 32; ++n) {
    BitEncoder encoder;
    BitWriterTwin twin;
    encoder.PutBits(0xDEADBEEF, n);
    twin.PutBits(0xDEADBEEF, n);
    EXPECT_EQ(Flushed(&encoder), twin.Bytes()) << n;
  }
}

TEST(BitEncoder, PutsEveryWidthAtEveryPositionOfTheWord) {
  for (int before = 0; before < 32; ++before) {
    for (int n = 0; n <= 32; ++n) {
      BitEncoder encoder;
      BitWriterTwin twin;
      encoder.PutBits(0x5A5A5A5A, before);
      twin.PutBits(0x5A5A5A5A, before);
      encoder.PutBits(0xFFFFFFFF, n);
      twin.PutBits(0xFFFFFFFF, n);
      encoder.PutBits(2, 3);
      twin.PutBits(2, 3);
      ASSERT_EQ(8 * encoder.encoder().length() + static_cast<std::size_t>(encoder.num_bits()),
                twin.size());
      ASSERT_EQ(Flushed(&encoder), twin.Bytes()) << before << " " << n;
    }
  }
}

TEST(BitEncoder, MasksWhatDoesNotBelongToTheWidth) {
  BitEncoder encoder;
  encoder.PutBits(0xFFFFFFFF, 3);
  encoder.PutBits(0xFFFFFFFF, 0);
  EXPECT_EQ(Flushed(&encoder), "\x07");
}

TEST(BitEncoder, TakesWidthsOutsideItsRangeAsTheEndsOfTheRange) {
  BitEncoder encoder;
  encoder.PutBits(0xFFFFFFFF, -1);
  encoder.PutBits(0xFFFFFFFF, -2147483647 - 1);
  EXPECT_EQ(encoder.num_bits(), 0);
  encoder.PutBits(0x04030201, 33);
  encoder.PutBits(0x08070605, 2147483647);
  EXPECT_EQ(Flushed(&encoder), "\x01\x02\x03\x04\x05\x06\x07\x08");
}

TEST(BitEncoder, KeepsZerosInTheBytesThatAreNotStoredYet) {
  BitEncoder encoder;
  encoder.mutable_encoder()->Ensure(64);
  encoder.PutBits(0xFFFFFFFF, 31);
  EXPECT_EQ(encoder.encoder().length(), 0u);
  EXPECT_EQ(std::string(encoder.encoder().base(), 64), std::string(64, '\0'));
}

TEST(BitEncoder, WritesUnaryCodesOfAnyLength) {
  for (int before = 0; before < 32; ++before) {
    for (const int n : {1, 2, 3, 8, 9, 31, 32, 33, 34, 64, 65, 96, 97, 1000}) {
      BitEncoder encoder;
      BitWriterTwin twin;
      encoder.PutBits(0, before);
      twin.PutBits(0, before);
      encoder.PutUnary(n);
      twin.PutUnary(n);
      ASSERT_EQ(Flushed(&encoder), twin.Bytes()) << before << " " << n;
    }
  }
}

TEST(BitEncoder, WritesNoUnaryCodeBelowOneAndNoGammaCodeOfZero) {
  BitEncoder encoder;
  encoder.PutUnary(0);
  encoder.PutUnary(-5);
  encoder.PutGamma(0);
  EXPECT_EQ(Flushed(&encoder), "");
}

struct GammaCode {
  std::uint32_t value;
  int length;
  std::uint32_t code;
};

TEST(BitEncoder, HoldsTheGammaCodesInItsTable) {
  for (const GammaCode& gamma : {GammaCode{1, 1, 0}, GammaCode{2, 3, 1}, GammaCode{3, 3, 5},
                                 GammaCode{4, 5, 3}, GammaCode{255, 15, 0x7F7F}}) {
    EXPECT_EQ(BitEncoder::gamma_[gamma.value] >> 24, static_cast<std::uint32_t>(gamma.length));
    EXPECT_EQ(BitEncoder::gamma_[gamma.value] & 0xffffff, gamma.code);
  }
  EXPECT_EQ(BitEncoder::gamma_[0], 0u);
}

TEST(BitEncoder, WritesTheGammaCodesOfTheWorkedExamples) {
  const auto bits = [](std::uint32_t v, int n) {
    BitEncoder encoder;
    encoder.PutGamma(v);
    const std::string bytes = Flushed(&encoder) + std::string(2, '\0');
    const auto word = static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[0])) |
                      static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[1])) << 8;
    char text[33];
    return std::string(BitEncoder::UnparseLSBFirst(text, word, n));
  };
  EXPECT_EQ(bits(1, 1), "0");
  EXPECT_EQ(bits(2, 3), "100");
  EXPECT_EQ(bits(3, 3), "101");
  EXPECT_EQ(bits(4, 5), "11000");
  EXPECT_EQ(bits(255, 15), "111111101111111");
}

TEST(BitEncoder, WritesGammaCodesAsTheTwin) {
  std::mt19937 random(kSeed);
  BitEncoder encoder;
  BitWriterTwin twin;
  std::vector<std::uint32_t> values = {1,     255,        256,        257,       65535,
                                       65536, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
  for (int i = 0; i < 5000; ++i) {
    values.push_back(static_cast<std::uint32_t>(random() >> random() % 32) | 1);
  }
  for (const std::uint32_t v : values) {
    encoder.PutGamma(v);
    twin.PutGamma(v);
  }
  EXPECT_EQ(Flushed(&encoder), twin.Bytes());
}

TEST(BitEncoder, WritesRandomMixesAsTheTwin) {
  std::mt19937 random(kSeed + 1);
  for (int round = 0; round < 300; ++round) {
    BitEncoder encoder;
    BitWriterTwin twin;
    for (auto steps = random() % 200; steps > 0; --steps) {
      const auto v = static_cast<std::uint32_t>(random());
      const int n = static_cast<int>(random() % 33);
      switch (random() % 4) {
      case 0:
        encoder.PutUnary(n + 1);
        twin.PutUnary(n + 1);
        break;
      case 1:
        encoder.PutGamma((v >> (n % 32)) | 1);
        twin.PutGamma((v >> (n % 32)) | 1);
        break;
      default:
        encoder.PutBits(v, n);
        twin.PutBits(v, n);
      }
    }
    ASSERT_EQ(Flushed(&encoder), twin.Bytes()) << "round " << round;
  }
}

TEST(BitEncoder, FillsAFixedBufferWithoutAReport) {
  const LogRecorder recorder;
  char buffer[6] = {};
  BitEncoder encoder(buffer, sizeof(buffer));
  encoder.PutBits(0x04030201, 32);
  encoder.PutBits(0x0605, 16);
  encoder.Flush();
  EXPECT_EQ(std::string(buffer, 6), "\x01\x02\x03\x04\x05\x06");
  EXPECT_TRUE(recorder.entries().empty());
}

TEST(BitEncoder, ProvesItsTableWithoutAReport) {
  const LogRecorder recorder;
  const auto before = BitEncoder::gamma_;
  BitEncoder::Initialize();
  EXPECT_EQ(BitEncoder::gamma_, before);
  EXPECT_TRUE(recorder.entries().empty());
}

// Written while this file's own statics are made, in whatever order files come.
std::string GammaAtLoad() {
  BitEncoder encoder;
  encoder.PutGamma(255);
  return Flushed(&encoder);
}
const std::string gamma_at_load = GammaAtLoad();

TEST(BitEncoder, IsReadyForTheStaticsOfOthers) {
  EXPECT_EQ(gamma_at_load, "\x7F\x7F");
}

TEST(BitEncoder, HoldsMasksAndLogarithms) {
  EXPECT_EQ(BitEncoder::mask_[0], 0u);
  for (unsigned i = 1; i < 64; ++i) {
    EXPECT_EQ(BitEncoder::mask_[i], (std::uint64_t{1} << i) - 1);
  }
  EXPECT_EQ(BitEncoder::mask_[64], ~std::uint64_t{0});
  EXPECT_EQ(BitEncoder::log2_table_[0], 0);
  for (std::uint32_t i = 1; i < 256; ++i) {
    EXPECT_EQ(BitEncoder::log2_table_[i], Bits::Log2Floor_Portable(i));
  }
}

TEST(ReverseBits, TurnsTheLowBitsRound) {
  EXPECT_EQ(BitEncoder::ReverseBits(0, 0xFFFFFFFF), 0u);
  EXPECT_EQ(BitEncoder::ReverseBits(-1, 0xFFFFFFFF), 0u);
  EXPECT_EQ(BitEncoder::ReverseBits(1, 3), 1u);
  EXPECT_EQ(BitEncoder::ReverseBits(4, 0x1), 0x8u);
  EXPECT_EQ(BitEncoder::ReverseBits(3, 0xF1), 0x4u);
  EXPECT_EQ(BitEncoder::ReverseBits(32, 0x80000001), 0x80000001u);
  EXPECT_EQ(BitEncoder::ReverseBits(32, 0x00000003), 0xC0000000u);
  EXPECT_EQ(BitEncoder::ReverseBits(40, 0x00000003), 0xC0000000u);
}

TEST(UnparseLSBFirst, WritesTheLowestBitFirst) {
  char text[48];
  EXPECT_EQ(BitEncoder::UnparseLSBFirst(text, 5, 4), text);
  EXPECT_STREQ(text, "1010");
  EXPECT_STREQ(BitEncoder::UnparseLSBFirst(text, 5, 0), "");
  EXPECT_STREQ(BitEncoder::UnparseLSBFirst(text, 0xFFFFFFFF, 40),
               "1111111111111111111111111111111100000000");
}

TEST(UnparseLSBFirst, WritesOnlyTheTerminatorForANegativeCount) {
  char text[5] = {'a', 'b', 'c', 'd', 'e'};
  BitEncoder::UnparseLSBFirst(text + 3, 1, -2);
  EXPECT_EQ(std::string(text, 5), std::string("a\0cde", 5));
}

}  // namespace
