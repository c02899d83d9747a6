// SPDX-License-Identifier: Apache-2.0
#include "strings/numbers.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <limits>
#include <optional>
#include <random>
#include <string>

#include "tests/strings/number_twin.h"

namespace {

constexpr int kIntMax = std::numeric_limits<int>::max();
constexpr int kIntMin = std::numeric_limits<int>::min();
constexpr auto kLongMax = std::numeric_limits<long long>::max();
constexpr auto kLongMin = std::numeric_limits<long long>::min();
constexpr auto kUnsignedLongMax = std::numeric_limits<unsigned long long>::max();

// One name for each type's function, and nothing where it failed. A failure must leave the value as
// it was.
template <typename Number, typename Text>
std::optional<Number> Checked(bool (*parse)(Text, Number*, int), Text text, int base) {
  constexpr Number kBefore = 77;
  Number value = kBefore;
  if (parse(text, &value, base)) {
    return value;
  }
  EXPECT_EQ(value, kBefore);
  return std::nullopt;
}

std::optional<int> Int(StringPiece text, int base = 10) {
  return Checked<int, StringPiece>(&safe_strto32_base, text, base);
}
std::optional<long long> Long(StringPiece text, int base = 10) {
  return Checked<long long, StringPiece>(&safe_strto64_base, text, base);
}
std::optional<unsigned> Unsigned(StringPiece text, int base = 10) {
  return Checked<unsigned, StringPiece>(&safe_strtou32_base, text, base);
}
std::optional<unsigned long long> UnsignedLong(StringPiece text, int base = 10) {
  return Checked<unsigned long long, StringPiece>(&safe_strtou64_base, text, base);
}
std::optional<int> CInt(const char* text, int base = 10) {
  return Checked<int, const char*>(&safe_strto32_base, text, base);
}
std::optional<long long> CLong(const char* text, int base = 10) {
  return Checked<long long, const char*>(&safe_strto64_base, text, base);
}
std::optional<unsigned> CUnsigned(const char* text, int base = 10) {
  return Checked<unsigned, const char*>(&safe_strtou32_base, text, base);
}
std::optional<unsigned long long> CUnsignedLong(const char* text, int base = 10) {
  return Checked<unsigned long long, const char*>(&safe_strtou64_base, text, base);
}

TEST(SafeStrto, SkipsWhiteSpaceAtBothEnds) {
  EXPECT_EQ(Int(" 12 "), 12);
  EXPECT_EQ(Int("\t\n\v\f\r12\r\f\v\n\t"), 12);
  EXPECT_EQ(Int("1 2"), std::nullopt);
}

TEST(SafeStrto, FailsOnEmptyTextAndOnWhiteSpaceAlone) {
  EXPECT_EQ(Int(""), std::nullopt);
  EXPECT_EQ(Int(StringPiece()), std::nullopt);
  EXPECT_EQ(Int(" \t "), std::nullopt);
}

TEST(SafeStrto, FailsOnALoneSign) {
  EXPECT_EQ(Int("-"), std::nullopt);
  EXPECT_EQ(Int("+"), std::nullopt);
  EXPECT_EQ(Int(" - "), std::nullopt);
  EXPECT_EQ(UnsignedLong("+"), std::nullopt);
}

TEST(SafeStrto, TakesOneSignRightAheadOfTheDigits) {
  EXPECT_EQ(Int("-12"), -12);
  EXPECT_EQ(Int("+12"), 12);
  EXPECT_EQ(Int("--12"), std::nullopt);
  EXPECT_EQ(Int("+-12"), std::nullopt);
  EXPECT_EQ(Int("- 12"), std::nullopt);
  EXPECT_EQ(Int("-0"), 0);
}

TEST(SafeStrto, FailsOnAMinusForUnsignedTypesAndTakesAPlus) {
  EXPECT_EQ(Unsigned("-1"), std::nullopt);
  EXPECT_EQ(Unsigned("-0"), std::nullopt);
  EXPECT_EQ(UnsignedLong("-1"), std::nullopt);
  EXPECT_EQ(Unsigned("+1"), 1u);
  EXPECT_EQ(UnsignedLong("+1"), 1u);
}

TEST(SafeStrto, FindsTheBaseByThePrefixInBaseZero) {
  EXPECT_EQ(Int("0x10", 0), 16);
  EXPECT_EQ(Int("0X1f", 0), 31);
  EXPECT_EQ(Int("010", 0), 8);
  EXPECT_EQ(Int("10", 0), 10);
  EXPECT_EQ(Int("0", 0), 0);
  EXPECT_EQ(Int("00", 0), 0);
  EXPECT_EQ(Int("-0x10", 0), -16);
  EXPECT_EQ(Int("-010", 0), -8);
  EXPECT_EQ(Int("08", 0), std::nullopt);
  EXPECT_EQ(Int("0b1", 0), std::nullopt);
}

TEST(SafeStrto, SkipsTheHexPrefixInBaseSixteenOnly) {
  EXPECT_EQ(Int("0x1F", 16), 31);
  EXPECT_EQ(Int("1f", 16), 31);
  EXPECT_EQ(Int("0b1", 16), 0xb1);
  EXPECT_EQ(Int("0x10", 10), std::nullopt);
  EXPECT_EQ(Int("0x10", 36), 33 * 36 * 36 + 36);
}

TEST(SafeStrto, WantsADigitBehindTheHexPrefix) {
  EXPECT_EQ(Int("0x", 0), std::nullopt);
  EXPECT_EQ(Int("0X", 16), std::nullopt);
  EXPECT_EQ(Int("-0x", 16), std::nullopt);
  EXPECT_EQ(Int("0x ", 16), std::nullopt);
  EXPECT_EQ(Int("0x-1", 16), std::nullopt);
  EXPECT_EQ(Int("0x0x1", 16), std::nullopt);
}

TEST(SafeStrto, TakesBasesTwoToThirtySix) {
  EXPECT_EQ(Int("101", 2), 5);
  EXPECT_EQ(Int("zZ", 36), 35 * 36 + 35);
  EXPECT_EQ(Int("2", 2), std::nullopt);
  EXPECT_EQ(Int("z", 35), std::nullopt);
  for (const int base : {-16, -1, 1, 37, kIntMax, kIntMin}) {
    EXPECT_EQ(Int("1", base), std::nullopt) << base;
    EXPECT_EQ(CInt("1", base), std::nullopt) << base;
  }
}

TEST(SafeStrto, ReadsTheLimitsOfEachTypeAndNothingBeyond) {
  EXPECT_EQ(Int("2147483647"), kIntMax);
  EXPECT_EQ(Int("2147483648"), std::nullopt);
  EXPECT_EQ(Int("-2147483648"), kIntMin);
  EXPECT_EQ(Int("-2147483649"), std::nullopt);
  EXPECT_EQ(Unsigned("4294967295"), 4294967295u);
  EXPECT_EQ(Unsigned("4294967296"), std::nullopt);
  EXPECT_EQ(Long("9223372036854775807"), kLongMax);
  EXPECT_EQ(Long("9223372036854775808"), std::nullopt);
  EXPECT_EQ(Long("-9223372036854775808"), kLongMin);
  EXPECT_EQ(Long("-9223372036854775809"), std::nullopt);
  EXPECT_EQ(UnsignedLong("18446744073709551615"), kUnsignedLongMax);
  EXPECT_EQ(UnsignedLong("18446744073709551616"), std::nullopt);
  EXPECT_EQ(UnsignedLong("99999999999999999999999999"), std::nullopt);
}

TEST(SafeStrto, FailsOnANulInsideTheText) {
  EXPECT_EQ(Int(StringPiece("1\0", 2)), std::nullopt);
  EXPECT_EQ(Int(StringPiece("1\0002", 3)), std::nullopt);
}

TEST(SafeStrto, ReadsNothingBehindItsPiece) {
  EXPECT_EQ(Int(StringPiece("12345", 2)), 12);
  EXPECT_EQ(Int(StringPiece("0x1", 2), 16), std::nullopt);
}

TEST(SafeStrto, FollowsTheSameRuleOnStrings) {
  int value = 0;
  long long long_value = 0;
  unsigned unsigned_value = 0;
  unsigned long long unsigned_long_value = 0;
  EXPECT_TRUE(safe_strto32(std::string(" 12 "), &value));
  EXPECT_EQ(value, 12);
  EXPECT_TRUE(safe_strto64(std::string("-9223372036854775808"), &long_value));
  EXPECT_EQ(long_value, kLongMin);
  EXPECT_FALSE(safe_strtou32(std::string("-1"), &unsigned_value));
  EXPECT_FALSE(safe_strtou64(std::string("-1"), &unsigned_long_value));
  EXPECT_FALSE(safe_strto32(std::string("1\0", 2), &value));
  EXPECT_TRUE(safe_strto32_base(std::string("ff"), &value, 16));
  EXPECT_EQ(value, 255);
  EXPECT_TRUE(safe_strto64_base(std::string("ff"), &long_value, 16));
  EXPECT_TRUE(safe_strtou32_base(std::string("ff"), &unsigned_value, 16));
  EXPECT_TRUE(safe_strtou64_base(std::string("ff"), &unsigned_long_value, 16));
  EXPECT_EQ(unsigned_long_value, 255u);
}

TEST(SafeStrto, IsDecimalWithoutABase) {
  int value = 0;
  long long long_value = 0;
  unsigned unsigned_value = 0;
  unsigned long long unsigned_long_value = 0;
  EXPECT_TRUE(safe_strto32(StringPiece("010"), &value));
  EXPECT_EQ(value, 10);
  EXPECT_TRUE(safe_strto64(StringPiece("010"), &long_value));
  EXPECT_EQ(long_value, 10);
  EXPECT_TRUE(safe_strtou32(StringPiece("010"), &unsigned_value));
  EXPECT_EQ(unsigned_value, 10u);
  EXPECT_TRUE(safe_strtou64(StringPiece("010"), &unsigned_long_value));
  EXPECT_EQ(unsigned_long_value, 10u);
  EXPECT_TRUE(safe_strto32("010", &value));
  EXPECT_TRUE(safe_strto64("010", &long_value));
  EXPECT_TRUE(safe_strtou32("010", &unsigned_value));
  EXPECT_TRUE(safe_strtou64("010", &unsigned_long_value));
  EXPECT_EQ(unsigned_long_value, 10u);
}

TEST(SafeStrto, ReadsAsItsTwinOnTextThatAlmostIsANumber) {
  const std::string alphabet = "0123456789-+xXbfFzZ \t8";
  constexpr int kBases[] = {0, 2, 8, 10, 16, 36, 1, 37};
  constexpr unsigned kSeed = 20261121;
  std::mt19937 random(kSeed);
  for (int i = 0; i < 100000; ++i) {
    std::string text;
    for (auto length = random() % 24; length > 0; --length) {
      text.push_back(alphabet[random() % (random() % 3 == 0 ? alphabet.size() : 10)]);
    }
    const int base = kBases[random() % 8];
    ASSERT_EQ(Int(text, base), test_support::NumberTwin<int>(text, base)) << text << " " << base;
    ASSERT_EQ(Long(text, base), test_support::NumberTwin<long long>(text, base)) << text;
    ASSERT_EQ(Unsigned(text, base), test_support::NumberTwin<unsigned>(text, base)) << text;
    ASSERT_EQ(UnsignedLong(text, base), test_support::NumberTwin<unsigned long long>(text, base))
        << text;
  }
}

TEST(SafeStrto, ReadsAsItsTwinAroundTheLimitsInEveryBase) {
  const auto digits = [](test_support::Wide value, int base) {
    std::string text;
    const bool negative = value < 0;
    for (value = negative ? -value : value; value != 0 || text.empty(); value /= base) {
      text.insert(text.begin(), "0123456789abcdefghijklmnopqrstuvwxyz"[static_cast<int>(
                                    value % static_cast<test_support::Wide>(base))]);
    }
    return (negative ? "-" : "") + text;
  };
  const test_support::Wide limits[] = {kIntMax,  kIntMin,  4294967295u,
                                       kLongMax, kLongMin, kUnsignedLongMax};
  for (int base = 2; base <= 36; ++base) {
    for (const test_support::Wide limit : limits) {
      for (int step = -40; step <= 40; ++step) {
        const std::string text = digits(limit + step, base);
        ASSERT_EQ(Int(text, base), test_support::NumberTwin<int>(text, base)) << text;
        ASSERT_EQ(Long(text, base), test_support::NumberTwin<long long>(text, base)) << text;
        ASSERT_EQ(Unsigned(text, base), test_support::NumberTwin<unsigned>(text, base)) << text;
        ASSERT_EQ(UnsignedLong(text, base),
                  test_support::NumberTwin<unsigned long long>(text, base))
            << text;
      }
    }
  }
}

TEST(SafeStrtoOfCText, FailsOnNullEmptyTextAndWhiteSpaceAlone) {
  EXPECT_EQ(CInt(nullptr), std::nullopt);
  EXPECT_EQ(CInt(""), std::nullopt);
  EXPECT_EQ(CInt(" \t"), std::nullopt);
  EXPECT_EQ(CInt("-"), std::nullopt);
}

TEST(SafeStrtoOfCText, TakesOnlyWhiteSpaceBehindTheNumber) {
  EXPECT_EQ(CInt(" 12 \n"), 12);
  EXPECT_EQ(CInt("12a"), std::nullopt);
  EXPECT_EQ(CInt("12 a"), std::nullopt);
  EXPECT_EQ(CInt("12\xa0"), std::nullopt);
}

TEST(SafeStrtoOfCText, FailsOnWhatDoesNotFit) {
  EXPECT_EQ(CInt("2147483647"), kIntMax);
  EXPECT_EQ(CInt("2147483648"), std::nullopt);
  EXPECT_EQ(CInt("-2147483648"), kIntMin);
  EXPECT_EQ(CInt("-2147483649"), std::nullopt);
  EXPECT_EQ(CLong("-9223372036854775808"), kLongMin);
  EXPECT_EQ(CLong("9223372036854775808"), std::nullopt);
  EXPECT_EQ(CUnsigned("4294967296"), std::nullopt);
  EXPECT_EQ(CUnsignedLong("18446744073709551615"), kUnsignedLongMax);
  EXPECT_EQ(CUnsignedLong("18446744073709551616"), std::nullopt);
}

TEST(SafeStrtoOfCText, TakesAMinusAsStrtoulDoes) {
  EXPECT_EQ(CUnsignedLong("-1"), kUnsignedLongMax);
  EXPECT_EQ(CUnsigned("-0"), 0u);
  EXPECT_EQ(CUnsigned("-1"), std::nullopt);
  EXPECT_EQ(CUnsigned("-18446744073709551615"), 1u);
}

TEST(SafeStrtoOfCText, IsNotMisledByAnEarlierError) {
  errno = ERANGE;
  EXPECT_EQ(CInt("12"), 12);
}

TEST(SafeStrtoOfCText, KnowsTheHexPrefixOnlyWithADigit) {
  EXPECT_EQ(CInt("0x10", 0), 16);
  EXPECT_EQ(CInt("0X10", 16), 16);
  EXPECT_EQ(CInt("0x", 16), std::nullopt);
  EXPECT_EQ(CInt("0xg", 0), std::nullopt);
  EXPECT_EQ(CInt("010", 0), 8);
}

TEST(SafeStrtoOfCText, KnowsNoBinaryPrefix) {
  EXPECT_EQ(CInt("0b1", 0), std::nullopt);
  EXPECT_EQ(CInt("-0B1", 2), std::nullopt);
  EXPECT_EQ(CUnsigned("0b1", 2), std::nullopt);
  EXPECT_EQ(CInt("0b1", 16), 0xb1);
}

TEST(ParseLeadingDec32Value, ReadsTheNumberAndIgnoresWhatFollows) {
  EXPECT_EQ(ParseLeadingDec32Value("2017:12:31", -1), 2017);
  EXPECT_EQ(ParseLeadingDec32Value(" +12abc", -1), 12);
  EXPECT_EQ(ParseLeadingDec32Value("-5.9", -1), -5);
  EXPECT_EQ(ParseLeadingDec32Value("010", -1), 10);
  EXPECT_EQ(ParseLeadingDec32Value("0x10", -1), 0);
}

TEST(ParseLeadingDec32Value, GivesTheDefaultWithoutDigits) {
  EXPECT_EQ(ParseLeadingDec32Value("", -1), -1);
  EXPECT_EQ(ParseLeadingDec32Value("abc", 42), 42);
  EXPECT_EQ(ParseLeadingDec32Value("-", 42), 42);
  EXPECT_EQ(ParseLeadingDec32Value(nullptr, 42), 42);
}

TEST(ParseLeadingDec32Value, ClampsToInt) {
  EXPECT_EQ(ParseLeadingDec32Value("2147483648", 0), kIntMax);
  EXPECT_EQ(ParseLeadingDec32Value("-2147483649", 0), kIntMin);
  EXPECT_EQ(ParseLeadingDec32Value("99999999999999999999999", 0), kIntMax);
  EXPECT_EQ(ParseLeadingDec32Value("-99999999999999999999999", 0), kIntMin);
}

TEST(ParseLeadingInt32Value, FindsTheBaseByThePrefix) {
  EXPECT_EQ(ParseLeadingInt32Value("0x1F and more", -1), 31);
  EXPECT_EQ(ParseLeadingInt32Value("0x", -1), 0);
  EXPECT_EQ(ParseLeadingInt32Value("010", -1), 8);
  EXPECT_EQ(ParseLeadingInt32Value("089", -1), 0);
  EXPECT_EQ(ParseLeadingInt32Value("10", -1), 10);
  EXPECT_EQ(ParseLeadingInt32Value("0b11", -1), 0);
  EXPECT_EQ(ParseLeadingInt32Value("x", -1), -1);
  EXPECT_EQ(ParseLeadingInt32Value("0xffffffffff", -1), kIntMax);
}

}  // namespace
