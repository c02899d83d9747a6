// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <cstdint>

#include "host/export.h"

namespace nimbara {

/// A point or vector in the plane. A plain value.
template <typename T>
struct Vec2 {
  T x{};
  T y{};

  static Vec2 Zero() { return Vec2{}; }
  friend bool operator==(const Vec2& a, const Vec2& b) { return a.x == b.x && a.y == b.y; }
  friend bool operator!=(const Vec2& a, const Vec2& b) { return !(a == b); }
};

/// A position or a triple of angles. A plain value; each use states its unit.
template <typename T>
struct Vec3 {
  T x{};
  T y{};
  T z{};

  static Vec3 Zero() { return Vec3{}; }
  friend bool operator==(const Vec3& a, const Vec3& b) {
    return a.x == b.x && a.y == b.y && a.z == b.z;
  }
  friend bool operator!=(const Vec3& a, const Vec3& b) { return !(a == b); }
};

/// The plane of all points p with dot(normal, p) = distance, as one surface of a depth map.
template <typename T>
class Plane {
 public:
  Plane() = default;
  Plane(const Vec3<T>& plane_normal, T plane_distance)
      : distance(plane_distance), normal(plane_normal) {}
  Plane(const Plane&) = default;
  Plane& operator=(const Plane&) = default;
  virtual ~Plane() = default;

  T distance{};
  Vec3<T> normal{};
};

/// A calendar time of the host, in UTC, on the proleptic Gregorian calendar.
class PELORIN_HOST_EXPORT DateTime {
 public:
  /// `month` 1 to 12, `day` 1 to 31, `hour` 0 to 23, `minute` 0 to 59, `second` 0.0 up to 60.0. The
  /// parts are not checked against each other; surplus days run on into the next month.
  DateTime(int year, int month, int day, int hour = 0, int minute = 0, double second = 0.0);

  /// The time of a Julian date in days. Any number, which `GetJulianDate` gives back.
  static DateTime FromJulianDate(double julian_date);

  /// The Julian date in days: 2451545.0 at 2000-01-01 12:00.
  double GetJulianDate() const;

 private:
  explicit DateTime(double julian_date) : julian_date_(julian_date) {}

  double julian_date_;
};

namespace loculus {

/// A KML colour in one 32-bit word: alpha in the highest byte, then blue, green and red.
struct Color32 {
  std::uint32_t abgr = 0xFFFFFFFFu;

  std::uint8_t alpha() const { return static_cast<std::uint8_t>(abgr >> 24); }
  std::uint8_t blue() const { return static_cast<std::uint8_t>(abgr >> 16); }
  std::uint8_t green() const { return static_cast<std::uint8_t>(abgr >> 8); }
  std::uint8_t red() const { return static_cast<std::uint8_t>(abgr); }
  friend bool operator==(const Color32& a, const Color32& b) { return a.abgr == b.abgr; }
  friend bool operator!=(const Color32& a, const Color32& b) { return a.abgr != b.abgr; }
};

/// Identity of a KML object. The default one is empty: the object has no id.
struct KmlId {
  QString id;
  QString base_url;
};

/// Where on an icon or label its anchor lies: `x` and `y` with a unit code for each, as in a KML
/// `hotSpot`: 0 a fraction of the size from the lower left corner, 1 pixels from there, 2 pixels
/// from the upper right corner. All zero is the lower left corner.
struct LegacyScreenVec {
  double x = 0.0;
  double y = 0.0;
  std::int32_t x_units = 0;
  std::int32_t y_units = 0;

  friend bool operator==(const LegacyScreenVec& a, const LegacyScreenVec& b) {
    return a.x == b.x && a.y == b.y && a.x_units == b.x_units && a.y_units == b.y_units;
  }
};

}  // namespace loculus
}  // namespace nimbara
