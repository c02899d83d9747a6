// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/export.h"

/// The Jenkins lookup2 hash of `length` bytes at `s`, with one deliberate difference: in whole
/// 32-bit words, also in those of the last block, each byte counts as a signed character. Only the
/// one to three bytes that fill no word of the last block are unsigned. The same on every machine.
/// `s` may be null for length 0. Safe from any thread.
PELORIN_EXPORT unsigned int Hash32StringWithSeed(const char* s, unsigned int length,
                                                 unsigned int seed);

/// The same function, byte by byte: what the one above is held against.
PELORIN_EXPORT unsigned int
Hash32StringWithSeedReferenceImplementation(const char* s, unsigned int length, unsigned int seed);

/// The 64-bit sibling over blocks of 24 bytes; all bytes are unsigned here. The same on every
/// machine. `s` may be null for length 0. Safe from any thread.
PELORIN_EXPORT unsigned long long Hash64StringWithSeed(const char* s, unsigned int length,
                                                       unsigned long long seed);
