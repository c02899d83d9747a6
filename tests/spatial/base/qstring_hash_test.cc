// SPDX-License-Identifier: Apache-2.0
#include "spatial/base/qstring_hash.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

namespace nimbara {
namespace spatial {
namespace {

// The hash over bytes, a byte at a time.
std::uint32_t SlowHash(const QString& text) {
  std::vector<std::uint8_t> bytes;
  for (const QChar unit : text) {
    bytes.push_back(static_cast<std::uint8_t>(unit.unicode() & 0xFF));
    bytes.push_back(static_cast<std::uint8_t>(unit.unicode() >> 8));
  }
  const std::uint32_t m = 0x5BD1E995u;
  std::uint32_t h = 0x12345678u;
  std::size_t i = 0;
  for (; i + 4 <= bytes.size(); i += 4) {
    std::uint32_t k = 0;
    for (std::size_t b = 4; b-- > 0;) {
      k = k * 256 + bytes[i + b];
    }
    k *= m;
    k ^= k >> 24;
    k *= m;
    h = h * m ^ k;
  }
  if (i < bytes.size()) {
    h ^= static_cast<std::uint32_t>(bytes[i + 1]) << 8;
    h ^= bytes[i];
    h *= m;
  }
  h ^= h >> 13;
  h *= m;
  return h ^ h >> 15;
}

// 0x12345678 ^ 0x12345678 >> 13 = 0x1234C7DA; times the multiplier 0x4997BBE2;
// ^ >> 15 (0x932F) = 0x499728CD.
TEST(QStringHash, OfTheEmptyStringIsTheSeedPutThroughTheFinalMix) {
  EXPECT_EQ(HashQString(QString("")), 0x499728CDu);
}

TEST(QStringHash, OfTheNullStringEqualsThatOfTheEmptyOne) {
  EXPECT_EQ(HashQString(QString()), 0x499728CDu);
}

TEST(QStringHash, TakesAnOddLastUnitAsATail) {
  EXPECT_EQ(HashQString("A"), 0x19D882F8u);
  EXPECT_EQ(HashQString("ABC"), 0xF6C4B882u);
}

TEST(QStringHash, TakesTwoUnitsAsOneBlockLowByteFirst) {
  EXPECT_EQ(HashQString("AB"), 0xC332813Du);
  EXPECT_EQ(HashQString(QString(QChar(0x00E9)) + QChar(0x4E2D)), 0x2C636723u);
}

TEST(QStringHash, OfAnOrdinaryPanoramaId) {
  EXPECT_EQ(HashQString("xK0i1aVnW7kZ0uQ2rTgB9e"), 0x8F77E602u);
}

TEST(QStringHash, DoesNotMixTheLengthIn) {
  EXPECT_EQ(HashQString(QString(1, QChar(0))), HashQString(QString(2, QChar(0))));
}

TEST(QStringHash, AgreesWithItsByteWiseTwinOnRandomStrings) {
  constexpr unsigned kSeed = 20261121;
  SCOPED_TRACE(kSeed);
  std::mt19937 random(kSeed);
  std::uniform_int_distribution<int> length(0, 60);
  std::uniform_int_distribution<int> unit(0, 0xFFFF);
  for (int i = 0; i < 5000; ++i) {
    QString text;
    for (int left = length(random); left > 0; --left) {
      text.append(QChar(unit(random)));
    }
    ASSERT_EQ(HashQString(text), SlowHash(text)) << text.toStdString();
  }
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
