// SPDX-License-Identifier: Apache-2.0
#include "util/geometry3d/mesh/bbox.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <utility>

namespace geometry3d {
namespace {

using Box = BBox3<double>;
using Point = Vector3<double>;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr int kIntMax = std::numeric_limits<int>::max();
constexpr int kIntMin = std::numeric_limits<int>::min();

const Box kUnit(Point(0, 0, 0), Point(1, 1, 1));
const Box kInverted(Point(0, 0, 5), Point(1, 1, 4));

TEST(BBox, BeginsCanonicallyEmpty) {
  const Box box;
  EXPECT_TRUE(box.IsEmpty());
  constexpr double kMax = std::numeric_limits<double>::max();
  EXPECT_EQ(box.GetMin(), Point(kMax, kMax, kMax));
  EXPECT_EQ(box.GetMax(), Point(-kMax, -kMax, -kMax));
  EXPECT_EQ(BBox3<int>().GetMin(), Vector3<int>(kIntMax, kIntMax, kIntMax));
  EXPECT_EQ(BBox3<int>().GetMax(), Vector3<int>(kIntMin, kIntMin, kIntMin));
}

TEST(BBox, HasNoSizeAndNoCentreWhenEmpty) {
  for (const Box& box : {Box(), kInverted}) {
    EXPECT_EQ(box.GetVolume(), 0.0);
    EXPECT_EQ(box.GetSurfaceArea(), 0.0);
    EXPECT_EQ(box.GetSize(), Point());
    EXPECT_EQ(box.GetWidth(), 0.0);
    EXPECT_EQ(box.GetHeight(), 0.0);
    EXPECT_EQ(box.GetDepth(), 0.0);
    EXPECT_EQ(box.GetMaxDimensionSize(), 0.0);
    EXPECT_TRUE(std::isnan(box.GetCenter().x));
    EXPECT_TRUE(std::isnan(box.GetCenter().y));
    EXPECT_TRUE(std::isnan(box.GetCenter().z));
  }
  EXPECT_TRUE(std::isnan(BBox3<float>().GetCenter().y));
  EXPECT_EQ(BBox3<int>().GetCenter(), Vector3<int>(kIntMax, kIntMax, kIntMax));
}

TEST(BBox, KeepsCornersUnchecked) {
  Box box(Point(3, 2, 1), Point(0, 0, 0));
  EXPECT_EQ(box.GetMin(), Point(3, 2, 1));
  box.SetMin(Point(9, 9, 9));
  box.SetMax(Point(8, 8, 8));
  EXPECT_EQ(box.GetMin(), Point(9, 9, 9));
  EXPECT_EQ(box.GetMax(), Point(8, 8, 8));
  box.Set(Point(1, 1, 1), Point(2, 2, 2));
  EXPECT_EQ(box.GetProjectionOnAxis(Box::z), std::make_pair(1.0, 2.0));
  box.Clear();
  EXPECT_EQ(box.GetMin(), Box().GetMin());
}

TEST(BBox, StandsOnAFlatBox) {
  const BBox2<double> flat{{1, 2}, {3, 4}};
  EXPECT_EQ(Box(flat, 5, 6), Box(Point(1, 2, 5), Point(3, 4, 6)));
}

TEST(BBox, MeasuresItself) {
  const Box box(Point(0, 1, 2), Point(2, 4, 7));
  EXPECT_EQ(box.GetWidth(), 2.0);
  EXPECT_EQ(box.GetHeight(), 3.0);
  EXPECT_EQ(box.GetDepth(), 5.0);
  EXPECT_EQ(box.GetSizeInDimension(Box::y), 3.0);
  EXPECT_EQ(box.GetMaxDimensionSize(), 5.0);
  EXPECT_EQ(box.GetSize(), Point(2, 3, 5));
  EXPECT_EQ(box.GetSurfaceArea(), 62.0);
  EXPECT_EQ(box.GetVolume(), 30.0);
  EXPECT_EQ(box.GetCenter(), Point(1, 2.5, 4.5));
}

TEST(BBox, ProjectsAlsoWhenEmpty) {
  EXPECT_EQ(kInverted.GetProjectionOnAxis(Box::z), std::make_pair(5.0, 4.0));
  EXPECT_EQ(kInverted.GetProjectionOnAxis(Box::x), std::make_pair(0.0, 1.0));
}

TEST(BBox, MultipliesFloatsInFloat) {
  const BBox3<float> box(Vector3<float>(), Vector3<float>(0.1f, 0.3f, 0.7f));
  EXPECT_EQ(box.GetVolume(), static_cast<double>(0.1f * 0.3f * 0.7f));
  EXPECT_EQ(box.GetSurfaceArea(), 2.0f * (0.1f * 0.3f + 0.3f * 0.7f + 0.7f * 0.1f));
  EXPECT_EQ(box.GetWidth(), static_cast<double>(0.1f));
}

TEST(BBox, AddsTheFacesOfFloatsInTheirOrder) {
  // Any other order, or sums in `double`, give another number here.
  const BBox3<float> box(Vector3<float>(), Vector3<float>(1 * 0.1f, 2 * 0.1f, 7 * 0.1f));
  EXPECT_EQ(box.GetSurfaceArea(), 0x1.d70a3cp-2f);
}

TEST(BBox, SubtractsFloatsInFloat) {
  const BBox3<float> box(Vector3<float>(0.1f, 0, 0), Vector3<float>(1e8f, 0, 0));
  // The difference 99999999.9 has no float.
  EXPECT_EQ(box.GetWidth(), 1e8);
  EXPECT_EQ(box.GetMaxDimensionSize(), 1e8);
}

TEST(BBox, AddsFloatCornersInFloatForTheCentre) {
  // The sum 6e38 has no float; halved in `double` it would fit again.
  const BBox3<float> box(Vector3<float>(3e38f, 0, 0), Vector3<float>(3e38f, 0, 0));
  EXPECT_EQ(box.GetCenter().x, std::numeric_limits<float>::infinity());
}

TEST(BBox, CutsTheCentreOfIntegersTowardsZero) {
  const BBox3<int> box(Vector3<int>(-4, -3, 0), Vector3<int>(1, 0, 3));
  EXPECT_EQ(box.GetCenter(), Vector3<int>(-1, -1, 1));
}

TEST(BBox, HasACentreOfIntegersFarFromZero) {
  const BBox3<int> box(Vector3<int>(kIntMax - 2, kIntMin, kIntMin),
                       Vector3<int>(kIntMax, kIntMin + 2, kIntMax));
  EXPECT_EQ(box.GetCenter(), Vector3<int>(kIntMax - 1, kIntMin + 1, 0));
}

TEST(BBox, WrapsMeasuresOfIntegers) {
  const BBox3<int> box(Vector3<int>(), Vector3<int>(65536, 65536, 3));
  EXPECT_EQ(box.GetVolume(), 0.0);
  EXPECT_EQ(box.GetSurfaceArea(), 2 * 2 * 65536 * 3);
  const BBox3<int> wide(Vector3<int>(kIntMin, 0, 0), Vector3<int>(kIntMax, 1, 1));
  EXPECT_EQ(wide.GetWidth(), -1.0);
}

TEST(BBox, BecomesTheFirstPointItHolds) {
  Box box = kInverted;
  box.ExtendToContainPoint(Point(7, 8, 9));
  EXPECT_FALSE(box.IsEmpty());
  EXPECT_EQ(box.GetMin(), Point(7, 8, 9));
  EXPECT_EQ(box.GetMax(), Point(7, 8, 9));
  EXPECT_EQ(box.GetSize(), Point());
}

TEST(BBox, GrowsToHoldPoints) {
  Box box = kUnit;
  box.ExtendToContainPoint(Point(0.5, -2, 3));
  EXPECT_EQ(box, Box(Point(0, -2, 0), Point(1, 1, 3)));
}

TEST(BBox, HoldsEveryPointItWasGivenAndNoMore) {
  std::mt19937 random(20261121);
  std::uniform_real_distribution<float> number(-100.0f, 100.0f);
  BBox3<float> box;
  Vector3<float> low(1000.0f, 1000.0f, 1000.0f);
  Vector3<float> high = low * -1.0f;
  for (int i = 0; i < 1000; ++i) {
    const float x = number(random);
    const float y = number(random);
    const float z = number(random);
    box.ExtendToContainPoint(Vector3<float>(x, y, z));
    low = Vector3<float>(std::fmin(low.x, x), std::fmin(low.y, y), std::fmin(low.z, z));
    high = Vector3<float>(std::fmax(high.x, x), std::fmax(high.y, y), std::fmax(high.z, z));
    ASSERT_EQ(box.GetMin(), low);
    ASSERT_EQ(box.GetMax(), high);
  }
}

TEST(BBox, TakesTheRestOfAPointWithNaNs) {
  Box box = kUnit;
  box.ExtendToContainPoint(Point(kNaN, 2, -1));
  EXPECT_EQ(box, Box(Point(0, 0, -1), Point(1, 2, 1)));
}

TEST(BBox, IsNotEmptyInAnAxisWithANaN) {
  const Box box(Point(kNaN, 0, 0), Point(-5, 1, 1));
  EXPECT_FALSE(box.IsEmpty());
  EXPECT_FALSE(box == box);
}

TEST(BBox, GrowsByBoxesUnlessEmpty) {
  Box box = kUnit;
  box.ExtendToContainBBox(kInverted);
  EXPECT_EQ(box, kUnit);
  box.ExtendToContainBBox(Box(Point(-1, 0, 0), Point(0, 0, 9)));
  EXPECT_EQ(box, Box(Point(-1, 0, 0), Point(1, 1, 9)));
  box.ExtendToContainBBox(box);
  EXPECT_EQ(box, Box(Point(-1, 0, 0), Point(1, 1, 9)));
}

TEST(BBox, ExpandsAndIsEmptiedByExpandingInwards) {
  Box box = kUnit;
  box.Expand(2);
  EXPECT_EQ(box, Box(Point(-2, -2, -2), Point(3, 3, 3)));
  box = kUnit;
  box.Expand(-1);
  EXPECT_TRUE(box.IsEmpty());
  EXPECT_EQ(box.GetMin(), Point(1, 1, 1));
  box.Expand(10);
  EXPECT_EQ(box.GetMin(), Point(1, 1, 1));
}

TEST(BBox, FindsTheClosestPoint) {
  EXPECT_EQ(kUnit.ClosestPointInBox(Point(-1, 0.5, 7)), Point(0, 0.5, 1));
  Point point(2, -2, 0.25);
  kUnit.ClampToBox(&point);
  EXPECT_EQ(point, Point(1, 0, 0.25));
  EXPECT_EQ(kInverted.ClosestPointInBox(Point(0.5, 0.5, 0.5)), Point(0.5, 0.5, 4));
}

TEST(BBox, ContainsItsFaces) {
  EXPECT_TRUE(kUnit.ContainsPoint(Point(1, 0, 0.5)));
  EXPECT_FALSE(kUnit.ContainsPoint(Point(1, 0, 1.001)));
  EXPECT_FALSE(kUnit.ContainsPoint(Point(-0.001, 0, 1)));
  EXPECT_FALSE(kUnit.ContainsPoint(Point(kNaN, 0, 0)));
  EXPECT_FALSE(Box().ContainsPoint(Point()));
}

TEST(BBox, ContainsABoxByItsCorners) {
  EXPECT_TRUE(kUnit.Contains(kUnit));
  EXPECT_FALSE(kUnit.Contains(Box(Point(0, 0, 0), Point(1, 1, 2))));
  EXPECT_FALSE(kUnit.Contains(Box(Point(0, -1, 0), Point(1, 1, 1))));
  EXPECT_FALSE(kUnit.Contains(Box()));
  // An inverted box whose corners lie inside counts as contained.
  EXPECT_TRUE(kUnit.Contains(Box(Point(1, 1, 1), Point(0, 0, 0))));
}

TEST(BBox, LiesOutsideBeyondEitherSideOfAnyAxis) {
  EXPECT_FALSE(kUnit.IsOutsideBBox(kUnit));
  for (const Point& by : {Point(1.5, 0, 0), Point(0, 1.5, 0), Point(0, 0, 1.5)}) {
    EXPECT_TRUE(kUnit.IsOutsideBBox(kUnit.Translate(by)));
    EXPECT_TRUE(kUnit.IsOutsideBBox(kUnit.Translate(by * -1.0)));
  }
  EXPECT_FALSE(kUnit.IsOutsideBBox(kUnit.Translate(Point(1, 0, 0))));
}

TEST(BBox, UnitesWithAnEmptyBoxToTheOther) {
  EXPECT_EQ(kUnit.Union(Box()), kUnit);
  EXPECT_EQ(Box().Union(kUnit), kUnit);
  EXPECT_EQ(kUnit.Union(kUnit.Translate(Point(2, 0, 0))), Box(Point(0, 0, 0), Point(3, 1, 1)));
}

TEST(BBox, MeetsATouchingBoxInAFace) {
  const Box face = kUnit.Intersection(kUnit.Translate(Point(1, 0, 0)));
  EXPECT_FALSE(face.IsEmpty());
  EXPECT_EQ(face, Box(Point(1, 0, 0), Point(1, 1, 1)));
}

TEST(BBox, MeetsADistantBoxNowhere) {
  EXPECT_TRUE(kUnit.Intersection(kUnit.Translate(Point(0, 0, 3))).IsEmpty());
}

TEST(BBox, MovesUnlessEmpty) {
  EXPECT_EQ(kUnit.Translate(Point(1, 2, 3)), Box(Point(1, 2, 3), Point(2, 3, 4)));
  EXPECT_EQ(kInverted.Translate(Point(1, 2, 3)).GetMin(), kInverted.GetMin());
}

TEST(BBox, EqualsAnyOtherEmptyBox) {
  EXPECT_EQ(Box(), kInverted);
  EXPECT_NE(Box(), kUnit);
  EXPECT_NE(kUnit, kInverted);
  EXPECT_EQ(Box(Point(-0.0, 0, 0), Point(1, 1, 1)), kUnit);
}

TEST(BBox, ApproximatelyEqualsWithinTheTolerance) {
  const Box near(Point(0.05, 0, 0), Point(1, 0.95, 1));
  EXPECT_TRUE(kUnit.ApproxEquals(near, 0.0501));
  EXPECT_FALSE(kUnit.ApproxEquals(near, 0.04));
  EXPECT_TRUE(kUnit.ApproxEquals(kUnit, 0));
  EXPECT_FALSE(kUnit.ApproxEquals(kUnit.Translate(Point(0, 0, 1)), 0.9));
}

TEST(BBox, ApproximatelyEqualsASmallBoxWhenEmpty) {
  const Box small(Point(0, 0, 0), Point(0.1, 0.1, 0.1));
  EXPECT_TRUE(Box().ApproxEquals(small, 0.05));
  EXPECT_TRUE(small.ApproxEquals(Box(), 0.05));
  EXPECT_FALSE(Box().ApproxEquals(small, 0.04));
  EXPECT_FALSE(small.ApproxEquals(Box(), 0.04));
  EXPECT_TRUE(Box().ApproxEquals(kInverted, 0.5));
}

TEST(BBox, JudgesEachAxisByItself) {
  // Inverted in z only: x and y are compared by their ends.
  EXPECT_TRUE(kInverted.ApproxEquals(Box(Point(0, 0, 0), Point(1, 1, 0.5)), 0.25));
  EXPECT_FALSE(kInverted.ApproxEquals(Box(Point(0.5, 0, 0), Point(1, 1, 0.5)), 0.25));
}

TEST(BBox, IsNeverApproximatelyEqualWithANaN) {
  const Box odd(Point(kNaN, 0, 0), Point(1, 1, 1));
  EXPECT_FALSE(odd.ApproxEquals(odd, 1e9));
  EXPECT_FALSE(kUnit.ApproxEquals(odd, 1e9));
}

TEST(BBox, ComparesIntegersApproximatelyWithoutOverflow) {
  const BBox3<int> wide(Vector3<int>(kIntMin, 0, 0), Vector3<int>(kIntMax, 0, 0));
  EXPECT_FALSE(wide.ApproxEquals(BBox3<int>(), 10.0));
  EXPECT_TRUE(wide.ApproxEquals(BBox3<int>(), 2147483648.0));
}

}  // namespace
}  // namespace geometry3d
