// SPDX-License-Identifier: Apache-2.0
#include "strings/numbers.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <type_traits>

namespace {

constexpr int kNoDigit = 36;

// The value of each byte as a digit; `kNoDigit`, which no base reaches, for any other byte.
constexpr std::array<signed char, 256> MakeDigits() {
  std::array<signed char, 256> digits{};
  for (signed char& digit : digits) {
    digit = kNoDigit;
  }
  for (unsigned i = 0; i < 10; ++i) {
    digits['0' + i] = static_cast<signed char>(i);
  }
  for (unsigned i = 0; i < 26; ++i) {
    digits['A' + i] = digits['a' + i] = static_cast<signed char>(10 + i);
  }
  return digits;
}

constexpr std::array<signed char, 256> kDigits = MakeDigits();

int DigitOf(char c) {
  return kDigits[static_cast<unsigned char>(c)];
}

bool IsSpace(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

bool StartsWithHexPrefix(const char* text, const char* end) {
  return end - text >= 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
}

// Steps over a prefix and gives the base that counts; 0 for a base that there is not.
int TakeBase(const char** text, const char* end, int base) {
  if ((base == 0 || base == 16) && StartsWithHexPrefix(*text, end)) {
    *text += 2;
    return 16;
  }
  if (base == 0) {
    return **text == '0' ? 8 : 10;
  }
  return base >= 2 && base <= 36 ? base : 0;
}

// A negative number is built downwards, since the smallest value has no positive counterpart.
template <typename Number>
bool ParseDigits(const char* text, const char* end, int base, bool negative, Number* value) {
  using Limits = std::numeric_limits<Number>;
  const auto number_base = static_cast<Number>(base);
  const Number limit = negative ? Limits::min() : Limits::max();
  const Number last_step = limit / number_base;
  Number number = 0;
  for (; text != end; ++text) {
    if (DigitOf(*text) >= base) {
      return false;
    }
    const auto digit = static_cast<Number>(DigitOf(*text));
    if (negative ? number < last_step : number > last_step) {
      return false;
    }
    number *= number_base;
    if (negative ? number < limit + digit : number > limit - digit) {
      return false;
    }
    number = negative ? number - digit : number + digit;
  }
  *value = number;
  return true;
}

template <typename Number>
bool ParseWhole(StringPiece piece, Number* value, int base) {
  const char* text = piece.begin();
  const char* end = piece.end();
  while (text != end && IsSpace(*text)) {
    ++text;
  }
  while (text != end && IsSpace(end[-1])) {
    --end;
  }
  if (text == end) {
    return false;
  }
  const bool negative = *text == '-';
  if (negative || *text == '+') {
    ++text;
  }
  if (text == end || (negative && std::is_unsigned_v<Number>)) {
    return false;
  }
  base = TakeBase(&text, end, base);
  return base != 0 && text != end && ParseDigits(text, end, base, negative, value);
}

unsigned long long FromC(const char* text, char** end, int base, unsigned long long /*type*/) {
  return std::strtoull(text, end, base);
}

long long FromC(const char* text, char** end, int base, long long /*type*/) {
  return std::strtoll(text, end, base);
}

// As the C library reads it, but for the "0b" of newer ones: there the number ends behind the 0.
template <typename Wide>
Wide ReadLeading(const char* text, const char** end, int base) {
  const char* digits = text;
  while (IsSpace(*digits)) {
    ++digits;
  }
  if (*digits == '-' || *digits == '+') {
    ++digits;
  }
  if ((base == 0 || base == 2) && digits[0] == '0' && (digits[1] == 'b' || digits[1] == 'B')) {
    *end = digits + 1;
    return 0;
  }
  char* behind = nullptr;
  const Wide value = FromC(text, &behind, base, Wide());
  *end = behind;
  return value;
}

// The base must be tested here: for a wrong one not every C library sets the end.
template <typename Number>
bool ParseWholeAsC(const char* text, Number* value, int base) {
  using Wide = std::conditional_t<std::is_unsigned_v<Number>, unsigned long long, long long>;
  if (text == nullptr || base < 0 || base == 1 || base > 36) {
    return false;
  }
  errno = 0;
  const char* end = nullptr;
  const Wide wide = ReadLeading<Wide>(text, &end, base);
  if (errno != 0 || end == text) {
    return false;
  }
  while (IsSpace(*end)) {
    ++end;
  }
  if (*end != '\0' || wide < std::numeric_limits<Number>::min() ||
      wide > std::numeric_limits<Number>::max()) {
    return false;
  }
  *value = static_cast<Number>(wide);
  return true;
}

int ParseLeading(const char* text, int default_value, int base) {
  if (text == nullptr) {
    return default_value;
  }
  const char* end = nullptr;
  const auto value = ReadLeading<long long>(text, &end, base);
  if (end == text) {
    return default_value;
  }
  return static_cast<int>(std::clamp<long long>(value, std::numeric_limits<int>::min(),
                                                std::numeric_limits<int>::max()));
}

}  // namespace

bool safe_strto32_base(StringPiece text, int* value, int base) {
  return ParseWhole(text, value, base);
}

bool safe_strto32_base(const char* text, int* value, int base) {
  return ParseWholeAsC(text, value, base);
}

bool safe_strto32_base(const std::string& text, int* value, int base) {
  return ParseWhole(text, value, base);
}

bool safe_strto64_base(StringPiece text, long long* value, int base) {
  return ParseWhole(text, value, base);
}

bool safe_strto64_base(const char* text, long long* value, int base) {
  return ParseWholeAsC(text, value, base);
}

bool safe_strto64_base(const std::string& text, long long* value, int base) {
  return ParseWhole(text, value, base);
}

bool safe_strtou32_base(StringPiece text, unsigned int* value, int base) {
  return ParseWhole(text, value, base);
}

bool safe_strtou32_base(const char* text, unsigned int* value, int base) {
  return ParseWholeAsC(text, value, base);
}

bool safe_strtou32_base(const std::string& text, unsigned int* value, int base) {
  return ParseWhole(text, value, base);
}

bool safe_strtou64_base(StringPiece text, unsigned long long* value, int base) {
  return ParseWhole(text, value, base);
}

bool safe_strtou64_base(const char* text, unsigned long long* value, int base) {
  return ParseWholeAsC(text, value, base);
}

bool safe_strtou64_base(const std::string& text, unsigned long long* value, int base) {
  return ParseWhole(text, value, base);
}

bool safe_strto32(StringPiece text, int* value) {
  return safe_strto32_base(text, value, 10);
}

bool safe_strto32(const char* text, int* value) {
  return safe_strto32_base(text, value, 10);
}

bool safe_strto32(const std::string& text, int* value) {
  return safe_strto32_base(text, value, 10);
}

bool safe_strto64(StringPiece text, long long* value) {
  return safe_strto64_base(text, value, 10);
}

bool safe_strto64(const char* text, long long* value) {
  return safe_strto64_base(text, value, 10);
}

bool safe_strto64(const std::string& text, long long* value) {
  return safe_strto64_base(text, value, 10);
}

bool safe_strtou32(StringPiece text, unsigned int* value) {
  return safe_strtou32_base(text, value, 10);
}

bool safe_strtou32(const char* text, unsigned int* value) {
  return safe_strtou32_base(text, value, 10);
}

bool safe_strtou32(const std::string& text, unsigned int* value) {
  return safe_strtou32_base(text, value, 10);
}

bool safe_strtou64(StringPiece text, unsigned long long* value) {
  return safe_strtou64_base(text, value, 10);
}

bool safe_strtou64(const char* text, unsigned long long* value) {
  return safe_strtou64_base(text, value, 10);
}

bool safe_strtou64(const std::string& text, unsigned long long* value) {
  return safe_strtou64_base(text, value, 10);
}

int ParseLeadingDec32Value(const char* text, int default_value) {
  return ParseLeading(text, default_value, 10);
}

int ParseLeadingInt32Value(const char* text, int default_value) {
  return ParseLeading(text, default_value, 0);
}
