// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>

#include "tests/support/log_recorder.h"
#include "tests/vortan/diorama/stream_fields.h"
#include "vortan/diorama/binary_coder.h"

namespace {

using test_support::StreamFields;
using vortan::BinaryEncoder;
constexpr unsigned kSeed = 20261121;
constexpr int kLowest = std::numeric_limits<int>::min();
constexpr int kHighest = std::numeric_limits<int>::max();

std::string Bytes(const BinaryEncoder& encoder) {
  return std::string(encoder.buffer(), static_cast<std::size_t>(encoder.buffer_size()));
}

std::string Flushed(BinaryEncoder* encoder) {
  encoder->Flush();
  return encoder->buffer_size() == 0 ? std::string() : Bytes(*encoder);
}

std::string VarUInt(unsigned value, int group_bits) {
  BinaryEncoder encoder;
  encoder.WriteVarUInt(static_cast<int>(value), group_bits);
  return Flushed(&encoder);
}

std::string VarInt(int value, int group_bits) {
  BinaryEncoder encoder;
  encoder.WriteVarInt(value, group_bits);
  return Flushed(&encoder);
}

long VarUIntBits(unsigned value, int group_bits) {
  BinaryEncoder encoder;
  encoder.WriteVarUInt(static_cast<int>(value), group_bits);
  return encoder.num_bits();
}

TEST(BinaryEncoder, PutsFieldsBehindOneAnother) {
  BinaryEncoder encoder;
  encoder.WriteBits(5, 3);
  encoder.WriteBits(1, 1);
  EXPECT_EQ(encoder.num_bits(), 4);
  EXPECT_EQ(Flushed(&encoder), "\x0D");
  EXPECT_EQ(encoder.num_bits(), 8);
}

TEST(BinaryEncoder, IsEmptyAtFirst) {
  BinaryEncoder encoder;
  EXPECT_EQ(encoder.num_bits(), 0);
  EXPECT_EQ(encoder.buffer_size(), 0);
  encoder.Flush();
  EXPECT_EQ(encoder.buffer_size(), 0);
}

TEST(BinaryEncoder, StartsAgainWithInit) {
  BinaryEncoder encoder;
  encoder.WriteBits(-1, 32);
  encoder.WriteBits(-1, 7);
  encoder.Init();
  EXPECT_EQ(encoder.num_bits(), 0);
  encoder.WriteBits(1, 1);
  EXPECT_EQ(Flushed(&encoder), "\x01");
}

TEST(BinaryEncoder, WritesNothingForNoBits) {
  BinaryEncoder encoder;
  encoder.WriteBits(-1, 0);
  EXPECT_EQ(encoder.num_bits(), 0);
}

TEST(BinaryEncoder, TakesAWidthOutsideItsRangeForTheNearerEnd) {
  BinaryEncoder encoder;
  encoder.WriteBits(-1, -5);
  encoder.WriteBits(-1, kLowest);
  EXPECT_EQ(encoder.num_bits(), 0);
  encoder.WriteBits(-1, 33);
  encoder.WriteBits(-1, kHighest);
  EXPECT_EQ(encoder.num_bits(), 64);
}

TEST(BinaryEncoder, CutsANegativeNumberToItsWidth) {
  BinaryEncoder encoder;
  encoder.WriteInt(-2, 6);
  EXPECT_EQ(Flushed(&encoder), "\x3E");
  BinaryEncoder same;
  same.WriteUInt(-2, 6);
  EXPECT_EQ(Flushed(&same), "\x3E");
}

TEST(BinaryEncoder, PutsTheLowHalfOfADoubleFirst) {
  BinaryEncoder encoder;
  encoder.WriteDouble(1.0);
  EXPECT_EQ(Flushed(&encoder), std::string("\0\0\0\0\0\0\xF0\x3F", 8));
}

TEST(BinaryEncoder, WritesTheBitsOfAFloat) {
  BinaryEncoder encoder;
  encoder.WriteFloat(-2.5f);
  EXPECT_EQ(Flushed(&encoder), std::string("\0\0\x20\xC0", 4));
}

TEST(BinaryEncoder, CountsAPartlyFilledByteWholeBeforeTheFlush) {
  BinaryEncoder encoder;
  encoder.WriteBits(1, 1);
  EXPECT_EQ(encoder.buffer_size(), 1);
  encoder.WriteBits(0x1FF, 9);
  EXPECT_EQ(encoder.buffer_size(), 2);
}

// A coder that gives up in mid-stream hands out its buffer all the same.
TEST(BinaryEncoder, HoldsZerosWhereBitsWereNotFlushed) {
  for (int bits = 1; bits <= 200; ++bits) {
    BinaryEncoder encoder;
    for (int i = 0; i < bits; ++i) {
      encoder.WriteBits(1, 1);
    }
    const std::size_t stored = static_cast<std::size_t>(bits) / 32 * 4;
    const std::size_t size = (static_cast<std::size_t>(bits) + 7) / 8;
    ASSERT_EQ(Bytes(encoder), std::string(stored, '\xFF') + std::string(size - stored, '\0'));
  }
}

TEST(BinaryEncoder, KeepsItsBufferReadableAfterEachKindOfWrite) {
  std::mt19937 random(kSeed);
  BinaryEncoder encoder;
  for (int i = 0; i < 5000; ++i) {
    const int group = static_cast<int>(random() % 32) + 1;
    switch (random() % 5) {
    case 0:
      encoder.WriteBits(-1, static_cast<int>(random() % 33));
      break;
    case 1:
      encoder.WriteVarUInt(-1, group);
      break;
    case 2:
      encoder.WriteFloat(1);
      break;
    case 3:
      encoder.WriteDouble(1);
      break;
    default:
      encoder.WriteVarString("abc", group);
    }
    // A sanitizer sees it where the last byte is not in the block.
    ASSERT_EQ(Bytes(encoder).size(), static_cast<std::size_t>(encoder.buffer_size()));
  }
}

TEST(BinaryEncoder, TakesAnyReservation) {
  BinaryEncoder encoder;
  encoder.WriteBits(1, 1);
  encoder.Reserve(1000);
  encoder.Reserve(0);
  encoder.Reserve(-38);
  encoder.Reserve(-1000);
  encoder.Reserve(kLowest);
  EXPECT_EQ(encoder.num_bits(), 1);
  EXPECT_EQ(Flushed(&encoder), "\x01");
}

TEST(BinaryEncoder, GrowsPastAReservation) {
  BinaryEncoder encoder;
  encoder.Reserve(1);
  for (int i = 0; i < 1000; ++i) {
    encoder.WriteBits(i, 32);
  }
  EXPECT_EQ(encoder.buffer_size(), 4000);
}

TEST(BinaryEncoder, CountsTheBitsThatANumberNeeds) {
  const struct {
    int value;
    int bits;
  } kCases[] = {{0, 1},   {1, 1},   {2, 2},   {3, 2},      {4, 3},         {255, 8},
                {256, 9}, {-1, 32}, {511, 9}, {65536, 17}, {kHighest, 31}, {kLowest, 32}};
  for (const auto& c : kCases) {
    EXPECT_EQ(BinaryEncoder::BitsRequired(c.value), c.bits) << c.value;
  }
}

TEST(BinaryEncoder, CountsTheBitsThatASignedNumberNeeds) {
  const struct {
    int value;
    int bits;
  } kCases[] = {{0, 2},  {1, 2},   {-1, 2},  {-2, 2},        {2, 3},       {-3, 3},
                {-4, 3}, {-5, 4},  {127, 8}, {-128, 8},      {128, 9},     {-129, 9},
                {32, 7}, {-32, 6}, {-33, 7}, {kHighest, 32}, {kLowest, 32}};
  for (const auto& c : kCases) {
    EXPECT_EQ(BinaryEncoder::SignedBitsRequired(c.value), c.bits) << c.value;
  }
}

TEST(BinaryEncoder, AgreesWithTheTableOfLogarithms) {
  for (std::uint32_t v = 1; v != 0; v = v << 1 | (v % 7 == 0)) {
    int bits = 0;
    std::uint32_t rest = v;
    for (; rest > 255; rest >>= 8) {
      bits += 8;
    }
    bits += 1 + BitEncoder::log2_table_[rest];
    ASSERT_EQ(BinaryEncoder::BitsRequired(static_cast<int>(v)), bits) << v;
  }
}

TEST(BinaryEncoder, WritesThreeHundredByFoursAsThreeGroups) {
  EXPECT_EQ(VarUInt(300, 4), std::string("\xE3\x00", 2));
}

TEST(BinaryEncoder, BeginsEachCountOfGroupsWhereTheLastOneEnded) {
  const struct {
    int group_bits;
    unsigned first;
    int groups;
  } kCases[] = {{4, 0, 1}, {4, 16, 2}, {4, 272, 3}, {4, 4368, 4}, {4, 69904, 5},
                {1, 0, 1}, {1, 2, 2},  {1, 6, 3},   {1, 14, 4}};
  for (const auto& c : kCases) {
    EXPECT_EQ(VarUIntBits(c.first, c.group_bits), c.groups * (1 + c.group_bits)) << c.first;
    if (c.first > 0) {
      EXPECT_EQ(VarUIntBits(c.first - 1, c.group_bits), (c.groups - 1) * (1 + c.group_bits));
    }
  }
}

TEST(BinaryEncoder, WritesTheLargestNumberInAllWidths) {
  // By ones 32 groups begin at 4294967294.
  EXPECT_EQ(VarUInt(0xFFFFFFFF, 1), std::string("\xFF\xFF\xFF\x7F\x01\0\0\0", 8));
  EXPECT_EQ(VarUIntBits(0xFFFFFFFF, 4), 8 + 32);
  EXPECT_EQ(VarUIntBits(0xFFFFFFFF, 32), 33);
}

TEST(BinaryEncoder, DoublesSignedNumbers) {
  EXPECT_EQ(VarInt(-3, 4), "\x0A");
  EXPECT_EQ(VarInt(0, 4), VarUInt(0, 4));
  EXPECT_EQ(VarInt(-1, 4), VarUInt(1, 4));
  EXPECT_EQ(VarInt(1, 4), VarUInt(2, 4));
  EXPECT_EQ(VarInt(-300, 4), VarUInt(599, 4));
}

TEST(BinaryEncoder, WritesVariableNumbersAsTheirStepsTell) {
  std::mt19937 random(kSeed);
  for (int k = 1; k <= 32; ++k) {
    BinaryEncoder encoder;
    StreamFields twin;
    for (int i = 0; i < 300; ++i) {
      const auto value = static_cast<std::uint32_t>(random() >> random() % 32);
      encoder.WriteVarUInt(static_cast<int>(value), k);
      twin.VarUInt(value, k);
    }
    ASSERT_EQ(Flushed(&encoder), twin.Stream()) << k;
  }
}

TEST(BinaryEncoder, TakesAGroupWidthOutsideItsRangeForTheNearerEnd) {
  EXPECT_EQ(VarUInt(300, 0), VarUInt(300, 1));
  EXPECT_EQ(VarUInt(300, kLowest), VarUInt(300, 1));
  EXPECT_EQ(VarUInt(300, 33), VarUInt(300, 32));
}

TEST(BinaryEncoder, PutsTheLengthOfAStringBeforeItsBytes) {
  BinaryEncoder encoder;
  encoder.WriteString(std::string("a\0b", 3), 16);
  EXPECT_EQ(Flushed(&encoder), std::string("\x03\0a\0b", 5));
}

TEST(BinaryEncoder, WritesAStringOfVariableLength) {
  BinaryEncoder encoder;
  encoder.WriteVarString("\x0F", 1);
  // The bits 0 1, then the byte.
  EXPECT_EQ(Flushed(&encoder), std::string("\x3E\0", 2));
}

TEST(BinaryEncoder, TakesAStringTwoBelowTheRangeOfItsLength) {
  test_support::LogRecorder log;
  BinaryEncoder encoder;
  encoder.WriteString(std::string(65534, 'x'), 16);
  EXPECT_TRUE(log.lines().empty());
  EXPECT_EQ(encoder.buffer_size(), 2 + 65534);
}

TEST(BinaryEncoder, FailsACheckForALongerStringAndWritesAllItsBytes) {
  test_support::LogRecorder log;
  BinaryEncoder encoder;
  encoder.WriteString(std::string(65535, 'x'), 16);
  EXPECT_EQ(log.lines(), std::vector<std::string>{"3 Check failed: str_size<max_size 65535<65535"});
  EXPECT_EQ(encoder.buffer_size(), 2 + 65535);
}

TEST(BinaryEncoder, CutsTheLengthOfAStringThatIsFarTooLong) {
  test_support::LogRecorder log;
  BinaryEncoder encoder;
  encoder.WriteString(std::string(257, 'x'), 8);
  EXPECT_EQ(log.lines(), std::vector<std::string>{"3 Check failed: str_size<max_size 257<255"});
  EXPECT_EQ(Flushed(&encoder), "\x01" + std::string(257, 'x'));
}

}  // namespace
