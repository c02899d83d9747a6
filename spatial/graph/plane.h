// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>

#include "base/export.h"
#include "host/values.h"

namespace nimbara {
namespace spatial {

/// The plane geometry of the stored coordinates (x longitude / 180, y latitude / 180), shared by
/// bearings, corridors and fillets. Pure functions, safe from any thread. A component that is not a
/// number makes the result not-a-number.

inline Vec2<double> Minus(const Vec2<double>& a, const Vec2<double>& b) {
  return {a.x - b.x, a.y - b.y};
}

/// `point` + `direction` * `length`.
inline Vec2<double> Along(const Vec2<double>& point, const Vec2<double>& direction, double length) {
  return {point.x + direction.x * length, point.y + direction.y * length};
}

inline double Dot(const Vec2<double>& a, const Vec2<double>& b) {
  return a.x * b.x + a.y * b.y;
}

/// 0 for the zero vector alone. There is no smallest length that counts: links of a metre are
/// 5e-8 here, and their square would pass for nothing under any customary epsilon.
inline double Length(const Vec2<double>& v) {
  return std::sqrt(Dot(v, v));
}

/// `v` at length 1. A zero vector stays zero.
inline Vec2<double> Normalised(const Vec2<double>& v) {
  const double length = Length(v);
  return length == 0.0 ? v : Vec2<double>{v.x / length, v.y / length};
}

/// The angle of `v` in radians, from the x axis towards the y axis, 0 to 2 pi (2 pi only where a
/// tiny negative angle rounds up). 0 for a vector shorter than 1e-9.
PELORIN_EXPORT double AngleFromEast(const Vec2<double>& v);

/// `angle` (radians) by whole turns into -pi to pi; both ends stay as they are. An infinite one
/// becomes not-a-number.
PELORIN_EXPORT double BroughtIntoHalfTurns(double angle);

/// `angle` (radians) by whole turns into 0 to 2 pi; both ends stay as they are. An infinite one
/// becomes not-a-number.
PELORIN_EXPORT double BroughtIntoFullTurn(double angle);

}  // namespace spatial
}  // namespace nimbara
