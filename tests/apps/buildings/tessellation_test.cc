// SPDX-License-Identifier: Apache-2.0
#include "apps/buildings/tessellation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace pelorin {
namespace {

double TwiceTheArea(const PlanePoint& a, const PlanePoint& b, const PlanePoint& c) {
  return (b.x - a.x) * (c.y - a.y) - (c.x - a.x) * (b.y - a.y);
}

// By the outline, holes subtracted.
double AreaOfContours(const TessellatedPolygon& polygon) {
  double sum = 0.0;
  std::size_t start = 0;
  for (const int size : polygon.contour_sizes) {
    for (int i = 2; i < size; ++i) {
      const std::size_t at = start + static_cast<std::size_t>(i);
      sum += TwiceTheArea(polygon.points[start], polygon.points[at - 1], polygon.points[at]) / 2.0;
    }
    start += static_cast<std::size_t>(size);
  }
  return sum;
}

// By the triangles, which must all turn left.
double AreaOfTriangles(const TessellatedPolygon& polygon) {
  double sum = 0.0;
  for (std::size_t i = 0; i + 2 < polygon.triangles.size(); i += 3) {
    const auto corner = [&polygon, i](std::size_t k) {
      return polygon.points.at(static_cast<std::size_t>(polygon.triangles[i + k]));
    };
    const double area = TwiceTheArea(corner(0), corner(1), corner(2)) / 2.0;
    EXPECT_GT(area, 0.0);
    sum += area;
  }
  return sum;
}

class Tessellation : public testing::Test {
 protected:
  std::vector<TessellatedPolygon> Cut(const std::vector<PlaneRing>& rings) {
    Tessellator tessellator(1.0 / 256.0);
    return tessellator.Cut(rings, &repaired_);
  }
  bool repaired_ = true;
};

const PlaneRing kSquare = {PlanePoint(0, 0), PlanePoint(4, 0), PlanePoint(4, 4), PlanePoint(0, 4)};
const PlaneRing kHole = {PlanePoint(1, 1), PlanePoint(3, 1), PlanePoint(3, 3), PlanePoint(1, 3)};

TEST_F(Tessellation, CutsASquareIntoTwoTriangles) {
  const auto parts = Cut({kSquare});
  ASSERT_EQ(parts.size(), 1u);
  EXPECT_EQ(parts[0].contour_sizes, std::vector<int>{4});
  EXPECT_EQ(parts[0].triangles.size(), 6u);
  EXPECT_EQ(AreaOfTriangles(parts[0]), 16.0);
  EXPECT_FALSE(repaired_);
}

TEST_F(Tessellation, TurnsAnOutlineThatRunsClockwise) {
  const auto parts = Cut({PlaneRing(kSquare.rbegin(), kSquare.rend())});
  ASSERT_EQ(parts.size(), 1u);
  EXPECT_EQ(AreaOfContours(parts[0]), 16.0);
  EXPECT_EQ(AreaOfTriangles(parts[0]), 16.0);
}

TEST_F(Tessellation, LeavesAHoleOpenAndRunsItClockwise) {
  for (const PlaneRing& hole : {kHole, PlaneRing(kHole.rbegin(), kHole.rend())}) {
    const auto parts = Cut({kSquare, hole});
    ASSERT_EQ(parts.size(), 1u);
    EXPECT_EQ(parts[0].contour_sizes, (std::vector<int>{4, 4}));
    EXPECT_EQ(AreaOfContours(parts[0]), 12.0);
    EXPECT_EQ(AreaOfTriangles(parts[0]), 12.0);
  }
}

TEST_F(Tessellation, RepairsAnOutlineThatCrossesItself) {
  // A bow tie: two triangles that meet at (2, 2).
  const auto parts =
      Cut({{PlanePoint(0, 0), PlanePoint(4, 4), PlanePoint(4, 0), PlanePoint(0, 4)}});
  EXPECT_TRUE(repaired_);
  ASSERT_EQ(parts.size(), 2u);
  EXPECT_EQ(AreaOfTriangles(parts[0]) + AreaOfTriangles(parts[1]), 8.0);
}

TEST_F(Tessellation, TakesAHoleThatTouchesTheOutlineAtAPoint) {
  const auto parts = Cut({kSquare, {PlanePoint(0, 0), PlanePoint(2, 1), PlanePoint(1, 2)}});
  ASSERT_EQ(parts.size(), 1u);
  EXPECT_EQ(AreaOfTriangles(parts[0]), AreaOfContours(parts[0]));
}

TEST_F(Tessellation, MakesNothingOfAnOutlineThinnerThanAStep) {
  EXPECT_TRUE(Cut({{PlanePoint(0, 0), PlanePoint(4, 0), PlanePoint(4, 0.001)}}).empty());
}

TEST_F(Tessellation, MakesNothingOfAnOutlineOnALine) {
  EXPECT_TRUE(Cut({{PlanePoint(0, 0), PlanePoint(4, 0), PlanePoint(2, 0)}}).empty());
}

TEST_F(Tessellation, MovesCoordinatesToWholeSteps) {
  const auto parts = Cut({{PlanePoint(0.1, 0.2), PlanePoint(3.3, 0.7), PlanePoint(2.9, 4.1)}});
  ASSERT_EQ(parts.size(), 1u);
  for (const PlanePoint& point : parts[0].points) {
    EXPECT_EQ(point.x * 256.0, std::nearbyint(point.x * 256.0));
    EXPECT_EQ(point.y * 256.0, std::nearbyint(point.y * 256.0));
  }
}

TEST_F(Tessellation, FailsForTooManyPoints) {
  PlaneRing ring(100001, PlanePoint(0, 0));
  EXPECT_THROW(Cut({ring}), TessellationFault);
}

TEST_F(Tessellation, FailsForTanglesThatWouldTakeTheRepairForever) {
  std::mt19937 random(20261122);
  std::uniform_real_distribution<double> place(0.0, 100.0);
  PlaneRing tangle;
  PlaneRing back_and_forth = {PlanePoint(0, 1)};
  PlaneRing fan;
  for (int i = 0; i < 800; ++i) {
    const double x = place(random);
    tangle.push_back(PlanePoint(x, place(random)));
    back_and_forth.push_back(PlanePoint(x, 0));
    fan.push_back(i % 2 == 0 ? PlanePoint(i, 0) : PlanePoint(400, 400));
  }
  for (const PlaneRing& ring : {tangle, back_and_forth, fan}) {
    try {
      Cut({ring});
      FAIL();
    } catch (const TessellationFault& fault) {
      EXPECT_STREQ(fault.what(), "it crosses or touches itself more than 1000 times");
    }
  }
}

TEST_F(Tessellation, RepairsCourtyardsThatShareALongBoundary) {
  PlaneRing left = {PlanePoint(10, 90), PlanePoint(10, 10)};
  PlaneRing right = {PlanePoint(90, 90), PlanePoint(90, 10)};
  for (int i = 0; i <= 200; ++i) {
    const PlanePoint shared(50 + i % 2, 10 + 0.4 * i);
    left.push_back(shared);
    right.push_back(shared);
  }
  const PlaneRing outline = {PlanePoint(0, 0), PlanePoint(100, 0), PlanePoint(100, 100),
                             PlanePoint(0, 100)};
  EXPECT_FALSE(Cut({outline, left, right}).empty());
  EXPECT_TRUE(repaired_);
}

TEST_F(Tessellation, RepairsALongOutlineThatCrossesItselfAFewTimes) {
  // A comb of a thousand teeth, ten of which lean over their neighbour.
  PlaneRing comb = {PlanePoint(0, -1)};
  for (int tooth = 0; tooth < 1000; ++tooth) {
    const double top = 2 * tooth + (tooth % 100 == 50 ? 2.5 : 0.5);
    comb.insert(comb.end(),
                {PlanePoint(2 * tooth, 0), PlanePoint(top, 4), PlanePoint(2 * tooth + 1, 0)});
  }
  comb.push_back(PlanePoint(1999, -1));
  EXPECT_FALSE(Cut({comb}).empty());
  EXPECT_TRUE(repaired_);
}

// Stars of random radii: any of them can be cut, and the triangles fill it exactly.
TEST_F(Tessellation, FillsRandomStarsExactly) {
  std::mt19937 random(20261121);
  std::uniform_real_distribution<double> radius(0.5, 50.0);
  for (int round = 0; round < 100; ++round) {
    const int corners = 3 + static_cast<int>(random() % 60);
    PlaneRing star;
    for (int i = 0; i < corners; ++i) {
      const double angle = 2.0 * std::acos(-1.0) * i / corners;
      const double length = radius(random);
      star.push_back(PlanePoint(length * std::cos(angle), length * std::sin(angle)));
    }
    double contours = 0.0;
    double triangles = 0.0;
    for (const TessellatedPolygon& part : Cut({star})) {
      contours += AreaOfContours(part);
      triangles += AreaOfTriangles(part);
    }
    EXPECT_GT(triangles, 0.0) << round;
    EXPECT_NEAR(triangles, contours, 1e-9 * contours) << round;
  }
}

}  // namespace
}  // namespace pelorin
