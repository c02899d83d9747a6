// SPDX-License-Identifier: Apache-2.0
#include "spatial/geodesy/sha1_compression.h"

#include <gtest/gtest.h>

#include <QByteArray>
#include <QCryptographicHash>
#include <random>

namespace nimbara {
namespace spatial {
namespace {

// The digest of a message that fits into one block with its padding.
QByteArray DigestOfShort(const QByteArray& message) {
  unsigned char block[64] = {};
  for (int i = 0; i < message.size(); ++i) {
    block[i] = static_cast<unsigned char>(message[i]);
  }
  block[message.size()] = 0x80;
  block[62] = static_cast<unsigned char>(message.size() * 8 >> 8);
  block[63] = static_cast<unsigned char>(message.size() * 8);
  Sha1State state = kSha1InitialState;
  Sha1Compress(block, &state);
  unsigned char digest[20];
  StoreSha1State(state, digest);
  return QByteArray(reinterpret_cast<const char*>(digest), 20);
}

TEST(Sha1CompressionTest, GivesThePublishedDigestOfAbc) {
  EXPECT_EQ(DigestOfShort("abc").toHex(), "a9993e364706816aba3e25717850c26c9cd0d89d");
}

TEST(Sha1CompressionTest, AgreesWithALibraryOverRandomBlocks) {
  std::mt19937 draw(160);
  for (int size = 0; size < 56; ++size) {
    QByteArray message(size, '\0');
    for (char& byte : message) {
      byte = static_cast<char>(draw() & 0xFF);
    }
    EXPECT_EQ(DigestOfShort(message), QCryptographicHash::hash(message, QCryptographicHash::Sha1))
        << size;
  }
}

TEST(Sha1CompressionTest, LoadsTheStateThatItStored) {
  unsigned char bytes[20];
  StoreSha1State(kSha1InitialState, bytes);
  EXPECT_EQ(bytes[0], 0x67);
  EXPECT_EQ(bytes[3], 0x01);
  EXPECT_EQ(bytes[19], 0xF0);
  EXPECT_EQ(LoadSha1State(bytes), kSha1InitialState);
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
