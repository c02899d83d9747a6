// SPDX-License-Identifier: Apache-2.0
#include "spatial/geodesy/elevation_signature.h"

#include <gtest/gtest.h>

#include <QByteArray>
#include <QCryptographicHash>
#include <QMessageAuthenticationCode>
#include <cstring>
#include <random>
#include <vector>

#include "tests/support/heap_snapshot.h"

namespace nimbara {
namespace spatial {
namespace {

constexpr char kDevelopmentKey[] = "pelorin development key";

QByteArray Bytes(std::mt19937* draw, int size) {
  QByteArray bytes(size, '\0');
  for (char& byte : bytes) {
    byte = static_cast<char>((*draw)() & 0xFF);
  }
  return bytes;
}

QByteArray Signature(const QByteArray& text) {
  // An exactly sized copy, so that a sanitizer sees a byte read behind it.
  const std::vector<unsigned char> data(text.begin(), text.end());
  QByteArray signature(kElevationSignatureSize, '\0');
  ComputeElevationQuerySignature(data.data(), static_cast<int>(data.size()),
                                 reinterpret_cast<unsigned char*>(signature.data()));
  return signature;
}

/// The same by a library.
QByteArray Expected(const QByteArray& text, const QByteArray& key) {
  QByteArray message = "pelorin elevation request 1";
  message.append(QByteArray(64 - message.size(), '\0'));
  message.append(text.mid(64));
  return QMessageAuthenticationCode::hash(message, key, QCryptographicHash::Sha1);
}

class ElevationSignatureTest : public testing::Test {
 protected:
  ~ElevationSignatureTest() override { SetElevationQueryKey(nullptr, 0); }
  static void SetKey(const QByteArray& key) {
    SetElevationQueryKey(reinterpret_cast<const unsigned char*>(key.constData()), key.size());
  }
};

TEST_F(ElevationSignatureTest, IsTheLibrarysKeyedHashForEveryLengthOfText) {
  std::mt19937 draw(20260);
  for (int length = 0; length <= 400; ++length) {
    const QByteArray text = Bytes(&draw, length);
    EXPECT_EQ(Signature(text).toHex(), Expected(text, kDevelopmentKey).toHex()) << length;
  }
}

TEST_F(ElevationSignatureTest, IsTheLibrarysKeyedHashForEveryLengthOfKey) {
  std::mt19937 draw(20261);
  for (int length = 1; length <= 200; ++length) {
    const QByteArray key = Bytes(&draw, length);
    const QByteArray text = Bytes(&draw, 100 + length);
    SetKey(key);
    EXPECT_EQ(Signature(text).toHex(), Expected(text, key).toHex()) << length;
  }
}

TEST_F(ElevationSignatureTest, GoesBackToTheDevelopmentKeyForNoKey) {
  const QByteArray text(90, 'a');
  SetKey("of the deployment");
  EXPECT_NE(Signature(text), Expected(text, kDevelopmentKey));
  SetElevationQueryKey(nullptr, 12);
  EXPECT_EQ(Signature(text), Expected(text, kDevelopmentKey));
  SetKey("of the deployment");
  SetElevationQueryKey(reinterpret_cast<const unsigned char*>("x"), -1);
  EXPECT_EQ(Signature(text), Expected(text, kDevelopmentKey));
}

TEST_F(ElevationSignatureTest, DoesNotDependOnTheFirst64Bytes) {
  const QByteArray tail(50, 't');
  EXPECT_EQ(Signature(QByteArray(64, 'a') + tail), Signature(QByteArray(64, 'b') + tail));
}

TEST_F(ElevationSignatureTest, DependsOnEveryByteBehindTheFirst64) {
  const QByteArray text(200, 'a');
  for (int i = 64; i < text.size(); ++i) {
    QByteArray other = text;
    other[i] = 'b';
    EXPECT_NE(Signature(text), Signature(other)) << i;
  }
}

TEST_F(ElevationSignatureTest, DependsOnTheLength) {
  EXPECT_NE(Signature(QByteArray(64, 'a')), Signature(QByteArray(65, '\0')));
}

TEST_F(ElevationSignatureTest, TakesAShortTextAsOneThatZeroBytesFillTo64) {
  for (const int length : {0, 1, 55, 56, 63}) {
    EXPECT_EQ(Signature(QByteArray(length, 'a')), Signature(QByteArray(64, '\0'))) << length;
  }
}

TEST_F(ElevationSignatureTest, TakesNoTextAndANegativeLengthAsShort) {
  unsigned char from_null[kElevationSignatureSize];
  unsigned char from_negative[kElevationSignatureSize];
  const unsigned char byte = 'a';
  ComputeElevationQuerySignature(nullptr, 500, from_null);
  ComputeElevationQuerySignature(&byte, -5, from_negative);
  const QByteArray expected = Signature(QByteArray());
  EXPECT_EQ(std::memcmp(from_null, expected.constData(), sizeof from_null), 0);
  EXPECT_EQ(std::memcmp(from_negative, expected.constData(), sizeof from_negative), 0);
}

TEST_F(ElevationSignatureTest, WritesNothingWhereThereIsNoPlaceForIt) {
  const unsigned char byte = 'a';
  ComputeElevationQuerySignature(&byte, 1, nullptr);
}

TEST_F(ElevationSignatureTest, LeavesNothingOnAHeap) {
  const test_support::HeapSnapshot before;
  Signature(QByteArray(1000, 'a'));
  EXPECT_EQ(test_support::HeapSnapshot(), before);
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
