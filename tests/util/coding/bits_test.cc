// SPDX-License-Identifier: Apache-2.0
#include "util/coding/bits.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

constexpr unsigned kSeed = 20261121;

TEST(Bits, CountsTheOnesOfEveryByteValue) {
  for (unsigned byte = 0; byte < 256; ++byte) {
    int ones = 0;
    for (unsigned rest = byte; rest != 0; rest /= 2) {
      ones += static_cast<int>(rest % 2);
    }
    EXPECT_EQ(Bits::num_bits[byte], ones);
    const auto value = static_cast<unsigned char>(byte);
    EXPECT_EQ(Bits::Count(&value, 1), ones);
  }
}

TEST(Bits, CountsOverAllBytes) {
  EXPECT_EQ(Bits::Count("\xff\x01\x00\x80", 4), 10);
  EXPECT_EQ(Bits::Count("\xff", 0), 0);
  EXPECT_EQ(Bits::Count("\xff", -1), 0);
}

TEST(Bits, CountsDifferences) {
  EXPECT_EQ(Bits::Difference("\xff\x0f", "\x00\x0e", 2), 9);
  EXPECT_EQ(Bits::Difference("abc", "abc", 3), 0);
  EXPECT_EQ(Bits::Difference("a", "b", -1), 0);
}

TEST(Bits, StopsBehindTheByteThatPassedTheCap) {
  const std::string ones(4, '\xff');
  const std::string zeros(4, '\0');
  EXPECT_EQ(Bits::CappedDifference(ones.data(), zeros.data(), 4, 3), 8);
  EXPECT_EQ(Bits::CappedDifference(ones.data(), zeros.data(), 4, 8), 16);
  EXPECT_EQ(Bits::CappedDifference(ones.data(), zeros.data(), 4, 100), 32);
  EXPECT_EQ(Bits::CappedDifference(ones.data(), zeros.data(), 4, 0), 8);
}

TEST(Bits, GivesNoCappedDifferenceWithoutBytesOrWithANegativeCap) {
  EXPECT_EQ(Bits::CappedDifference("a", "b", 0, 5), 0);
  EXPECT_EQ(Bits::CappedDifference("a", "b", -1, 5), 0);
  EXPECT_EQ(Bits::CappedDifference("a", "b", 1, -1), 0);
}

TEST(Bits, TakesLogarithmsAroundEveryPowerOfTwo) {
  for (int bit = 0; bit < 32; ++bit) {
    const std::uint32_t power = std::uint32_t{1} << bit;
    EXPECT_EQ(Bits::Log2Floor_Portable(power), bit);
    EXPECT_EQ(Bits::Log2FloorNonZero(power), bit);
    EXPECT_EQ(Bits::Log2Ceiling(power), bit);
    EXPECT_EQ(Bits::FindLSBSetNonZero_Portable(power), bit);
    if (bit > 1) {
      EXPECT_EQ(Bits::Log2Floor_Portable(power - 1), bit - 1);
      EXPECT_EQ(Bits::Log2Floor_Portable(power + 1), bit);
      EXPECT_EQ(Bits::Log2Ceiling(power - 1), bit);
      EXPECT_EQ(Bits::Log2Ceiling(power + 1), bit + 1);
    }
  }
  for (int bit = 2; bit < 64; ++bit) {
    const std::uint64_t power = std::uint64_t{1} << bit;
    EXPECT_EQ(Bits::Log2Ceiling64(power), bit);
    EXPECT_EQ(Bits::Log2Ceiling64(power - 1), bit);
    EXPECT_EQ(Bits::Log2Ceiling64(power + 1), bit + 1);
  }
}

TEST(Bits, GivesMinusOneForTheLogarithmOfZero) {
  EXPECT_EQ(Bits::Log2Floor_Portable(0), -1);
  EXPECT_EQ(Bits::Log2Ceiling(0), -1);
  EXPECT_EQ(Bits::Log2Ceiling64(0), -1);
  EXPECT_EQ(Bits::FindLSBSetNonZero_Portable(0), -1);
}

TEST(Bits, AgreesWithTheMachinesInstructions) {
  std::mt19937 random(kSeed);
  for (int i = 0; i < 10000; ++i) {
    const auto v = static_cast<std::uint32_t>(random() >> (random() % 32)) | 1u << (random() % 32);
    ASSERT_EQ(Bits::Log2Floor_Portable(v), Bits::Log2FloorNonZero(v)) << v;
    ASSERT_EQ(Bits::FindLSBSetNonZero_Portable(v), __builtin_ctz(v)) << v;
  }
}

}  // namespace
