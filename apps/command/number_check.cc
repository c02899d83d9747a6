// SPDX-License-Identifier: Apache-2.0
#include "apps/command/number_check.h"

#include <string>

#include "apps/command/coordinates.h"
#include "apps/service/number_text.h"

namespace pelorin {
namespace command {

CLI::Validator NumberFrom(double least, double most) {
  const auto check = [least, most](const std::string& text) {
    double number = 0.0;
    return ParseNumber(text, &number) && number >= least && number <= most
               ? std::string()
               : "'" + text + "' is no number from " + ShortestText(least) + " to " +
                     ShortestText(most);
  };
  return CLI::Validator(check, "");
}

CLI::Validator NumberAboveZero() {
  const auto check = [](const std::string& text) {
    double number = 0.0;
    return ParseNumber(text, &number) && number > 0.0 ? std::string()
                                                      : "'" + text + "' is no number above 0";
  };
  return CLI::Validator(check, "");
}

}  // namespace command
}  // namespace pelorin
