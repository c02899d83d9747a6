// SPDX-License-Identifier: Apache-2.0
#include "spatial/graph/collision_fillet.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace nimbara {
namespace spatial {
namespace {

constexpr double kPi = 3.14159265358979323846;

Vec2<double> Direction(double angle) {
  return {std::cos(angle), std::sin(angle)};
}

// A corner at the origin whose wedge opens clockwise from `before` by `opening`, both in radians.
CollisionCorner Corner(double before, double opening, double half_width = 1.0, double reach = 2.0) {
  CollisionCorner corner;
  corner.before = Direction(before);
  corner.after = Direction(before - opening);
  corner.half_width = half_width;
  corner.reach = reach;
  return corner;
}

bool HasFillet(const CollisionCorner& corner) {
  CollisionFillet fillet;
  return MakeCollisionFillet(corner, &fillet);
}

// From the line through the origin along `direction`.
double DistanceToLine(const Vec2<double>& point, const Vec2<double>& direction) {
  return std::abs(point.x * direction.y - point.y * direction.x);
}

TEST(CollisionFillet, RoundsARightAngle) {
  CollisionFillet fillet;
  ASSERT_TRUE(MakeCollisionFillet(Corner(kPi / 2.0, kPi / 2.0), &fillet));
  EXPECT_NEAR(fillet.centre.x, 2.0, 1e-12);
  EXPECT_NEAR(fillet.centre.y, 2.0, 1e-12);
  EXPECT_NEAR(fillet.radius, 1.0, 1e-12);
}

TEST(CollisionFillet, TouchesBothCorridorsAtTheReachInsideTheWedge) {
  std::mt19937 random(20261121);
  std::uniform_real_distribution<double> turn(0.0, 2.0 * kPi);
  std::uniform_real_distribution<double> opening(1.0, 2.967);
  std::uniform_real_distribution<double> width(1e-8, 1e-6);
  for (int i = 0; i < 10000; ++i) {
    const double before = turn(random);
    const double theta = opening(random);
    const double half_width = width(random);
    const CollisionCorner corner = Corner(before, theta, half_width, 2.0 * half_width);
    CollisionFillet fillet;
    ASSERT_TRUE(MakeCollisionFillet(corner, &fillet)) << theta;
    const double to_links = fillet.radius + half_width;
    const double tolerance = 1e-12 * to_links;
    ASSERT_NEAR(DistanceToLine(fillet.centre, corner.before), to_links, tolerance);
    ASSERT_NEAR(DistanceToLine(fillet.centre, corner.after), to_links, tolerance);
    const auto along = [&fillet](const Vec2<double>& v) {
      return fillet.centre.x * v.x + fillet.centre.y * v.y;
    };
    ASSERT_NEAR(along(corner.before), corner.reach, tolerance);
    ASSERT_NEAR(along(corner.after), corner.reach, tolerance);
    // On the bisector of the wedge, not of the rest of the circle.
    const Vec2<double> bisector = Direction(before - theta / 2.0);
    ASSERT_NEAR(along(bisector), std::hypot(fillet.centre.x, fillet.centre.y), tolerance);
  }
}

TEST(CollisionFillet, StandsOnTheSideThatOpensClockwiseFromBefore) {
  EXPECT_TRUE(HasFillet(Corner(kPi / 2.0, kPi / 2.0)));
  CollisionCorner exchanged = Corner(kPi / 2.0, kPi / 2.0);
  std::swap(exchanged.before, exchanged.after);
  EXPECT_FALSE(HasFillet(exchanged));  // That wedge opens by 270 degrees.
}

// A direction whose angle is `wanted` to the last bit.
Vec2<double> ExactDirection(double wanted) {
  Vec2<double> direction = Direction(wanted);
  for (int i = 0; i < 64 && std::atan2(direction.y, direction.x) != wanted; ++i) {
    const double towards = std::atan2(direction.y, direction.x) < wanted ? 0.0 : 1.0;
    direction.y = std::nextafter(direction.y, towards);
  }
  EXPECT_EQ(std::atan2(direction.y, direction.x), wanted);
  return direction;
}

TEST(CollisionFillet, IsStillMadeAtExactly170Degrees) {
  constexpr double k170Degrees = 2.9670597283903604;
  CollisionCorner corner = Corner(0.0, 0.0);
  corner.after = {1.0, 0.0};
  corner.before = ExactDirection(k170Degrees);
  EXPECT_TRUE(HasFillet(corner));
  corner.before = ExactDirection(std::nextafter(k170Degrees, 4.0));
  EXPECT_FALSE(HasFillet(corner));
}

TEST(CollisionFillet, NeedsRoomForItsCircle) {
  // Of reach 2 and half width 1, tan(theta / 2) must reach 1 / 2.
  const double narrowest = 2.0 * std::atan(0.5);
  EXPECT_TRUE(HasFillet(Corner(1.0, narrowest + 1e-9)));
  EXPECT_FALSE(HasFillet(Corner(1.0, narrowest - 1e-9)));
  EXPECT_FALSE(HasFillet(Corner(1.0, 0.0)));
}

TEST(CollisionFillet, IsNotMadeOfNegativeWidths) {
  EXPECT_FALSE(HasFillet(Corner(kPi / 2.0, kPi / 2.0, -1.0, -2.0)));
  EXPECT_FALSE(HasFillet(Corner(kPi / 2.0, kPi / 2.0, -1.0, 2.0)));
  EXPECT_FALSE(HasFillet(Corner(kPi / 2.0, kPi / 2.0, 1.0, -2.0)));
}

TEST(CollisionFillet, LeavesTheResultAloneWhereThereIsNone) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const CollisionCorner& corner :
       {Corner(0.0, kPi), Corner(0.0, 0.1), Corner(nan, 1.5), Corner(0.0, 1.5, nan),
        Corner(0.0, 1.5, 1.0, nan), Corner(0.0, 1.5, -1.0, -2.0)}) {
    CollisionFillet fillet{{3.0, 4.0}, 5.0};
    EXPECT_FALSE(MakeCollisionFillet(corner, &fillet));
    EXPECT_EQ(fillet.centre, (Vec2<double>{3.0, 4.0}));
    EXPECT_EQ(fillet.radius, 5.0);
  }
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
