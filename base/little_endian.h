// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstring>

/// The unsigned number in the `sizeof(Word)` bytes at `bytes`, lowest byte first, whatever the
/// machine and the alignment. One load where the machine has that order itself; compilers do not
/// always see it in the loop.
template <typename Word>
inline Word LoadLittleEndian(const char* bytes) {
  Word word = 0;
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
  std::memcpy(&word, bytes, sizeof(word));
#else
  for (unsigned i = 0; i < sizeof(Word); ++i) {
    word |= static_cast<Word>(static_cast<unsigned char>(bytes[i])) << (8 * i);
  }
#endif
  return word;
}

/// Its counterpart, one store.
template <typename Word>
inline void StoreLittleEndian(Word word, char* bytes) {
  for (unsigned i = 0; i < sizeof(Word); ++i) {
    bytes[i] = static_cast<char>(static_cast<unsigned char>(word >> (8 * i)));
  }
}
