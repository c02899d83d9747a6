// SPDX-License-Identifier: Apache-2.0
#include "host/text.h"

#include <gtest/gtest.h>

#include <random>

namespace nimbara {
namespace {

TEST(NullString, IsNullAndEmpty) {
  EXPECT_TRUE(QStringNull().isNull());
  EXPECT_EQ(&QStringNull(), &QStringNull());
}

TEST(Base64Decode, GivesTheBytesOfTheStandardsExamples) {
  EXPECT_EQ(Base64Decode(""), "");
  EXPECT_EQ(Base64Decode("Zg=="), "f");
  EXPECT_EQ(Base64Decode("Zm8="), "fo");
  EXPECT_EQ(Base64Decode("Zm9v"), "foo");
  EXPECT_EQ(Base64Decode("Zm9vYg=="), "foob");
  EXPECT_EQ(Base64Decode("Zm9vYmE="), "fooba");
  EXPECT_EQ(Base64Decode("Zm9vYmFy"), "foobar");
}

TEST(Base64Decode, OfNullGivesNoBytes) {
  EXPECT_TRUE(Base64Decode(nullptr).isEmpty());
}

TEST(Base64Decode, NeedsNoPadding) {
  EXPECT_EQ(Base64Decode("Zg"), "f");
  EXPECT_EQ(Base64Decode("Zm8"), "fo");
  EXPECT_EQ(Base64Decode("Z"), "");
}

TEST(Base64Decode, TakesBothAlphabets) {
  EXPECT_EQ(Base64Decode("+/+/"), "\xfb\xff\xbf");
  EXPECT_EQ(Base64Decode("-_-_"), "\xfb\xff\xbf");
  EXPECT_EQ(Base64Decode("-/+_"), "\xfb\xff\xbf");
}

TEST(Base64Decode, PassesOverWhiteSpaceAnywhere) {
  EXPECT_EQ(Base64Decode(" Zm9\r\nvYm\tFy \n"), "foobar");
  EXPECT_EQ(Base64Decode("Z m 9 v Y m F y"), "foobar");
}

TEST(Base64Decode, EndsAtTheFirstZero) {
  EXPECT_EQ(Base64Decode("Zm9v\0Zm9v"), "foo");
}

TEST(Base64Decode, TakesBackWhatTheEncoderGives) {
  for (int size = 0; size < 100; ++size) {
    QByteArray bytes(size, 'x');
    for (int i = 0; i < size; ++i) {
      bytes[i] = static_cast<char>(37 * i + size);
    }
    EXPECT_EQ(Base64Decode(Base64Encode(bytes.constData(), size).constData()), bytes);
  }
}

TEST(Base64Decode, OfAnyCharactersGivesWhatTheToolkitGives) {
  constexpr unsigned kSeed = 78;
  SCOPED_TRACE(kSeed);
  std::mt19937 random(kSeed);
  const QByteArray digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  for (int i = 0; i < 20000; ++i) {
    QByteArray text(static_cast<int>(random() % 60), ' ');
    for (char& c : text) {
      const bool is_foreign = random() % static_cast<unsigned>(i % 40 + 1) == 0;
      c = is_foreign ? static_cast<char>(random() % 255 + 1)
                     : digits[static_cast<int>(random() % 64)];
    }
    // The toolkit knows one alphabet at a time.
    const QByteArray one_alphabet = QByteArray(text).replace('-', '+').replace('_', '/');
    ASSERT_EQ(Base64Decode(text.constData()), QByteArray::fromBase64(one_alphabet))
        << text.constData();
  }
}

TEST(Base64Encode, WritesTheUrlAlphabetWithPadding) {
  EXPECT_EQ(Base64Encode("\xfb\xff\xbf\xff", 4), "-_-__w==");
  EXPECT_TRUE(Base64Encode("x", 0).isEmpty());
  EXPECT_TRUE(Base64Encode(nullptr, -1).isEmpty());
  EXPECT_TRUE(Base64Encode(nullptr, 4).isEmpty());
}

}  // namespace
}  // namespace nimbara
