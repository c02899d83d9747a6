// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cctype>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <limits>
#include <string>
#include <system_error>
#include <vector>

#include "util/geometry3d/mesh/bbox.h"

namespace test_support {

/// The numbers of a text by an own scan of each number's characters, converted without a locale.
class NumberSplitTwin {
 public:
  explicit NumberSplitTwin(const std::string& text) : text_(text.c_str()) { sound_ = Run(); }

  bool sound() const { return sound_; }
  const std::vector<double>& numbers() const { return numbers_; }

 private:
  // Characters behind the end are NULs.
  char At(std::size_t i) const { return i < text_.size() ? text_[i] : '\0'; }
  static bool IsDigit(char c) { return c >= '0' && c <= '9'; }
  static bool IsHexDigit(char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; }

  bool Run() {
    for (std::size_t i = 0; i < text_.size();) {
      const char c = text_[i];
      const bool begins = IsDigit(c) || c == '+' || c == '-' ||
                          (c == '.' && (IsDigit(At(i + 1)) || i + 1 == text_.size()));
      if (!begins) {
        ++i;
        continue;
      }
      const std::size_t end = Number(i);
      if (end == i) {
        return false;
      }
      i = end;
    }
    return true;
  }

  // Takes the number at `start`; returns where it ends, or `start` where there is none.
  std::size_t Number(std::size_t start) {
    const bool negative = At(start) == '-';
    const std::size_t body = start + (negative || At(start) == '+' ? 1 : 0);
    if (const std::size_t end = Word(body, negative); end != body) {
      return end;
    }
    const bool hex =
        At(body) == '0' && (At(body + 1) == 'x' || At(body + 1) == 'X') &&
        (IsHexDigit(At(body + 2)) || (At(body + 2) == '.' && IsHexDigit(At(body + 3))));
    const std::size_t digits = hex ? body + 2 : body;
    const std::size_t end = Digits(digits, hex);
    if (end == digits) {
      return start;
    }
    double value = 0;
    const auto result = std::from_chars(text_.data() + digits, text_.data() + end, value,
                                        hex ? std::chars_format::hex : std::chars_format::general);
    if (result.ec == std::errc::result_out_of_range) {
      // Of such numbers only the place is compared.
      value = std::numeric_limits<double>::quiet_NaN();
    }
    numbers_.push_back(negative ? -value : value);
    return end;
  }

  // "inf", "infinity", "nan" and "nan(...)" in any case.
  std::size_t Word(std::size_t at, bool negative) {
    std::string lower;
    for (std::size_t i = at; i < at + 8; ++i) {
      lower += static_cast<char>(std::tolower(static_cast<unsigned char>(At(i))));
    }
    if (lower.substr(0, 3) == "inf") {
      numbers_.push_back(negative ? -std::numeric_limits<double>::infinity()
                                  : std::numeric_limits<double>::infinity());
      return at + (lower == "infinity" ? 8 : 3);
    }
    if (lower.substr(0, 3) != "nan") {
      return at;
    }
    numbers_.push_back(std::numeric_limits<double>::quiet_NaN());
    std::size_t end = at + 3;
    if (At(end) == '(') {
      std::size_t close = end + 1;
      while (std::isalnum(static_cast<unsigned char>(At(close))) != 0 || At(close) == '_') {
        ++close;
      }
      end = At(close) == ')' ? close + 1 : end;
    }
    return end;
  }

  // Digits with at most one point and an exponent; `at` where there is no digit.
  std::size_t Digits(std::size_t at, bool hex) const {
    const auto is_digit = hex ? &IsHexDigit : &IsDigit;
    std::size_t i = at;
    std::size_t count = 0;
    bool point = false;
    for (; is_digit(At(i)) || (At(i) == '.' && !point); ++i) {
      point = point || At(i) == '.';
      count += At(i) != '.' ? 1 : 0;
    }
    if (count == 0) {
      return at;
    }
    const char mark = static_cast<char>(std::tolower(static_cast<unsigned char>(At(i))));
    if (mark == (hex ? 'p' : 'e')) {
      std::size_t exponent = i + 1;
      exponent += At(exponent) == '+' || At(exponent) == '-' ? 1 : 0;
      if (IsDigit(At(exponent))) {
        while (IsDigit(At(exponent))) {
          ++exponent;
        }
        return exponent;
      }
    }
    return i;
  }

  // Up to the first NUL, as text goes.
  std::string text_;
  std::vector<double> numbers_;
  bool sound_ = false;
};

/// Whether the library reads `text` as the twin does; a NaN of the twin stands for any number.
inline bool SplitsAsItsTwin(const std::string& text) {
  const NumberSplitTwin twin(text);
  std::vector<double> numbers;
  if (geometry3d::SplitStringAndParseDoubles(text, &numbers) != twin.sound() ||
      numbers.size() != twin.numbers().size()) {
    return false;
  }
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    if (!std::isnan(twin.numbers()[i]) && numbers[i] != twin.numbers()[i]) {
      return false;
    }
  }
  return true;
}

}  // namespace test_support
