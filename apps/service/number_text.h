// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <charconv>
#include <string>
#include <string_view>
#include <system_error>

namespace pelorin {

/// Reads the whole of `text` as a number from `min` to `max`, ends included, with the decimal point
/// in every locale. Refused, with `value` as it was: anything around the number, a plus sign, a
/// minus sign if `min` is not negative, not-a-number, infinities, whatever `Number` cannot hold.
template <typename Number>
bool ParseNumber(std::string_view text, Number min, Number max, Number* value) {
  const std::string_view digits = !text.empty() && text[0] == '-' ? text.substr(1) : text;
  if (digits.empty() || (digits[0] != '.' && (digits[0] < '0' || digits[0] > '9')))
    return false;
  if (digits.size() < text.size() && !(min < Number{}))
    return false;
  Number number{};
  const char* const end = text.data() + text.size();
  const std::from_chars_result parsed = std::from_chars(text.data(), end, number);
  if (parsed.ec != std::errc() || parsed.ptr != end)
    return false;
  if (!(number >= min && number <= max))
    return false;
  *value = number;
  return true;
}

/// The shortest decimal text that reads back as exactly `value`, such as "0.1" or "1e-05".
inline std::string ShortestText(double value) {
  char text[32];  // "-1.7976931348623157e+308" has 24 characters.
  const std::to_chars_result written = std::to_chars(text, text + sizeof text, value);
  return std::string(text, written.ptr);
}

}  // namespace pelorin
