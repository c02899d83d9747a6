// SPDX-License-Identifier: Apache-2.0
#include "spatial/panorama/xml_number.h"

#include <charconv>
#include <system_error>

namespace nimbara {
namespace spatial {

namespace {

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

// Reads all of `text` as a whole number of up to `max_digits` digits, few enough to fit. `text` is
// left to the toolkit, and false returned, if it is anything else.
template <typename T>
bool ReadPlainInteger(const XmlText& text, int max_digits, int base, T* value) {
  const char* const end = text.data + text.size;
  const bool is_negative = text.size > 0 && text.data[0] == '-';
  if (text.size > max_digits + (is_negative ? 1 : 0)) {
    return false;
  }
  const std::from_chars_result result = std::from_chars(text.data, end, *value, base);
  return result.ec == std::errc() && result.ptr == end;
}

// The same for digits with or without a decimal point among them. Both this conversion and the
// toolkit's round to the nearest.
bool ReadPlainDecimal(const XmlText& text, double* value) {
  const char* const end = text.data + text.size;
  const char* const first = text.size > 0 && text.data[0] == '-' ? text.data + 1 : text.data;
  if (first == end || !IsDigit(*first) || !IsDigit(end[-1])) {
    return false;
  }
  const std::from_chars_result result =
      std::from_chars(text.data, end, *value, std::chars_format::fixed);
  return result.ec == std::errc() && result.ptr == end;
}

}  // namespace

double ToDouble(const XmlText& text) {
  double value = 0.0;
  return ReadPlainDecimal(text, &value) ? value : text.ToString().toDouble();
}

int ToInt(const XmlText& text) {
  int value = 0;
  return ReadPlainInteger(text, 9, 10, &value) ? value : text.ToString().toInt();
}

std::uint64_t ToULongLong(const XmlText& text) {
  std::uint64_t value = 0;
  return ReadPlainInteger(text, 18, 10, &value) ? value : text.ToString().toULongLong();
}

std::uint32_t ToUIntBase16(const XmlText& text, bool* ok) {
  std::uint32_t value = 0;
  *ok = ReadPlainInteger(text, 8, 16, &value);
  return *ok ? value : text.ToString().toUInt(ok, 16);
}

}  // namespace spatial
}  // namespace nimbara
