// SPDX-License-Identifier: Apache-2.0
#include "spatial/geodesy/elevation_signature.h"

#include <QCryptographicHash>
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "host/memory.h"
#include "spatial/geodesy/sha1_compression.h"

namespace nimbara {
namespace spatial {
namespace {

constexpr std::size_t kBlockSize = 64;
using Block = std::array<unsigned char, kBlockSize>;

constexpr unsigned char kInnerPad = 0x36;
constexpr unsigned char kOuterPad = 0x5C;
constexpr std::string_view kDevelopmentKey = "pelorin development key";
constexpr std::string_view kFixedText = "pelorin elevation request 1";

// Some byte for each place of the key; any will do that leaves no text readable.
constexpr unsigned char MaskAt(std::size_t i) {
  return static_cast<unsigned char>(0xA7 + 29 * i + (i * i >> 3));
}

constexpr Block Masked(const unsigned char* key, std::size_t size) {
  Block masked{};
  for (std::size_t i = 0; i < kBlockSize; ++i) {
    masked[i] = static_cast<unsigned char>((i < size ? key[i] : 0) ^ MaskAt(i));
  }
  return masked;
}

constexpr Block MaskedDevelopmentKey() {
  Block key{};
  for (std::size_t i = 0; i < kDevelopmentKey.size(); ++i) {
    key[i] = static_cast<unsigned char>(kDevelopmentKey[i]);
  }
  return Masked(key.data(), kDevelopmentKey.size());
}

constexpr Block kMaskedDevelopmentKey = MaskedDevelopmentKey();
Block g_masked_key = kMaskedDevelopmentKey;

// A stage works in a scratch block, from an input to a result; what they are is up to its list.
using Stage = void (*)(unsigned char* scratch, const unsigned char* in, unsigned char* out);

constexpr std::size_t kFirstScratchSize = 1093;
constexpr std::size_t kSecondScratchSize = 817;

// Both lists keep a block of the key in the first bytes of their scratch block.
void BuildKeyBlock(unsigned char pad, unsigned char* scratch) {
  for (std::size_t i = 0; i < kBlockSize; ++i) {
    scratch[i] = static_cast<unsigned char>(g_masked_key[i] ^ MaskAt(i) ^ pad);
  }
}

void EraseKeyBlock(unsigned char* scratch, const unsigned char*, unsigned char*) {
  // Volatile, or the compiler would drop a write that nobody reads.
  volatile unsigned char* const bytes = scratch;
  for (std::size_t i = 0; i < kBlockSize; ++i) {
    bytes[i] = 0;
  }
}

void CompressInto(const unsigned char* block, unsigned char* state_bytes) {
  Sha1State state = LoadSha1State(state_bytes);
  Sha1Compress(block, &state);
  StoreSha1State(state, state_bytes);
}

// The first list: from the start of the padded buffer to the chaining state behind its first block.

void BuildInnerKeyBlock(unsigned char* scratch, const unsigned char*, unsigned char*) {
  BuildKeyBlock(kInnerPad, scratch);
}

void CompressInnerKeyBlock(unsigned char* scratch, const unsigned char*, unsigned char* state) {
  StoreSha1State(kSha1InitialState, state);
  CompressInto(scratch, state);
}

void CompressFixedBlock(unsigned char*, const unsigned char*, unsigned char* state) {
  Block fixed{};
  std::copy(kFixedText.begin(), kFixedText.end(), fixed.begin());
  CompressInto(fixed.data(), state);
}

void CompressFirstBlock(unsigned char*, const unsigned char* buffer, unsigned char* state) {
  CompressInto(buffer, state);
}

// The second list: from the chaining state behind the last block to the signature.

void BuildOuterKeyBlock(unsigned char* scratch, const unsigned char*, unsigned char*) {
  BuildKeyBlock(kOuterPad, scratch);
}

void CompressOuterKeyBlock(unsigned char* scratch, const unsigned char*, unsigned char* out) {
  StoreSha1State(kSha1InitialState, out);
  CompressInto(scratch, out);
}

void CompressInnerDigest(unsigned char*, const unsigned char* state, unsigned char* out) {
  constexpr std::size_t kDigestSize = kElevationSignatureSize;
  constexpr std::size_t kMessageBits = (kBlockSize + kDigestSize) * 8;
  Block last{};
  std::copy_n(state, kDigestSize, last.begin());
  last[kDigestSize] = 0x80;
  last[kBlockSize - 2] = kMessageBits >> 8;
  last[kBlockSize - 1] = kMessageBits & 0xFF;
  CompressInto(last.data(), out);
}

constexpr Stage kFirstStages[] = {BuildInnerKeyBlock, CompressInnerKeyBlock, EraseKeyBlock,
                                  CompressFixedBlock, CompressFirstBlock,    nullptr};
constexpr Stage kSecondStages[] = {BuildOuterKeyBlock, CompressOuterKeyBlock, EraseKeyBlock,
                                   CompressInnerDigest, nullptr};

// A block of the transient heap for as long as its holder lives.
class ScratchBlock {
 public:
  explicit ScratchBlock(std::size_t size)
      : bytes_(static_cast<unsigned char*>(doNew(size, HeapManager::GetTransientHeap()))) {}
  ~ScratchBlock() { doDelete(bytes_); }
  ScratchBlock(const ScratchBlock&) = delete;
  ScratchBlock& operator=(const ScratchBlock&) = delete;
  unsigned char* get() const { return bytes_; }

 private:
  unsigned char* const bytes_;
};

void RunStages(const Stage* stages, std::size_t scratch_size, const unsigned char* in,
               unsigned char* out) {
  const ScratchBlock scratch(scratch_size);
  for (; *stages != nullptr; ++stages) {
    (*stages)(scratch.get(), in, out);
  }
}

// The message behind its fixed block, padded as SHA-1 pads one that is 64 bytes longer than `data`:
// those of the key block. `length` is at least 64.
void FillBuffer(const unsigned char* data, std::size_t length, unsigned char* buffer,
                std::size_t buffer_size) {
  const std::size_t rest = length - kBlockSize;
  if (rest > 0) {
    std::memcpy(buffer, data + kBlockSize, rest);
  }
  std::memset(buffer + rest, 0, buffer_size - rest);
  buffer[rest] = 0x80;
  const std::uint32_t bits = static_cast<std::uint32_t>(length * 8 + 512);
  for (std::size_t i = 0; i < 4; ++i) {
    buffer[buffer_size - 4 + i] = static_cast<unsigned char>(bits >> (24 - 8 * i));
  }
}

}  // namespace

void ComputeElevationQuerySignature(const unsigned char* data, int length, unsigned char* out) {
  if (out == nullptr) {
    return;
  }
  // Of a text that ends within the first block nothing is read, so its padding needs no copy.
  const bool reaches_second_block = data != nullptr && length > static_cast<int>(kBlockSize);
  const std::size_t signed_length =
      reaches_second_block ? static_cast<std::size_t>(length) : kBlockSize;
  const std::size_t buffer_size = (signed_length + 8) / kBlockSize * kBlockSize;
  const ScratchBlock buffer(buffer_size);
  FillBuffer(data, signed_length, buffer.get(), buffer_size);

  unsigned char state_bytes[kElevationSignatureSize] = {};
  RunStages(kFirstStages, kFirstScratchSize, buffer.get(), state_bytes);
  Sha1State state = LoadSha1State(state_bytes);
  for (std::size_t at = kBlockSize; at < buffer_size; at += kBlockSize) {
    Sha1Compress(buffer.get() + at, &state);
  }
  StoreSha1State(state, state_bytes);
  RunStages(kSecondStages, kSecondScratchSize, state_bytes, out);
}

void SetElevationQueryKey(const unsigned char* key, int length) {
  if (key == nullptr || length <= 0) {
    g_masked_key = kMaskedDevelopmentKey;
    return;
  }
  if (length <= static_cast<int>(kBlockSize)) {
    g_masked_key = Masked(key, static_cast<std::size_t>(length));
    return;
  }
  const QByteArray digest =
      QCryptographicHash::hash(QByteArray::fromRawData(reinterpret_cast<const char*>(key), length),
                               QCryptographicHash::Sha1);
  g_masked_key = Masked(reinterpret_cast<const unsigned char*>(digest.constData()),
                        static_cast<std::size_t>(digest.size()));
}

}  // namespace spatial
}  // namespace nimbara
