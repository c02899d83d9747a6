// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cctype>
#include <cstddef>
#include <limits>
#include <optional>
#include <string>

namespace test_support {

__extension__ using Wide = __int128;

/// What the whole-text rule reads from `text`, by an integer that is too wide to overflow before it
/// is cut off. Nothing where the text is no number, or none of `Number`.
template <typename Number>
std::optional<Number> NumberTwin(std::string text, int base) {
  const std::string blanks = " \t\n\v\f\r";
  const std::size_t first = text.find_first_not_of(blanks);
  if (first == std::string::npos) {
    return std::nullopt;
  }
  text = text.substr(first, text.find_last_not_of(blanks) - first + 1);
  const bool negative = text[0] == '-';
  if (negative || text[0] == '+') {
    text.erase(0, 1);
  }
  if (negative && !std::numeric_limits<Number>::is_signed) {
    return std::nullopt;
  }
  const bool hex = text.size() >= 2 && (text.substr(0, 2) == "0x" || text.substr(0, 2) == "0X");
  if (base == 0) {
    base = hex ? 16 : (text.substr(0, 1) == "0" ? 8 : 10);
  }
  if (base < 2 || base > 36) {
    return std::nullopt;
  }
  if (base == 16 && hex) {
    text.erase(0, 2);
  }
  if (text.empty()) {
    return std::nullopt;
  }
  const Wide cap = static_cast<Wide>(1) << 70;
  const std::string digits = "0123456789abcdefghijklmnopqrstuvwxyz";
  Wide value = 0;
  for (const char c : text) {
    const bool upper = c >= 'A' && c <= 'Z';
    const std::size_t digit = digits.find(upper ? static_cast<char>(c - 'A' + 'a') : c);
    if (digit == std::string::npos || digit >= static_cast<std::size_t>(base)) {
      return std::nullopt;
    }
    value = value > cap ? cap : value * base + static_cast<Wide>(digit);
  }
  value = negative ? -value : value;
  if (value < static_cast<Wide>(std::numeric_limits<Number>::min()) ||
      value > static_cast<Wide>(std::numeric_limits<Number>::max())) {
    return std::nullopt;
  }
  return static_cast<Number>(value);
}

}  // namespace test_support
