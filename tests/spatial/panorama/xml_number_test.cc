// SPDX-License-Identifier: Apache-2.0
#include "spatial/panorama/xml_number.h"

#include <gtest/gtest.h>

#include <QByteArray>
#include <algorithm>
#include <cstring>
#include <memory>
#include <random>

namespace nimbara {
namespace spatial {
namespace {

// Exactly sized, so that a sanitizer sees a read behind the end.
class SizedText {
 public:
  explicit SizedText(const QByteArray& bytes)
      : bytes_(new char[static_cast<std::size_t>(bytes.size())]), size_(bytes.size()) {
    std::copy(bytes.begin(), bytes.end(), bytes_.get());
  }
  XmlText text() const {
    XmlText text;
    text.data = bytes_.get();
    text.size = size_;
    return text;
  }

 private:
  std::unique_ptr<char[]> bytes_;
  int size_;
};

// Equal to the bit; any two not-a-numbers are equal too.
bool Identical(double a, double b) {
  return (a != a && b != b) || std::memcmp(&a, &b, sizeof(a)) == 0;
}

void ExpectWhatTheToolkitReads(const QByteArray& bytes) {
  const SizedText sized(bytes);
  const QString string = QString::fromUtf8(bytes.constData(), bytes.size());
  EXPECT_TRUE(Identical(ToDouble(sized.text()), string.toDouble())) << bytes.constData();
  EXPECT_EQ(ToInt(sized.text()), string.toInt()) << bytes.constData();
  EXPECT_EQ(ToULongLong(sized.text()), string.toULongLong()) << bytes.constData();
  bool ok = false;
  bool toolkit_ok = false;
  EXPECT_EQ(ToUIntBase16(sized.text(), &ok), string.toUInt(&toolkit_ok, 16)) << bytes.constData();
  EXPECT_EQ(ok, toolkit_ok) << bytes.constData();
}

TEST(XmlNumber, OfNoTextIsZero) {
  bool ok = true;
  EXPECT_EQ(ToDouble(XmlText()), 0.0);
  EXPECT_EQ(ToInt(XmlText()), 0);
  EXPECT_EQ(ToULongLong(XmlText()), 0u);
  EXPECT_EQ(ToUIntBase16(XmlText(), &ok), 0u);
  EXPECT_FALSE(ok);
}

TEST(XmlNumber, IsWhatTheToolkitReadsAtTheEdges) {
  for (const char* text : {"",
                           "-",
                           "+",
                           ".",
                           "-.",
                           " ",
                           "0",
                           "-0",
                           "+0",
                           "-0.0",
                           "5.",
                           ".5",
                           "-.5",
                           "1.",
                           "01",
                           "007.50",
                           "0x10",
                           "0X1f",
                           "-0x1",
                           "#ff",
                           "1 2",
                           "\t1\n",
                           " 1",
                           "1 ",
                           "\xc2\xa0"
                           "1",
                           "1,5",
                           "1'000",
                           "1,000",
                           "1e5",
                           "1E5",
                           "1e",
                           "1e+5",
                           "1e400",
                           "-1e400",
                           "1e-400",
                           "nan",
                           "NaN",
                           "-nan",
                           "inf",
                           "+inf",
                           "-inf",
                           "Infinity",
                           "INF",
                           "2147483647",
                           "2147483648",
                           "-2147483648",
                           "-2147483649",
                           "999999999",
                           "9999999999",
                           "-999999999",
                           "4294967295",
                           "4294967296",
                           "18446744073709551615",
                           "18446744073709551616",
                           "999999999999999999",
                           "FFFFFFFF",
                           "100000000",
                           "1FFFFFFFF",
                           "ffffffff",
                           "0000000000000000001",
                           "-ff",
                           "-1",
                           "--1",
                           "+-1",
                           "1-",
                           "1..2",
                           "1.2.3",
                           "9007199254740993",
                           "9007199254740992.5",
                           "0.1",
                           "123456789012345678901234567890",
                           "2.2250738585072011e-308",
                           "4.9e-324",
                           "1.7976931348623157e308",
                           "1.7976931348623159e308",
                           "\xd9\xa1\xd9\xa2",
                           "\xef\xbc\x91",
                           "\xe2\x88\x92"
                           "1",
                           "12abc",
                           "abc",
                           "\xff",
                           "1_000"}) {
    ExpectWhatTheToolkitReads(text);
  }
}

TEST(XmlNumber, IsWhatTheToolkitReadsBehindAnEmbeddedZero) {
  ExpectWhatTheToolkitReads(QByteArray("12\0"
                                       "3",
                                       4));
  ExpectWhatTheToolkitReads(QByteArray("12\0", 3));
}

TEST(XmlNumber, WithHundredsOfDigitsIsWhatTheToolkitReads) {
  for (const int digits : {17, 18, 19, 20, 60, 308, 309, 310, 400, 900}) {
    ExpectWhatTheToolkitReads(QByteArray(digits, '9'));
    ExpectWhatTheToolkitReads(QByteArray("0.") + QByteArray(digits, '0') + "1");
    ExpectWhatTheToolkitReads("-1." + QByteArray(digits, '3'));
    ExpectWhatTheToolkitReads(QByteArray(digits, '0') + "12");
  }
}

TEST(XmlNumber, OfRandomCharactersIsWhatTheToolkitReads) {
  constexpr unsigned kSeed = 76;
  SCOPED_TRACE(kSeed);
  std::mt19937 random(kSeed);
  const QByteArray alphabet = "0123456789012345678901234567890123456789..--+eE xXabcdefinINFna,\t";
  for (int i = 0; i < 100000 && !::testing::Test::HasFailure(); ++i) {
    QByteArray text(static_cast<int>(random() % 14), ' ');
    for (char& c : text) {
      c = alphabet[static_cast<int>(random() % static_cast<unsigned>(alphabet.size()))];
    }
    ExpectWhatTheToolkitReads(text);
  }
}

TEST(XmlNumber, OfRandomDecimalsIsWhatTheToolkitReads) {
  constexpr unsigned kSeed = 77;
  SCOPED_TRACE(kSeed);
  std::mt19937_64 random(kSeed);
  for (int i = 0; i < 100000 && !::testing::Test::HasFailure(); ++i) {
    // Any bit pattern, written shortest, exactly enough, and cut off.
    const std::uint64_t bits = random();
    double value = 0.0;
    std::memcpy(&value, &bits, sizeof(value));
    if (i % 2 == 0) {
      value = 360.0 * static_cast<double>(bits >> 11) / 9007199254740992.0 - 180.0;
    }
    ExpectWhatTheToolkitReads(QByteArray::number(value, 'g', 17));
    ExpectWhatTheToolkitReads(QByteArray::number(value, 'g', static_cast<int>(random() % 20 + 1)));
    if (i % 2 == 0) {
      ExpectWhatTheToolkitReads(QByteArray::number(value, 'f', static_cast<int>(random() % 30)));
    }
  }
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
