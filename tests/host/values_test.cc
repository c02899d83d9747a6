// SPDX-License-Identifier: Apache-2.0
#include "host/values.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <limits>

namespace nimbara {
namespace {

// Days from 1 January of year 1 to the first of a month, counted one month after the other.
long long DaysBefore(int year, int month) {
  long long days = 0;
  for (int y = 1; y <= year; ++y) {
    const bool leap = (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
    const int lengths[] = {31, leap ? 29 : 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    for (int m = 1; m <= 12; ++m) {
      if (y == year && m == month) {
        return days;
      }
      days += lengths[m - 1];
    }
  }
  return days;
}

TEST(DateTimeTest, HasItsEpochAtNoonOfTheFirstDayOf2000) {
  EXPECT_EQ(DateTime(2000, 1, 1, 12).GetJulianDate(), 2451545.0);
}

TEST(DateTimeTest, GivesPublishedJulianDates) {
  EXPECT_EQ(DateTime(1858, 11, 17).GetJulianDate(), 2400000.5);  // Where modified dates begin.
  EXPECT_EQ(DateTime(1970, 1, 1).GetJulianDate(), 2440587.5);
  EXPECT_EQ(DateTime(1582, 10, 15).GetJulianDate(), 2299160.5);  // The first Gregorian day.
  EXPECT_EQ(DateTime(1987, 1, 27).GetJulianDate(), 2446822.5);
  EXPECT_EQ(DateTime(1988, 6, 19, 12).GetJulianDate(), 2447332.0);
}

TEST(DateTimeTest, CountsEveryMonthOfACalendarCycleRight) {
  const long long day_of_2000 = DaysBefore(2000, 1);
  for (int year = 1900; year <= 2300; ++year) {
    for (int month = 1; month <= 12; ++month) {
      ASSERT_EQ(DateTime(year, month, 1).GetJulianDate(),
                2451544.5 + static_cast<double>(DaysBefore(year, month) - day_of_2000))
          << year << "-" << month;
    }
  }
}

TEST(DateTimeTest, GoesOnBeforeYearOneWithoutAGap) {
  EXPECT_EQ(DateTime(0, 12, 31).GetJulianDate() + 1.0, DateTime(1, 1, 1).GetJulianDate());
  EXPECT_EQ(DateTime(-1, 12, 31).GetJulianDate() + 1.0, DateTime(0, 1, 1).GetJulianDate());
  EXPECT_EQ(DateTime(-400, 2, 29).GetJulianDate() + 1.0, DateTime(-400, 3, 1).GetJulianDate());
  EXPECT_EQ(DateTime(-4713, 11, 24, 12).GetJulianDate(), 0.0);
}

TEST(DateTimeTest, AddsTheTimeAsAPartOfTheDay) {
  EXPECT_EQ(DateTime(2000, 1, 1, 18).GetJulianDate(), 2451545.25);
  EXPECT_NEAR(DateTime(2000, 1, 1, 12, 1, 1.5).GetJulianDate(), 2451545.0 + 61.5 / 86400.0, 1e-9);
}

TEST(DateTimeTest, LetsSurplusDaysRunOnIntoTheNextMonth) {
  EXPECT_EQ(DateTime(2023, 2, 31).GetJulianDate(), DateTime(2023, 3, 3).GetJulianDate());
}

TEST(DateTimeTest, KeepsTheJulianDateThatItIsMadeFrom) {
  for (const double julian_date : {2451543.5, 0.0, -1e9, 2460000.123456789}) {
    EXPECT_EQ(DateTime::FromJulianDate(julian_date).GetJulianDate(), julian_date);
  }
}

TEST(DateTimeTest, TakesAnyNumbersWithoutOverflow) {
  const int low = std::numeric_limits<int>::min();
  const int high = std::numeric_limits<int>::max();
  EXPECT_LT(DateTime(low, low, low, low, low).GetJulianDate(),
            DateTime(high, high, high, high, high).GetJulianDate());
}

TEST(Vec, ComparesComponentByComponent) {
  EXPECT_EQ((Vec2<double>{1.0, 2.0}), (Vec2<double>{1.0, 2.0}));
  EXPECT_NE((Vec2<double>{1.0, 2.0}), (Vec2<double>{1.0, 3.0}));
  EXPECT_EQ(Vec2<double>::Zero(), (Vec2<double>{0.0, 0.0}));
  EXPECT_NE((Vec3<double>{1.0, 2.0, 3.0}), (Vec3<double>{1.0, 2.0, 4.0}));
  EXPECT_EQ(Vec3<double>::Zero(), (Vec3<double>{0.0, 0.0, 0.0}));
}

TEST(PlaneTest, KeepsNormalAndDistance) {
  const Plane<double> plane(Vec3<double>{0.0, 0.0, 1.0}, 2.5);
  EXPECT_EQ(plane.distance, 2.5);
  EXPECT_EQ(plane.normal, (Vec3<double>{0.0, 0.0, 1.0}));
}

TEST(Color32Test, HoldsAlphaHighestThenBlueGreenAndRed) {
  const loculus::Color32 color{0x80402010u};
  EXPECT_EQ(color.alpha(), 0x80);
  EXPECT_EQ(color.blue(), 0x40);
  EXPECT_EQ(color.green(), 0x20);
  EXPECT_EQ(color.red(), 0x10);
}

TEST(KmlIdTest, IsEmptyByDefault) {
  const loculus::KmlId id;
  EXPECT_TRUE(id.id.isEmpty());
  EXPECT_TRUE(id.base_url.isEmpty());
}

}  // namespace
}  // namespace nimbara
