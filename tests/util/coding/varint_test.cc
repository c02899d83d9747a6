// SPDX-License-Identifier: Apache-2.0
#include "util/coding/varint.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "tests/util/coding/bit_twins.h"

namespace {

using test_support::ExactBytes;
constexpr unsigned kSeed = 20261121;

std::string Twin(std::uint64_t v) {
  std::string bytes;
  for (; v >= 128; v /= 128) {
    bytes.push_back(static_cast<char>(static_cast<unsigned char>(v % 128 + 128)));
  }
  bytes.push_back(static_cast<char>(v));
  return bytes;
}

// Every power of two with its neighbours, and seeded numbers of every length.
std::vector<std::uint64_t> Numbers() {
  std::vector<std::uint64_t> numbers = {0, ~std::uint64_t{0}};
  std::mt19937_64 random(kSeed);
  for (int bit = 0; bit < 64; ++bit) {
    const std::uint64_t power = std::uint64_t{1} << bit;
    numbers.insert(numbers.end(), {power - 1, power, power + 1});
    for (int i = 0; i < 50; ++i) {
      numbers.push_back(random() >> bit);
    }
  }
  return numbers;
}

std::string Append32(std::uint32_t v) {
  std::string bytes;
  Varint::Append32Slow(&bytes, v);
  return bytes;
}

std::string Append64(std::uint64_t v) {
  std::string bytes;
  Varint::Append64Slow(&bytes, v);
  return bytes;
}

TEST(Varint, WritesThreeHundredInTwoBytes) {
  EXPECT_EQ(Append32(300), "\xAC\x02");
  EXPECT_EQ(Append64(300), "\xAC\x02");
}

TEST(Varint, WritesEveryLengthAsItsTwin) {
  for (const std::uint64_t v : Numbers()) {
    ASSERT_EQ(Append64(v), Twin(v)) << v;
    const auto low = static_cast<std::uint32_t>(v);
    ASSERT_EQ(Append32(low), Twin(low)) << low;
  }
}

TEST(Varint, WritesNothingBehindItsLastByte) {
  for (const std::uint64_t v : Numbers()) {
    std::string bytes(16, '#');
    char* const end = Varint::Encode64(bytes.data(), v);
    ASSERT_EQ(end - bytes.data(), Varint::Length64(v)) << v;
    ASSERT_EQ(bytes.find_first_not_of('#', static_cast<std::size_t>(end - bytes.data())),
              std::string::npos)
        << v;
    const auto low = static_cast<std::uint32_t>(v);
    bytes.assign(16, '#');
    char* const low_end = Varint::Encode32(bytes.data(), low);
    ASSERT_EQ(low_end - bytes.data(), Varint::Length32NonInline(low)) << low;
    ASSERT_EQ(bytes.find_first_not_of('#', static_cast<std::size_t>(low_end - bytes.data())),
              std::string::npos)
        << low;
  }
}

TEST(Varint, KnowsTheLengthOfEveryNumber) {
  for (const std::uint64_t v : Numbers()) {
    ASSERT_EQ(Varint::Length64(v), static_cast<int>(Twin(v).size())) << v;
    const auto low = static_cast<std::uint32_t>(v);
    ASSERT_EQ(Varint::Length32NonInline(low), static_cast<int>(Twin(low).size())) << low;
  }
}

TEST(Varint, HoldsLengthsByBitLength) {
  for (unsigned bits = 0; bits <= 32; ++bits) {
    const int expected = bits <= 7 ? 1 : bits <= 14 ? 2 : bits <= 21 ? 3 : bits <= 28 ? 4 : 5;
    EXPECT_EQ(Varint::length32_bytes_required[bits], expected) << bits;
  }
}

TEST(Varint, ReadsBackWhatItWrote) {
  for (const std::uint64_t v : Numbers()) {
    const ExactBytes bytes(Twin(v));
    std::uint64_t wide = 1;
    ASSERT_EQ(Varint::Parse64Fallback(bytes.data(), &wide), bytes.end());
    ASSERT_EQ(wide, v);
    const auto low = static_cast<std::uint32_t>(v);
    const ExactBytes low_bytes(Twin(low));
    std::uint32_t narrow = 1;
    ASSERT_EQ(Varint::Parse32Fallback(low_bytes.data(), &narrow), low_bytes.end());
    ASSERT_EQ(narrow, low);
  }
}

TEST(Parse32Fallback, FailsOnAFifthByteThatGoesOn) {
  std::uint32_t v = 77;
  EXPECT_EQ(Varint::Parse32Fallback("\x80\x80\x80\x80\x80\x01", &v), nullptr);
  EXPECT_EQ(v, 77u);
}

TEST(Parse32Fallback, DropsTheBitsBeyondTheNumber) {
  std::uint32_t v = 0;
  const ExactBytes bytes("\xFF\xFF\xFF\xFF\x7F");
  EXPECT_EQ(Varint::Parse32Fallback(bytes.data(), &v), bytes.end());
  EXPECT_EQ(v, 0xFFFFFFFFu);
  EXPECT_NE(Varint::Parse32Fallback("\x81\x80\x80\x80\x70", &v), nullptr);
  EXPECT_EQ(v, 1u);
}

TEST(Parse64Fallback, FailsOnATenthByteThatGoesOn) {
  std::uint64_t v = 77;
  EXPECT_EQ(Varint::Parse64Fallback("\x80\x80\x80\x80\x80\x80\x80\x80\x80\x80\x01", &v), nullptr);
  EXPECT_EQ(v, 77u);
}

TEST(Parse64Fallback, DropsTheBitsBeyondTheNumber) {
  std::uint64_t v = 0;
  EXPECT_NE(Varint::Parse64Fallback("\x81\x80\x80\x80\x80\x80\x80\x80\x80\x7E", &v), nullptr);
  EXPECT_EQ(v, 1u);
  EXPECT_NE(Varint::Parse64Fallback("\x81\x80\x80\x80\x80\x80\x80\x80\x80\x7F", &v), nullptr);
  EXPECT_EQ(v, 0x8000000000000001u);
}

TEST(Parse64WithLimit, IsNullForAnEmptyRange) {
  const char byte = 1;
  std::uint64_t v = 77;
  EXPECT_EQ(Varint::Parse64WithLimit(&byte, &byte, &v), nullptr);
  EXPECT_EQ(Varint::Parse64WithLimit(&byte + 1, &byte, &v), nullptr);
  EXPECT_EQ(Varint::Parse64WithLimit(nullptr, nullptr, &v), nullptr);
  EXPECT_EQ(v, 77u);
}

TEST(Parse64WithLimit, ReadsNoPrefixOfAVarintAndAnyExtension) {
  for (const std::uint64_t number : Numbers()) {
    const std::string whole = Twin(number);
    for (std::size_t length = 0; length < whole.size(); ++length) {
      const ExactBytes prefix(whole.substr(0, length));
      std::uint64_t v = 77;
      ASSERT_EQ(Varint::Parse64WithLimit(prefix.data(), prefix.end(), &v), nullptr);
      ASSERT_EQ(v, 77u);
    }
    for (std::size_t extra = 0; extra < 12; ++extra) {
      const ExactBytes bytes(whole + std::string(extra, '\xff'));
      std::uint64_t v = 77;
      ASSERT_EQ(Varint::Parse64WithLimit(bytes.data(), bytes.end(), &v),
                bytes.data() + whole.size());
      ASSERT_EQ(v, number);
    }
  }
}

TEST(Parse64WithLimit, GoesTheFallbacksWayWithTenBytes) {
  const ExactBytes bytes("\x81\x80\x80\x80\x80\x80\x80\x80\x80\x7F");
  std::uint64_t v = 0;
  EXPECT_EQ(Varint::Parse64WithLimit(bytes.data(), bytes.end(), &v), bytes.end());
  EXPECT_EQ(v, 0x8000000000000001u);
}

TEST(SkipBackward, FindsTheFirstByteOfEachVarint) {
  for (const std::uint64_t number : Numbers()) {
    const std::string varint = Twin(number);
    const ExactBytes alone(varint);
    EXPECT_EQ(Varint::Skip64BackwardSlow(alone.end(), alone.data()), alone.data());
    const ExactBytes behind(Twin(5) + varint);
    EXPECT_EQ(Varint::Skip64BackwardSlow(behind.end(), behind.data()), behind.data() + 1);
    if (varint.size() <= 5) {
      EXPECT_EQ(Varint::Skip32BackwardSlow(behind.end(), behind.data()), behind.data() + 1);
    }
  }
}

TEST(SkipBackward, IsNullWithoutAVarintBeforeThePosition) {
  const ExactBytes bytes("\x01\x80");
  EXPECT_EQ(Varint::Skip32BackwardSlow(bytes.data(), bytes.data()), nullptr);
  EXPECT_EQ(Varint::Skip64BackwardSlow(bytes.data(), bytes.data()), nullptr);
  EXPECT_EQ(Varint::Skip64BackwardSlow(bytes.data(), bytes.end()), nullptr);
  EXPECT_EQ(Varint::Skip32BackwardSlow(bytes.end(), bytes.data()), nullptr);
  EXPECT_EQ(Varint::Skip64BackwardSlow(bytes.end(), bytes.data()), nullptr);
}

TEST(SkipBackward, CountsTheWholeVarintAgainstItsLimit) {
  for (std::size_t length = 1; length <= 13; ++length) {
    const ExactBytes bytes(std::string(length - 1, '\x80') + '\x01');
    EXPECT_EQ(Varint::Skip32BackwardSlow(bytes.end(), bytes.data()),
              length <= 5 ? bytes.data() : nullptr);
    EXPECT_EQ(Varint::Skip64BackwardSlow(bytes.end(), bytes.data()),
              length <= 10 ? bytes.data() : nullptr);
  }
}

TEST(ParseBackward, ReadsWhatWasWrittenAndGivesItsFirstByte) {
  for (const std::uint64_t number : Numbers()) {
    const ExactBytes bytes(Twin(300) + Twin(number));
    std::uint64_t v = 0;
    ASSERT_EQ(Varint::Parse64BackwardSlow(bytes.end(), bytes.data(), &v), bytes.data() + 2);
    ASSERT_EQ(v, number);
    const auto low = static_cast<std::uint32_t>(number);
    const ExactBytes low_bytes(Twin(300) + Twin(low));
    std::uint32_t narrow = 0;
    ASSERT_EQ(Varint::Parse32BackwardSlow(low_bytes.end(), low_bytes.data(), &narrow),
              low_bytes.data() + 2);
    ASSERT_EQ(narrow, low);
  }
}

TEST(ParseBackward, DropsTheBitsBeyondTheNumber) {
  const ExactBytes bytes("\xFF\xFF\xFF\xFF\x7F");
  std::uint32_t v = 0;
  EXPECT_EQ(Varint::Parse32BackwardSlow(bytes.end(), bytes.data(), &v), bytes.data());
  EXPECT_EQ(v, 0xFFFFFFFFu);
  const ExactBytes wide("\x81\x80\x80\x80\x80\x80\x80\x80\x80\x7F");
  std::uint64_t number = 0;
  EXPECT_EQ(Varint::Parse64BackwardSlow(wide.end(), wide.data(), &number), wide.data());
  EXPECT_EQ(number, 0x8000000000000001u);
}

TEST(ParseBackward, LeavesItsResultAloneOnFailure) {
  const char byte = '\x80';
  std::uint32_t v = 77;
  std::uint64_t wide = 77;
  EXPECT_EQ(Varint::Parse32BackwardSlow(&byte + 1, &byte, &v), nullptr);
  EXPECT_EQ(Varint::Parse64BackwardSlow(&byte, &byte, &wide), nullptr);
  EXPECT_EQ(v, 77u);
  EXPECT_EQ(wide, 77u);
}

std::string Pair(std::uint32_t a, std::uint32_t b) {
  std::string bytes;
  Varint::EncodeTwo32Values(&bytes, a, b);
  return bytes;
}

TEST(TwoValues, AreWrittenHalfByteByHalfByte) {
  EXPECT_EQ(Pair(1, 2), "\x21");
  EXPECT_EQ(Pair(0x123, 4), "\xC3\x84\x04");
}

TEST(TwoValues, AreOneZeroByteWhenBothAreZero) {
  EXPECT_EQ(Pair(0, 0), std::string(1, '\0'));
}

TEST(TwoValues, AreAppended) {
  std::string bytes = "x";
  Varint::EncodeTwo32Values(&bytes, 7, 7);
  EXPECT_EQ(bytes, "x\x77");
}

TEST(TwoValues, ComeBackAlsoFromOneByte) {
  std::mt19937 random(kSeed);
  for (int i = 0; i < 20000; ++i) {
    const auto a = static_cast<std::uint32_t>(random() >> random() % 32);
    const auto b = static_cast<std::uint32_t>(random() >> random() % 32);
    const ExactBytes bytes(Pair(a, b));
    std::uint32_t first = 1;
    std::uint32_t second = 1;
    ASSERT_EQ(Varint::DecodeTwo32ValuesSlow(bytes.data(), &first, &second), bytes.end());
    ASSERT_EQ(first, a);
    ASSERT_EQ(second, b);
  }
}

TEST(TwoValues, StayAsTheyWereWhenTheVarintIsTooLong) {
  std::uint32_t a = 7;
  std::uint32_t b = 8;
  EXPECT_EQ(Varint::DecodeTwo32ValuesSlow(std::string(11, '\x80').c_str(), &a, &b), nullptr);
  EXPECT_EQ(a, 7u);
  EXPECT_EQ(b, 8u);
}

}  // namespace
