// SPDX-License-Identifier: Apache-2.0
#include "util/geometry3d/mesh/building_z.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <vector>

namespace geometry3d {
namespace {

using Place = Vector2<double>;

void FillTriangle(double z, PolygonZ* polygon) {
  *polygon->mutable_points() = {Place(0.0, 0.0), Place(4.0, 0.0), Place(0.0, 3.0)};
  *polygon->mutable_contour_sizes() = {3};
  *polygon->mutable_triangle_indices() = {0, 1, 2};
  polygon->set_z(z);
}

TEST(PolygonZ, IsEmptyAtHeightZeroAtFirst) {
  const PolygonZ polygon;
  EXPECT_TRUE(polygon.points().empty());
  EXPECT_TRUE(polygon.contour_sizes().empty());
  EXPECT_TRUE(polygon.triangle_indices().empty());
  EXPECT_EQ(polygon.z(), 0.0);
}

TEST(PolygonZ, KeepsItsHeightWhenCleared) {
  PolygonZ polygon;
  FillTriangle(12.5, &polygon);
  polygon.Clear();
  EXPECT_TRUE(polygon.points().empty());
  EXPECT_TRUE(polygon.contour_sizes().empty());
  EXPECT_TRUE(polygon.triangle_indices().empty());
  EXPECT_EQ(polygon.z(), 12.5);
}

TEST(PolygonZ, CopiesAllFields) {
  PolygonZ polygon;
  FillTriangle(12.5, &polygon);
  PolygonZ copy;
  FillTriangle(1.0, &copy);
  copy.mutable_points()->clear();
  copy.CopyFrom(polygon);
  EXPECT_TRUE(copy.IsEqual(polygon));
  EXPECT_EQ(copy.points().size(), 3u);
  EXPECT_EQ(copy.z(), 12.5);
}

class PolygonZIsUnequal : public testing::Test {
 protected:
  PolygonZIsUnequal() {
    FillTriangle(1.0, &one_);
    FillTriangle(1.0, &other_);
  }
  PolygonZ one_;
  PolygonZ other_;
};

TEST_F(PolygonZIsUnequal, OnlyWhenSomethingDiffers) {
  EXPECT_TRUE(one_.IsEqual(other_));
}

TEST_F(PolygonZIsUnequal, ByACoordinate) {
  (*other_.mutable_points())[2].y = 3.5;
  EXPECT_FALSE(one_.IsEqual(other_));
}

TEST_F(PolygonZIsUnequal, ByTheNumberOfPoints) {
  other_.mutable_points()->push_back(Place(0.0, 0.0));
  EXPECT_FALSE(one_.IsEqual(other_));
  EXPECT_FALSE(other_.IsEqual(one_));
}

TEST_F(PolygonZIsUnequal, ByAContourSize) {
  (*other_.mutable_contour_sizes())[0] = 2;
  EXPECT_FALSE(one_.IsEqual(other_));
}

TEST_F(PolygonZIsUnequal, ByATriangleIndex) {
  (*other_.mutable_triangle_indices())[0] = 2;
  EXPECT_FALSE(one_.IsEqual(other_));
}

TEST_F(PolygonZIsUnequal, ByTheHeight) {
  other_.set_z(2.0);
  EXPECT_FALSE(one_.IsEqual(other_));
}

TEST_F(PolygonZIsUnequal, ToItselfWithACoordinateThatIsNoNumber) {
  (*one_.mutable_points())[1].x = std::numeric_limits<double>::quiet_NaN();
  EXPECT_FALSE(one_.IsEqual(one_));
}

TEST_F(PolygonZIsUnequal, NotByTheSignOfZero) {
  (*other_.mutable_points())[0].x = -0.0;
  EXPECT_TRUE(one_.IsEqual(other_));
}

class BuildingOfThree : public testing::Test {
 protected:
  BuildingOfThree() {
    for (const double z : {1.0, 2.0, 3.0}) {
      FillTriangle(z, building_.AddNewPolygon());
    }
  }
  BuildingZ building_;
};

TEST_F(BuildingOfThree, GivesOutPolygonsThatStayWhileOthersAreAdded) {
  PolygonZ* const first = building_.polygons()[0];
  for (int i = 0; i < 100; ++i) {
    building_.AddNewPolygon();
  }
  EXPECT_EQ(building_.polygons()[0], first);
  EXPECT_EQ(building_.polygons().size(), 103u);
}

TEST_F(BuildingOfThree, ClosesTheGapOfARemovedPolygon) {
  building_.RemovePolygon(1);
  ASSERT_EQ(building_.polygons().size(), 2u);
  EXPECT_EQ(building_.polygons()[0]->z(), 1.0);
  EXPECT_EQ(building_.polygons()[1]->z(), 3.0);
}

TEST_F(BuildingOfThree, ThrowsForThePolygonBehindTheLastAndBeforeTheFirst) {
  EXPECT_THROW(building_.RemovePolygon(3), std::out_of_range);
  EXPECT_THROW(building_.RemovePolygon(-1), std::out_of_range);
  EXPECT_EQ(building_.polygons().size(), 3u);
}

TEST_F(BuildingOfThree, IsEmptyWhenCleared) {
  building_.Clear();
  EXPECT_TRUE(building_.polygons().empty());
}

TEST_F(BuildingOfThree, IsCopiedInPlaceOfWhatWasThere) {
  BuildingZ copy;
  copy.AddNewPolygon();
  copy.CopyFrom(building_);
  EXPECT_TRUE(copy.IsEqual(building_));
  EXPECT_EQ(copy.polygons().size(), 3u);
  EXPECT_NE(copy.polygons()[0], building_.polygons()[0]);
}

TEST_F(BuildingOfThree, IsEmptyWhenCopiedOntoItself) {
  building_.CopyFrom(building_);
  EXPECT_TRUE(building_.polygons().empty());
}

TEST_F(BuildingOfThree, IsUnequalToOneOfTwo) {
  BuildingZ other;
  other.CopyFrom(building_);
  other.RemovePolygon(2);
  EXPECT_FALSE(building_.IsEqual(other));
  EXPECT_FALSE(other.IsEqual(building_));
}

TEST_F(BuildingOfThree, IsUnequalToOneInAnotherOrder) {
  BuildingZ other;
  for (const double z : {1.0, 3.0, 2.0}) {
    FillTriangle(z, other.AddNewPolygon());
  }
  EXPECT_FALSE(building_.IsEqual(other));
}

TEST(BuildingZ, WithoutPolygonsEqualsAnother) {
  EXPECT_TRUE(BuildingZ().IsEqual(BuildingZ()));
}

}  // namespace
}  // namespace geometry3d
