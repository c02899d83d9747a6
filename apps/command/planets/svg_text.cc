// SPDX-License-Identifier: Apache-2.0
#include "apps/command/planets/svg_text.h"

#include <charconv>

namespace pelorin {
namespace command {

std::string SvgFixed(double number, int decimals) {
  char text[400];
  const auto end =
      std::to_chars(text, text + sizeof text, number, std::chars_format::fixed, decimals);
  std::string digits(text, end.ptr);
  if (digits.front() == '-' && digits.find_first_not_of("-0.") == std::string::npos) {
    digits.erase(0, 1);
  }
  return digits;
}

std::string Svg(double number) {
  std::string digits = SvgFixed(number, 2);
  digits.erase(digits.find_last_not_of('0') + 1);
  if (digits.back() == '.') {
    digits.pop_back();
  }
  return digits;
}

std::string Attribute(const char* name, double number) {
  return std::string(" ") + name + "=\"" + Svg(number) + "\"";
}

}  // namespace command
}  // namespace pelorin
