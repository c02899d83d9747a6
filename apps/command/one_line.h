// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace pelorin {
namespace command {

/// `text` with a blank for each line break and control character: parts of messages come from files
/// and command lines, and must not say anything to a terminal by themselves.
inline std::string InOneLine(std::string text) {
  for (char& c : text) {
    const unsigned char byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7F) {
      c = ' ';
    }
  }
  return text;
}

}  // namespace command
}  // namespace pelorin
