// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

namespace pelorin {
namespace command {

/// UTF-8 text with blanks for line breaks and control characters, those above 127 included: parts
/// of messages come from files and command lines, and must not say anything to a terminal by
/// themselves.
inline std::string InOneLine(std::string text) {
  const auto byte = [&text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (byte(i) < 0x20 || byte(i) == 0x7F) {
      text[i] = ' ';
    } else if (byte(i) == 0xC2 && i + 1 < text.size() && byte(i + 1) < 0xA0) {
      text.replace(i, 2, " ");
    }
  }
  return text;
}

}  // namespace command
}  // namespace pelorin
