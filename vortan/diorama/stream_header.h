// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

namespace vortan {

/// The version in the header of `stream`, 0 to 65535: two bytes of `magic`, then two of the
/// version, lower ones first. -1 for another magic and for a stream that has nothing behind its
/// header.
inline int VersionInHeader(const std::string& stream, int magic) {
  constexpr std::size_t kHeaderBytes = 4;
  if (stream.size() <= kHeaderBytes) {
    return -1;
  }
  const auto word = [&stream](std::size_t at) {
    return static_cast<unsigned char>(stream[at]) | static_cast<unsigned char>(stream[at + 1]) << 8;
  };
  return word(0) == magic ? word(2) : -1;
}

}  // namespace vortan
