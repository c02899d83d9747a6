// SPDX-License-Identifier: Apache-2.0
#include "spatial/graph/plane.h"

namespace nimbara {
namespace spatial {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kTwoPi = 2.0 * kPi;
// Below this squared length a vector has no direction.
constexpr double kNoDirection = 1e-18;

double BroughtInto(double angle, double low, double high) {
  if (angle < low) {
    return angle + kTwoPi * std::ceil((low - angle) / kTwoPi);
  }
  if (angle > high) {
    return angle - kTwoPi * std::ceil((angle - high) / kTwoPi);
  }
  return angle;
}

}  // namespace

double AngleFromEast(const Vec2<double>& v) {
  if (Dot(v, v) < kNoDirection) {
    return 0.0;
  }
  const double angle = std::atan2(v.y, v.x);
  return angle < 0.0 ? angle + kTwoPi : angle;
}

double BroughtIntoHalfTurns(double angle) {
  return BroughtInto(angle, -kPi, kPi);
}

double BroughtIntoFullTurn(double angle) {
  return BroughtInto(angle, 0.0, kTwoPi);
}

}  // namespace spatial
}  // namespace nimbara
