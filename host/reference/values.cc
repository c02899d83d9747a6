// SPDX-License-Identifier: Apache-2.0
#include "host/values.h"

namespace nimbara {
namespace {

// Days from 2000-01-01 to a date of the proleptic Gregorian calendar. Years are counted from March,
// so that the leap day comes last; 400 years have 146097 days, so 2000-03-01 is day 5 * 146097
// since 0000-03-01.
double DaysSince2000(int year, int month, int day) {
  const long long shifted_month = month > 2 ? month - 3 : month + 9;
  const long long shifted_year = month > 2 ? year : year - 1LL;
  const long long era = (shifted_year >= 0 ? shifted_year : shifted_year - 399) / 400;
  const long long year_of_era = shifted_year - era * 400;
  const long long day_of_year = (153 * shifted_month + 2) / 5;
  const long long day_number =
      era * 146097 + year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year;
  constexpr long long kMarchFirst2000 = 5LL * 146097;
  constexpr long long kJanuaryAndFebruary2000 = 60;
  return static_cast<double>(day_number - kMarchFirst2000 + kJanuaryAndFebruary2000 + day - 1);
}

constexpr double kJulianDateOfMidnight2000 = 2451544.5;

}  // namespace

DateTime::DateTime(int year, int month, int day, int hour, int minute, double second)
    : julian_date_(kJulianDateOfMidnight2000 + DaysSince2000(year, month, day) +
                   (hour * 3600.0 + minute * 60.0 + second) / 86400.0) {}

DateTime DateTime::FromJulianDate(double julian_date) {
  return DateTime(julian_date);
}

double DateTime::GetJulianDate() const {
  return julian_date_;
}

}  // namespace nimbara
