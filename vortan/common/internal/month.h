// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace vortan {

/// A month of the Gregorian calendar by its number. A plain value.
class Month {
 public:
  /// `number` is 1 for January; 13 and above run on into the years that follow. At least 1.
  explicit Month(int number) : number_(number) {}

  /// Brings the number into 1 to 12. Returns how many years that went over.
  int Normalize() {
    const int years = (number_ - 1) / 12;
    number_ -= 12 * years;
    return years;
  }
  int number() const { return number_; }
  /// Its days in `year`, 28 to 31. Normalized months only.
  int Size(int year) const {
    if (number_ == 2) {
      return IsLeapYear(year) ? 29 : 28;
    }
    return number_ == 4 || number_ == 6 || number_ == 9 || number_ == 11 ? 30 : 31;
  }

 private:
  static bool IsLeapYear(int year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

  int number_;
};

}  // namespace vortan
