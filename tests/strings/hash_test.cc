// SPDX-License-Identifier: Apache-2.0
#include "strings/hash.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <random>
#include <string>

#include "tests/strings/hash_twin.h"

namespace {

constexpr unsigned kSeed = 20261121;

// From a block of exactly the text's size, so that a sanitizer sees a read behind it.
unsigned Hash32(const std::string& text, unsigned seed) {
  const std::unique_ptr<char[]> bytes(new char[text.size()]);
  std::memcpy(bytes.get(), text.data(), text.size());
  return Hash32StringWithSeed(bytes.get(), static_cast<unsigned>(text.size()), seed);
}

unsigned long long Hash64(const std::string& text, unsigned long long seed) {
  const std::unique_ptr<char[]> bytes(new char[text.size()]);
  std::memcpy(bytes.get(), text.data(), text.size());
  return Hash64StringWithSeed(bytes.get(), static_cast<unsigned>(text.size()), seed);
}

std::string RandomText(std::mt19937* random, unsigned length, unsigned largest_byte) {
  std::string text;
  for (unsigned i = 0; i < length; ++i) {
    text.push_back(static_cast<char>((*random)() % (largest_byte + 1)));
  }
  return text;
}

TEST(Hash32, IsThePublishedFunctionForSevenBitText) {
  std::mt19937 random(kSeed);
  for (unsigned length = 0; length <= 100; ++length) {
    const std::string text = RandomText(&random, length, 127);
    const auto seed = static_cast<unsigned>(random());
    ASSERT_EQ(Hash32(text, seed), test_support::PublishedLookup2(text, seed)) << length;
  }
}

TEST(Hash32, GivesTheNumbersOfAnotherImplementationOfThePublishedFunction) {
  EXPECT_EQ(Hash32("a", 0), 703514648u);
  EXPECT_EQ(Hash32("abcdefghijk", 0), 3844836940u);
  EXPECT_EQ(Hash32("hello world!", 0), 516731539u);
  EXPECT_EQ(Hash32("hello world!hello world", 0), 3611752645u);
}

TEST(Hash32, TakesTheBytesOfWholeWordsAsSigned) {
  std::mt19937 random(kSeed);
  for (unsigned length = 0; length <= 100; ++length) {
    for (int repeat = 0; repeat < 20; ++repeat) {
      const std::string text = RandomText(&random, length, 255);
      const auto seed = static_cast<unsigned>(random());
      ASSERT_EQ(Hash32(text, seed), test_support::SignedLookup2(text, seed)) << length;
    }
  }
}

TEST(Hash32, DiffersFromThePublishedFunctionInAWholeWordOfTheTail) {
  for (const std::size_t length : {4u, 7u, 8u, 11u, 12u, 16u}) {
    const std::string text(length, '\x80');
    EXPECT_NE(Hash32(text, 1), test_support::PublishedLookup2(text, 1)) << length;
  }
}

TEST(Hash32, TakesTheSingleBytesOfTheTailAsUnsigned) {
  for (const std::string& text :
       {std::string("\x80"), std::string("\xff\x80\x81"), std::string("abcd\xff\xfe\xfd"),
        std::string("abcdefgh\x80\x90\xa0"), std::string("abcdefghijkl\xff")}) {
    EXPECT_EQ(Hash32(text, 7), test_support::PublishedLookup2(text, 7)) << text.size();
  }
}

TEST(Hash32, AgreesWithItsReferenceImplementation) {
  std::mt19937 random(kSeed + 1);
  for (int i = 0; i < 5000; ++i) {
    const std::string text = RandomText(&random, static_cast<unsigned>(random() % 64), 255);
    const auto seed = static_cast<unsigned>(random());
    const auto length = static_cast<unsigned>(text.size());
    ASSERT_EQ(Hash32(text, seed),
              Hash32StringWithSeedReferenceImplementation(text.data(), length, seed));
  }
}

TEST(Hash32, TakesANullPointerWithoutBytes) {
  EXPECT_EQ(Hash32StringWithSeed(nullptr, 0, 5), Hash32("", 5));
  EXPECT_EQ(Hash32StringWithSeedReferenceImplementation(nullptr, 0, 5), Hash32("", 5));
  EXPECT_EQ(Hash64StringWithSeed(nullptr, 0, 5), Hash64("", 5));
}

TEST(Hash64, IsThePublishedFunctionForAnyBytes) {
  std::mt19937 random(kSeed + 2);
  for (unsigned length = 0; length <= 150; ++length) {
    for (int repeat = 0; repeat < 10; ++repeat) {
      const std::string text = RandomText(&random, length, 255);
      const unsigned long long seed = (static_cast<unsigned long long>(random()) << 32) | random();
      ASSERT_EQ(Hash64(text, seed), test_support::PublishedLookup8(text, seed)) << length;
    }
  }
}

}  // namespace
