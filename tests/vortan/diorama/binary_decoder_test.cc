// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>

#include "tests/support/log_recorder.h"
#include "tests/util/coding/bit_twins.h"
#include "vortan/diorama/binary_coder.h"

namespace {

using test_support::BitReaderTwin;
using test_support::ExactBytes;
using vortan::BinaryDecoder;
using vortan::BinaryEncoder;
constexpr unsigned kSeed = 20261121;

// Reads from a block of exactly the text's size.
class Reader {
 public:
  explicit Reader(const std::string& text) : bytes_(text) {
    decoder_.Init(bytes_.data(), static_cast<int>(bytes_.size()));
  }
  BinaryDecoder* operator->() { return &decoder_; }

 private:
  ExactBytes bytes_;
  BinaryDecoder decoder_;
};

std::string Flushed(BinaryEncoder* encoder) {
  encoder->Flush();
  return std::string(encoder->buffer(), static_cast<std::size_t>(encoder->buffer_size()));
}

// The form by its steps, on the bit-by-bit reader.
std::uint32_t TwinVarUInt(int k, BitReaderTwin* twin) {
  std::uint32_t m = 0;
  std::uint32_t value = 0;
  if (!twin->GetUnary(&m) || !twin->GetBits(static_cast<int>(m) * k, &value)) {
    return 0;
  }
  for (int j = static_cast<int>(m) - 1; j >= 1; --j) {
    value += 1u << (k * j % 32);
  }
  return value;
}

TEST(BinaryDecoder, ReadsZeroFromNoData) {
  Reader reader("");
  EXPECT_EQ(reader->ReadBits(32), 0u);
  EXPECT_EQ(reader->ReadVarUInt(4), 0u);
  EXPECT_EQ(reader->ReadVarInt(4), 0);
  EXPECT_EQ(reader->ReadFloat(), 0.0f);
  EXPECT_EQ(reader->ReadDouble(), 0.0);
  EXPECT_EQ(reader->ReadString(16), "");
  EXPECT_EQ(reader->BytesDecoded(), 0);
}

TEST(BinaryDecoder, ReadsZeroBeforeInit) {
  test_support::LogRecorder log;
  BinaryDecoder decoder;
  EXPECT_EQ(decoder.ReadBits(32), 0u);
  EXPECT_EQ(decoder.ReadInt(32), 0);
  EXPECT_EQ(decoder.ReadVarUInt(4), 0u);
  EXPECT_EQ(decoder.ReadFloat(), 0.0f);
  EXPECT_EQ(decoder.ReadDouble(), 0.0);
  EXPECT_EQ(decoder.BytesDecoded(), 0);
  EXPECT_TRUE(log.lines().empty());
}

TEST(BinaryDecoder, FailsACheckForAStringBeforeInit) {
  test_support::LogRecorder log;
  BinaryDecoder decoder;
  EXPECT_EQ(decoder.ReadString(16), "");
  EXPECT_EQ(decoder.ReadVarString(4), "");
  EXPECT_EQ(log.lines(), std::vector<std::string>(2, "3 Check failed: decoder_.get()"));
}

TEST(BinaryDecoder, TakesNullAndANegativeSizeForNoData) {
  BinaryDecoder decoder;
  decoder.Init(nullptr, 5);
  EXPECT_EQ(decoder.ReadBits(8), 0u);
  decoder.Init("abc", -1);
  EXPECT_EQ(decoder.ReadBits(8), 0u);
  EXPECT_EQ(decoder.BytesDecoded(), 0);
}

TEST(BinaryDecoder, StartsAgainWithInit) {
  BinaryDecoder decoder;
  decoder.Init("abc", 3);
  EXPECT_EQ(decoder.ReadBits(8), unsigned{'a'});
  decoder.Init("xyz", 3);
  EXPECT_EQ(decoder.ReadBits(8), unsigned{'x'});
  EXPECT_EQ(decoder.BytesDecoded(), 1);
}

TEST(BinaryDecoder, ConsumesNothingForNoBits) {
  Reader reader("\xFF");
  EXPECT_EQ(reader->ReadBits(0), 0u);
  EXPECT_EQ(reader->ReadInt(0), 0);
  EXPECT_EQ(reader->ReadBits(-3), 0u);
  EXPECT_EQ(reader->BytesDecoded(), 0);
  EXPECT_EQ(reader->ReadUInt(8), 0xFFu);
}

TEST(BinaryDecoder, CountsABegunByteWhole) {
  Reader reader("abc");
  reader->ReadBits(1);
  EXPECT_EQ(reader->BytesDecoded(), 1);
  reader->ReadBits(7);
  EXPECT_EQ(reader->BytesDecoded(), 1);
  reader->ReadBits(1);
  EXPECT_EQ(reader->BytesDecoded(), 2);
}

TEST(BinaryDecoder, ExtendsTheSignFromTheTopBitOfTheField) {
  EXPECT_EQ(Reader("\xFF\xFF")->ReadInt(16), -1);
  EXPECT_EQ(Reader("\x20")->ReadInt(6), -32);
  EXPECT_EQ(Reader("\x1F")->ReadInt(6), 31);
  EXPECT_EQ(Reader("\x01")->ReadInt(1), -1);
  EXPECT_EQ(Reader(std::string("\0\0\0\x80", 4))->ReadInt(32), std::numeric_limits<int>::min());
}

TEST(BinaryDecoder, ReadsADoubleThatStraddlesNineBytes) {
  BinaryEncoder encoder;
  encoder.WriteBits(5, 3);
  const double value = -123456.789e-30;
  encoder.WriteDouble(value);
  Reader reader(Flushed(&encoder));
  EXPECT_EQ(reader->ReadBits(3), 5u);
  const double read = reader->ReadDouble();
  EXPECT_EQ(std::memcmp(&read, &value, sizeof(value)), 0);
  EXPECT_EQ(reader->BytesDecoded(), 9);
}

TEST(BinaryDecoder, KeepsTheBitsOfNotANumber) {
  const std::uint64_t pattern = 0x7FF4000000000123;
  double value = 0;
  std::memcpy(&value, &pattern, sizeof(value));
  BinaryEncoder encoder;
  encoder.WriteDouble(value);
  const double read = Reader(Flushed(&encoder))->ReadDouble();
  EXPECT_EQ(std::memcmp(&read, &value, sizeof(value)), 0);
}

// The low half alone would be a tiny number that is not zero.
TEST(BinaryDecoder, ReadsADoubleWithoutItsHighHalfAsZero) {
  EXPECT_EQ(Reader("\x9A\x99\x99\x99\x99\x99\xB9")->ReadDouble(), 0.0);
  EXPECT_EQ(Reader("\x9A\x99\x99\x99")->ReadDouble(), 0.0);
}

TEST(BinaryDecoder, StillReadsTheHighHalfOfADoubleWithoutItsLowHalf) {
  Reader reader(std::string(8, '\x01') + "\x02\x03");
  reader->ReadBits(32);
  reader->ReadBits(24);
  // The two bytes that the low half loads are not enough for it, and not for the high half, which
  // takes them.
  EXPECT_EQ(reader->ReadDouble(), 0.0);
  EXPECT_EQ(reader->ReadBits(8), 0u);
}

TEST(BinaryDecoder, LeavesTheBitsLoadedForAFailedFieldToTheNextOne) {
  Reader reader(std::string(8, '\x01') + "\x02\x03");
  reader->ReadBits(32);
  reader->ReadBits(24);
  EXPECT_EQ(reader->ReadBits(32), 0u);
  EXPECT_EQ(reader->ReadBits(16), 0x0302u);
}

TEST(BinaryDecoder, ReadsBackVariableNumbersOfAllWidths) {
  std::mt19937 random(kSeed);
  for (int k = 1; k <= 32; ++k) {
    BinaryEncoder encoder;
    std::vector<unsigned> values = {0,   1,   2,    5,    6,          15,        16,
                                    271, 272, 4367, 4368, 0xFFFFFFFE, 0xFFFFFFFF};
    for (int i = 0; i < 300; ++i) {
      values.push_back(static_cast<unsigned>(random() >> random() % 32));
    }
    for (const unsigned value : values) {
      encoder.WriteVarUInt(static_cast<int>(value), k);
    }
    Reader reader(Flushed(&encoder));
    for (const unsigned value : values) {
      ASSERT_EQ(reader->ReadVarUInt(k), value) << k;
    }
  }
}

TEST(BinaryDecoder, ReadsBackSignedNumbersOfThirtyOneBits) {
  std::mt19937 random(kSeed);
  std::vector<int> values = {0, -1, 1, -3, 1 << 29, -(1 << 30), (1 << 30) - 1};
  for (int i = 0; i < 1000; ++i) {
    values.push_back(static_cast<int>(random() >> (1 + random() % 31)) - (1 << 30) % (i + 1));
  }
  for (const int k : {1, 4}) {
    BinaryEncoder encoder;
    for (const int value : values) {
      encoder.WriteVarInt(value, k);
    }
    Reader reader(Flushed(&encoder));
    for (const int value : values) {
      if (value >= -(1 << 30) && value < 1 << 30) {
        ASSERT_EQ(reader->ReadVarInt(k), value) << k;
      } else {
        reader->ReadVarInt(k);
      }
    }
  }
}

TEST(BinaryDecoder, HalvesANumberOfThirtyTwoBitsWithItsSign) {
  BinaryEncoder encoder;
  encoder.WriteVarInt(1 << 30, 4);
  encoder.WriteVarInt(-(1 << 30) - 1, 4);
  Reader reader(Flushed(&encoder));
  EXPECT_EQ(reader->ReadVarInt(4), -(1 << 30));
  EXPECT_EQ(reader->ReadVarInt(4), (1 << 30) - 1);
}

TEST(BinaryDecoder, ReadsAnEndlessPrefixAsZeroAndHasNothingLeft) {
  Reader reader(std::string(1000, '\xFF'));
  EXPECT_EQ(reader->ReadVarUInt(4), 0u);
  EXPECT_EQ(reader->BytesDecoded(), 1000);
  EXPECT_EQ(reader->ReadBits(1), 0u);
}

TEST(BinaryDecoder, TakesTheLowBitsOfAPayloadOfMoreThanThirtyTwo) {
  // Nine groups of four: eight ones, a zero, then 36 bits.
  Reader reader(std::string("\xFF\x02\0\0\0\xFF", 6));
  // The payload is 1 at bit 0 and ones from bit 31 on. The first number of nine groups is
  // 16 + 256 + ... + 16^7 + 16^8, of which the last is a shift by 32, and so one by 0.
  EXPECT_EQ(reader->ReadVarUInt(4), 0x80000001u + 0x11111110u + 1u);
  EXPECT_EQ(reader->BytesDecoded(), 6);
}

TEST(BinaryDecoder, ReadsDamagedVariableNumbersAsItsTwinDoes) {
  std::mt19937 random(kSeed);
  for (int round = 0; round < 3000; ++round) {
    std::string bytes(random() % 40, '\0');
    for (char& byte : bytes) {
      byte = random() % 3 == 0 ? static_cast<char>(random()) : '\xFF';
    }
    Reader reader(bytes);
    BitReaderTwin twin(bytes);
    for (int i = 0; i < 30; ++i) {
      const int k = static_cast<int>(random() % 32) + 1;
      if (random() % 2 == 0) {
        ASSERT_EQ(reader->ReadVarUInt(k), TwinVarUInt(k, &twin)) << round;
      } else {
        std::uint32_t v = 0;
        const unsigned read = reader->ReadBits(k);
        ASSERT_EQ(read, twin.GetBits(k, &v) ? v : 0) << round;
      }
    }
  }
}

TEST(BinaryDecoder, ReadsBackStrings) {
  BinaryEncoder encoder;
  const std::string text("a\0\xFFz", 4);
  encoder.WriteBits(1, 1);
  encoder.WriteString(text, 16);
  encoder.WriteVarString("", 1);
  encoder.WriteVarString(text, 1);
  Reader reader(Flushed(&encoder));
  reader->ReadBits(1);
  EXPECT_EQ(reader->ReadString(16), text);
  EXPECT_EQ(reader->ReadVarString(1), "");
  EXPECT_EQ(reader->ReadVarString(1), text);
}

TEST(BinaryDecoder, FillsTheTailOfACutStringWithZeros) {
  Reader reader(std::string("\x05\0ab", 4));
  EXPECT_EQ(reader->ReadString(16), std::string("ab\0\0\0", 5));
}

TEST(BinaryDecoder, LosesTheBegunByteOfACutString) {
  Reader reader(std::string("\x10\xFF\xFF", 3));
  // A length of 16 in 9 bits, then 15 bits of ones.
  EXPECT_EQ(reader->ReadString(9), std::string("\xFF") + std::string(271, '\0'));
}

TEST(BinaryDecoder, ThrowsTheLengthErrorForAStringOfNegativeLength) {
  EXPECT_THROW(Reader("\xFF\xFF\xFF\xFF")->ReadString(32), std::length_error);
  EXPECT_THROW(Reader(std::string("\0\0\0\x80", 4))->ReadString(32), std::length_error);
}

TEST(BinaryDecoder, AllocatesNoStringBeyondItsBudget) {
  const std::string stream("\xFF\xFF\xFF\x7F", 4);
  Reader reader(stream);
  reader->mutable_budget()->set_bytes(1 << 20);
  EXPECT_THROW(reader->ReadString(32), std::bad_alloc);
  Reader small(std::string("\x02\0ab", 4));
  small->mutable_budget()->set_bytes(2);
  EXPECT_EQ(small->ReadString(16), "ab");
  EXPECT_EQ(small->budget().bytes(), 0u);
}

}  // namespace
