// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>

namespace nimbara {
namespace spatial {

/// The chaining state between two blocks: the five words A to E.
using Sha1State = std::array<std::uint32_t, 5>;

/// The state ahead of the first block of any message (FIPS 180-4, section 5.3.1).
constexpr Sha1State kSha1InitialState = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476,
                                         0xC3D2E1F0};

/// Runs one block of 64 bytes over `state`: the compression function of SHA-1 (FIPS 180-4, section
/// 6.1.2), without any padding. The signature of a query enters and leaves a message in its middle,
/// which no hashing library offers; a whole message is better given to one.
void Sha1Compress(const unsigned char* block, Sha1State* state);

/// The state from and to its 20 bytes, each word with its highest byte first.
Sha1State LoadSha1State(const unsigned char* bytes);
void StoreSha1State(const Sha1State& state, unsigned char* bytes);

}  // namespace spatial
}  // namespace nimbara
