// SPDX-License-Identifier: Apache-2.0
#include "apps/command/planets/dates.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <regex>

#include "apps/command/coordinates.h"
#include "host/values.h"

namespace pelorin {
namespace command {
namespace {

using nimbara::DateTime;

constexpr double kJulianDateOf1970 = 2440587.5;
constexpr int kLastYear = 99999;

Outcome NotADate(std::string_view text, std::string_view where) {
  return Outcome::Fail(ExitCode::kWrongUsage, "'" + std::string(text) + "' is no date",
                       std::string(where),
                       "give one like 2024-02-29, 2024-02-29T18:30Z, 2460370.25 or JD625332.5");
}

int DaysInMonth(int year, int month) {
  constexpr int kLengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  return kLengths[month - 1] + (month == 2 && leap ? 1 : 0);
}

bool ParseIso(const std::string& text, double* julian_date) {
  static const std::regex form("([+-]\\d{6}|\\d{4})-(\\d\\d)-(\\d\\d)"
                               "(?:[T ](\\d\\d):(\\d\\d)(?::(\\d\\d(?:\\.\\d{1,9})?))?"
                               "(Z|[+-]\\d\\d:\\d\\d)?)?");
  std::smatch part;
  if (!std::regex_match(text, part, form)) {
    return false;
  }
  const auto whole = [&part](std::size_t index) {
    return part[index].matched ? std::stoi(part[index].str()) : 0;
  };
  const int year = whole(1), month = whole(2), day = whole(3), hour = whole(4), minute = whole(5);
  double second = 0.0;
  if (part[6].matched && !ParseNumber(part[6].str(), &second)) {
    return false;
  }
  if (std::abs(year) > kLastYear || month < 1 || month > 12 || day < 1 ||
      day > DaysInMonth(year, month) || hour > 23 || minute > 59 || second >= 61.0) {
    return false;
  }
  int offset_minutes = 0;
  if (const std::string offset = part[7].str(); offset.size() == 6) {
    const int hours = std::stoi(offset.substr(1, 2));
    const int minutes = std::stoi(offset.substr(4, 2));
    if (hours > 23 || minutes > 59) {
      return false;
    }
    offset_minutes = (hours * 60 + minutes) * (offset[0] == '-' ? -1 : 1);
  }
  *julian_date = DateTime(year, month, day, hour, minute - offset_minutes, second).GetJulianDate();
  return true;
}

bool ParseJulianDate(const std::string& text, double* julian_date) {
  static const std::regex form("(JD ?[+-]?\\d+|\\d{7})(\\.\\d*)?",
                               std::regex::ECMAScript | std::regex::icase);
  static const double earliest = DateTime(-kLastYear, 1, 1).GetJulianDate();
  static const double latest = DateTime(kLastYear, 12, 31, 24).GetJulianDate();
  double number = 0.0;
  if (!std::regex_match(text, form) ||
      !ParseNumber(text.substr(text.find_first_of("+-0123456789")), &number) || number < earliest ||
      number >= latest) {
    return false;
  }
  *julian_date = number;
  return true;
}

}  // namespace

Outcome ParseDate(std::string_view text, std::string_view where, double* julian_date) {
  // Longer than any date: no work for the expressions.
  if (text.size() > 64) {
    return NotADate(text.substr(0, 64), where);
  }
  const std::string date(text);
  if (date == "now") {
    const std::chrono::duration<double> since_1970 =
        std::chrono::system_clock::now().time_since_epoch();
    *julian_date = kJulianDateOf1970 + since_1970.count() / 86400.0;
    return Outcome::Done();
  }
  return ParseIso(date, julian_date) || ParseJulianDate(date, julian_date) ? Outcome::Done()
                                                                           : NotADate(text, where);
}

std::string DateText(double julian_date) {
  const long long seconds = std::llround((julian_date - kJulianDateOf1970) * 86400.0);
  const long long second_of_day = ((seconds % 86400) + 86400) % 86400;
  // Days since 0000-03-01, in eras of 400 years: the leap day is the last of its year.
  const long long days = (seconds - second_of_day) / 86400 + 719468;
  const long long era = (days >= 0 ? days : days - 146096) / 146097;
  const long long day_of_era = days - era * 146097;
  const long long year_of_era =
      (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
  const long long day_of_year =
      day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
  const long long month_from_march = (5 * day_of_year + 2) / 153;
  const long long day = day_of_year - (153 * month_from_march + 2) / 5 + 1;
  const long long month = month_from_march < 10 ? month_from_march + 3 : month_from_march - 9;
  const long long year = year_of_era + era * 400 + (month <= 2 ? 1 : 0);
  char text[64];
  std::snprintf(text, sizeof text,
                year >= 0 && year <= 9999 ? "%04lld-%02lld-%02lldT%02lld:%02lld:%02lldZ"
                                          : "%+07lld-%02lld-%02lldT%02lld:%02lld:%02lldZ",
                year, month, day, second_of_day / 3600, second_of_day / 60 % 60,
                second_of_day % 60);
  return text;
}

std::vector<double> DateRow(double from, double to, double step_days) {
  std::vector<double> row;
  const double steps = std::floor((to - from) / step_days + 1e-3);
  for (double step = 0.0; step <= steps; step += 1.0) {
    row.push_back(from + step * step_days);
  }
  return row;
}

}  // namespace command
}  // namespace pelorin
