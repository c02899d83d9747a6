// SPDX-License-Identifier: Apache-2.0
#include "util/geometry3d/mesh/building_z_shape.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "tests/support/log_recorder.h"
#include "tests/util/geometry3d/mesh/building_samples.h"

namespace geometry3d {
namespace {

using test_support::FillHouse;
using test_support::FillTower;
using test_support::LogRecorder;
using Place = Vector2<double>;
using Lines = std::vector<std::string>;

std::vector<Vector3<float>> Normals(std::vector<Vector3<float>> normals) {
  return normals;
}

void ExpectNormals(const Shape& shape, const std::vector<Vector3<float>>& expected) {
  ASSERT_EQ(shape.normals().size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    // By value: a wall along an axis has a zero of either sign.
    EXPECT_EQ(shape.normals()[i].x, expected[i].x) << i;
    EXPECT_EQ(shape.normals()[i].y, expected[i].y) << i;
    EXPECT_EQ(shape.normals()[i].z, expected[i].z) << i;
  }
}

class HouseShape : public testing::Test {
 protected:
  HouseShape() {
    FillHouse(building_.AddNewPolygon());
    good_ = BuildingZShape::CreateShapeWithDefaults(building_, &shape_);
  }
  BuildingZ building_;
  Shape shape_;
  bool good_ = false;
};

TEST_F(HouseShape, IsMadeAndValid) {
  std::string error;
  EXPECT_TRUE(good_);
  EXPECT_TRUE(shape_.Validate(&error)) << error;
}

TEST_F(HouseShape, HasAWallAndACreaseMaterial) {
  ASSERT_EQ(shape_.materials().size(), 2u);
  EXPECT_EQ(shape_.materials()[0]->diffuse_color().x, 0.68f);
  EXPECT_EQ(shape_.materials()[0]->diffuse_color().y, 0.66f);
  EXPECT_EQ(shape_.materials()[0]->diffuse_color().z, 0.68f);
  EXPECT_EQ(shape_.materials()[1]->diffuse_color().x, 1.0f);
  EXPECT_EQ(shape_.materials()[1]->diffuse_color().y, 0.86f);
  EXPECT_EQ(shape_.materials()[1]->diffuse_color().z, 0.68f);
  EXPECT_EQ(shape_.materials()[0]->ambient_color().x, 0.0f);
}

TEST_F(HouseShape, HasTheTopRingBeforeTheBottomRing) {
  const double expected[][3] = {{0, 0, 10}, {1, 0, 10}, {1, 1, 10}, {0, 1, 10},
                                {0, 0, 0},  {1, 0, 0},  {1, 1, 0},  {0, 1, 0}};
  ASSERT_EQ(shape_.points().size(), 8u);
  for (std::size_t i = 0; i < 8; ++i) {
    EXPECT_EQ(shape_.points()[i].x, expected[i][0]) << i;
    EXPECT_EQ(shape_.points()[i].y, expected[i][1]) << i;
    EXPECT_EQ(shape_.points()[i].z, expected[i][2]) << i;
  }
}

TEST_F(HouseShape, HasOneNormalUpAndOneForEachWall) {
  ExpectNormals(shape_, {Vector3<float>(0, 0, 1), Vector3<float>(0, -1, 0), Vector3<float>(1, 0, 0),
                         Vector3<float>(0, 1, 0), Vector3<float>(-1, 0, 0)});
}

TEST_F(HouseShape, HasARoofAndFourWallsInTheFirstSet) {
  ASSERT_EQ(shape_.index_sets().size(), 2u);
  const IndexSet& set = *shape_.index_sets()[0];
  EXPECT_EQ(set.format(), 0);
  EXPECT_EQ(set.material_index(), 0);
  EXPECT_EQ(set.point_indices(), (std::vector<int>{0, 1, 2, 0, 2, 3, 0, 4, 5, 0, 5, 1, 1, 5, 6,
                                                   1, 6, 2, 2, 6, 7, 2, 7, 3, 3, 7, 4, 3, 4, 0}));
  EXPECT_EQ(set.normal_indices(), (std::vector<int>{0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 2, 2, 2,
                                                    2, 2, 2, 3, 3, 3, 3, 3, 3, 4, 4, 4, 4, 4, 4}));
  EXPECT_TRUE(set.tex_coord_indices().empty());
}

TEST_F(HouseShape, HasItsEdgesInTheSecondSet) {
  const IndexSet& set = *shape_.index_sets()[1];
  EXPECT_EQ(set.format(), 5);
  EXPECT_EQ(set.material_index(), 1);
  EXPECT_EQ(set.point_indices(), (std::vector<int>{0, 1, 4, 5, 0, 4, 1, 2, 5, 6, 1, 5,
                                                   2, 3, 6, 7, 2, 6, 3, 0, 7, 4, 3, 7}));
  EXPECT_TRUE(set.normal_indices().empty());
}

TEST_F(HouseShape, IsAddedBehindWhatTheShapeHolds) {
  ASSERT_TRUE(BuildingZShape::CreateShapeWithDefaults(building_, &shape_));
  EXPECT_EQ(shape_.materials().size(), 4u);
  EXPECT_EQ(shape_.points().size(), 16u);
  EXPECT_EQ(shape_.normals().size(), 10u);
  ASSERT_EQ(shape_.index_sets().size(), 4u);
  const IndexSet& walls = *shape_.index_sets()[2];
  EXPECT_EQ(walls.material_index(), 2);
  EXPECT_EQ(walls.point_indices()[0], 8);
  EXPECT_EQ(walls.point_indices()[7], 12);
  EXPECT_EQ(walls.normal_indices()[0], 5);
  EXPECT_EQ(shape_.index_sets()[3]->material_index(), 3);
}

class BuildingShape : public testing::Test {
 protected:
  bool Create(bool edges = false, float threshold = 0.8f) {
    return BuildingZShape::CreateShape(building_, nullptr, nullptr, -2.0, edges, threshold,
                                       &shape_);
  }
  PolygonZ* AddHouse() {
    PolygonZ* const polygon = building_.AddNewPolygon();
    FillHouse(polygon);
    return polygon;
  }
  // Left and right normal of each wall.
  std::vector<int> WallNormals(std::size_t roof_indices) const {
    const std::vector<int>& all = shape_.index_sets()[0]->normal_indices();
    std::vector<int> sides;
    for (std::size_t i = roof_indices; i < all.size(); i += 6) {
      EXPECT_EQ(all[i + 1], all[i]);
      EXPECT_EQ(all[i + 3], all[i]);
      EXPECT_EQ(all[i + 4], all[i + 2]);
      EXPECT_EQ(all[i + 5], all[i + 2]);
      sides.insert(sides.end(), {all[i], all[i + 2]});
    }
    return sides;
  }

  BuildingZ building_;
  Shape shape_;
};

TEST_F(BuildingShape, OfNoPolygonsIsEmpty) {
  EXPECT_TRUE(Create());
  EXPECT_TRUE(shape_.points().empty());
  EXPECT_TRUE(shape_.index_sets().empty());
}

TEST_F(BuildingShape, StandsOnTheBaseHeight) {
  AddHouse();
  ASSERT_TRUE(Create());
  EXPECT_EQ(shape_.points()[4].z, -2.0);
}

TEST_F(BuildingShape, HasNoMaterialAndNoLinesUnlessGiven) {
  AddHouse();
  ASSERT_TRUE(Create());
  EXPECT_TRUE(shape_.materials().empty());
  ASSERT_EQ(shape_.index_sets().size(), 1u);
  EXPECT_EQ(shape_.index_sets()[0]->material_index(), -1);
}

TEST_F(BuildingShape, HasLinesWithoutMaterialForEdgesWithoutOne) {
  AddHouse();
  ASSERT_TRUE(Create(true));
  ASSERT_EQ(shape_.index_sets().size(), 2u);
  EXPECT_EQ(shape_.index_sets()[1]->format(), 5);
  EXPECT_EQ(shape_.index_sets()[1]->material_index(), -1);
}

TEST_F(BuildingShape, MakesAFatalEntryForACreaseMaterialWithoutEdgesAndCopiesIt) {
  AddHouse();
  Material crease;
  crease.set_shininess(7.0f);
  const LogRecorder log;
  EXPECT_TRUE(BuildingZShape::CreateShape(building_, nullptr, &crease, 0.0, false, 0.8f, &shape_));
  EXPECT_EQ(log.lines(), Lines{"3 Check failed: add_crease_edges"});
  ASSERT_EQ(shape_.materials().size(), 1u);
  EXPECT_EQ(shape_.materials()[0]->shininess(), 7.0f);
  EXPECT_EQ(shape_.index_sets().size(), 1u);
}

TEST_F(BuildingShape, MakesAFatalEntryForNoShape) {
  AddHouse();
  const LogRecorder log;
  EXPECT_FALSE(BuildingZShape::CreateShapeWithDefaults(building_, nullptr));
  EXPECT_EQ(log.lines(), Lines{"3 Check failed: shape"});
}

TEST_F(BuildingShape, EndsAtAPolygonWithoutTriangles) {
  AddHouse();
  AddHouse()->mutable_triangle_indices()->clear();
  AddHouse();
  const LogRecorder log;
  EXPECT_FALSE(Create());
  EXPECT_EQ(log.lines(), Lines{"2 Polygon 1 has not been tessellated."});
  EXPECT_EQ(shape_.index_sets().size(), 1u);
  EXPECT_EQ(shape_.points().size(), 8u);
}

TEST_F(BuildingShape, EndsAtAPolygonWithoutAnythingToo) {
  building_.AddNewPolygon();
  const LogRecorder log;
  EXPECT_FALSE(Create());
  EXPECT_EQ(log.lines(), Lines{"2 Polygon 0 has not been tessellated."});
}

class LeftOutPolygon : public BuildingShape {
 protected:
  // Makes the shape and expects nothing of it but the house behind the polygon.
  void ExpectHouseOnly() {
    AddHouse();
    const LogRecorder log;
    EXPECT_TRUE(Create());
    EXPECT_EQ(log.lines(), Lines{});
    EXPECT_EQ(shape_.index_sets().size(), 1u);
    EXPECT_EQ(shape_.points().size(), 8u);
    EXPECT_EQ(shape_.normals().size(), 5u);
  }
};

TEST_F(LeftOutPolygon, OfTwoPoints) {
  PolygonZ* const polygon = AddHouse();
  polygon->mutable_points()->resize(2);
  *polygon->mutable_contour_sizes() = {2};
  ExpectHouseOnly();
}

TEST_F(LeftOutPolygon, WithoutContours) {
  AddHouse()->mutable_contour_sizes()->clear();
  ExpectHouseOnly();
}

TEST_F(LeftOutPolygon, OfTwoTriangleIndices) {
  AddHouse()->mutable_triangle_indices()->resize(2);
  ExpectHouseOnly();
}

TEST_F(LeftOutPolygon, OfATriangleAndAnIndex) {
  AddHouse()->mutable_triangle_indices()->resize(4);
  ExpectHouseOnly();
}

TEST_F(BuildingShape, LeavesOutANullPolygonBehindAFatalEntry) {
  const_cast<std::vector<PolygonZ*>&>(building_.polygons()).push_back(nullptr);
  AddHouse();
  const LogRecorder log;
  EXPECT_TRUE(Create());
  EXPECT_EQ(log.lines(), Lines{"3 Check failed: polygon"});
  EXPECT_EQ(shape_.points().size(), 8u);
}

TEST_F(BuildingShape, FailsAtTheLastPointForContoursOneTooShort) {
  *AddHouse()->mutable_contour_sizes() = {3};
  const LogRecorder log;
  EXPECT_FALSE(Create());
  EXPECT_EQ(log.lines(), Lines{"2 PolygonZ contour size mismatch"});
  // The roof and the walls of the three points that have a contour.
  EXPECT_EQ(shape_.index_sets()[0]->point_indices().size(), 6u + 3u * 6u);
}

TEST_F(BuildingShape, FailsAtTheLastContourForContoursOneTooLong) {
  *AddHouse()->mutable_contour_sizes() = {1, 4};
  const LogRecorder log;
  EXPECT_FALSE(Create());
  EXPECT_EQ(log.lines(), Lines{"2 PolygonZ contour size mismatch"});
  EXPECT_EQ(shape_.index_sets()[0]->point_indices().size(), 6u + 6u);
}

TEST_F(BuildingShape, FailsForAContourSizeThatAnIntCannotAdd) {
  *AddHouse()->mutable_contour_sizes() = {1, std::numeric_limits<int>::max()};
  EXPECT_FALSE(Create());
}

TEST_F(BuildingShape, FailsForAContourOfNoPoints) {
  *AddHouse()->mutable_contour_sizes() = {0, 4};
  const LogRecorder log;
  EXPECT_FALSE(Create());
  EXPECT_EQ(log.lines(), Lines{"2 PolygonZ contour size mismatch"});
}

TEST_F(BuildingShape, FailsForAContourOfLessThanNoPoints) {
  *AddHouse()->mutable_contour_sizes() = {2, -2, 4};
  EXPECT_FALSE(Create());
}

TEST_F(BuildingShape, DoesNotLookAtContoursBehindTheLastPoint) {
  *AddHouse()->mutable_contour_sizes() = {4, 3};
  const LogRecorder log;
  EXPECT_TRUE(Create());
  EXPECT_EQ(log.lines(), Lines{});
}

TEST_F(BuildingShape, ClosesEachContourOnItself) {
  // A triangle and a wall there and back.
  PolygonZ* const polygon = building_.AddNewPolygon();
  *polygon->mutable_points() = {Place(0, 0), Place(4, 0), Place(0, 4), Place(8, 0), Place(9, 0)};
  *polygon->mutable_contour_sizes() = {3, 2};
  *polygon->mutable_triangle_indices() = {0, 1, 2};
  ASSERT_TRUE(Create());
  const std::vector<int>& indices = shape_.index_sets()[0]->point_indices();
  EXPECT_EQ(std::vector<int>(indices.begin() + 3 + 12, indices.end()),
            (std::vector<int>{2, 7, 5, 2, 5, 0, 3, 8, 9, 3, 9, 4, 4, 9, 8, 4, 8, 3}));
}

TEST_F(BuildingShape, TakesAContourOfOnePoint) {
  PolygonZ* const polygon = AddHouse();
  *polygon->mutable_contour_sizes() = {3, 1};
  ASSERT_TRUE(Create());
  const std::vector<int>& indices = shape_.index_sets()[0]->point_indices();
  EXPECT_EQ(std::vector<int>(indices.end() - 6, indices.end()),
            (std::vector<int>{3, 7, 7, 3, 7, 3}));
  // A wall without length: a crease on both sides, flat, with a zero normal.
  ExpectNormals(shape_, Normals({shape_.normals()[0], shape_.normals()[1], shape_.normals()[2],
                                 shape_.normals()[3], Vector3<float>(0, 0, 0)}));
}

TEST_F(BuildingShape, OfARoundTowerHasOneNormalForEachCorner) {
  FillTower(16, building_.AddNewPolygon());
  ASSERT_TRUE(Create());
  ASSERT_EQ(shape_.normals().size(), 17u);
  std::vector<int> expected;
  for (int i = 1; i <= 16; ++i) {
    expected.insert(expected.end(), {i, i == 16 ? 1 : i + 1});
  }
  EXPECT_EQ(WallNormals(14 * 3), expected);
  // Half way between two walls a normal points straight away from the axis.
  for (std::size_t i = 0; i < 16; ++i) {
    const Vector3<float>& normal = shape_.normals()[i + 1];
    EXPECT_NEAR(normal.x, shape_.points()[i].x / 5.0, 1e-6) << i;
    EXPECT_NEAR(normal.y, shape_.points()[i].y / 5.0, 1e-6) << i;
    EXPECT_EQ(normal.z, 0.0f);
  }
}

TEST_F(BuildingShape, OfARoundTowerHasNoVerticalLines) {
  FillTower(16, building_.AddNewPolygon());
  ASSERT_TRUE(Create(true));
  EXPECT_EQ(shape_.index_sets()[1]->point_indices().size(), 16u * 4u);
}

// A half-round end: two creases where the straight wall meets it, smooth between.
TEST_F(BuildingShape, MixesCreasesAndSmoothCornersInOneContour) {
  PolygonZ* const polygon = building_.AddNewPolygon();
  const double s = std::sqrt(0.5);
  *polygon->mutable_points() = {Place(-1, 0), Place(1, 0), Place(1 - 0.01, 0.2), Place(0, 1),
                                Place(-s, s)};
  *polygon->mutable_contour_sizes() = {5};
  *polygon->mutable_triangle_indices() = {0, 1, 2};
  ASSERT_TRUE(Create(true, 0.45f));
  // Turns: 0 sharp, 1 sharp, 2 smooth, 3 smooth, 4 smooth. The wall from 0 to 1 is flat, the one
  // from 1 begins flat, the one to 0 ends flat.
  EXPECT_EQ(WallNormals(3), (std::vector<int>{1, 1, 2, 3, 3, 4, 4, 5, 5, 6}));
  EXPECT_EQ(shape_.normals().size(), 7u);
  EXPECT_EQ(shape_.index_sets()[1]->point_indices().size(), 5u * 4u + 2u * 2u);
}

TEST_F(BuildingShape, HasACreaseOnBothSidesOfARepeatedPoint) {
  PolygonZ* const polygon = AddHouse();
  *polygon->mutable_points() = {Place(0, 0), Place(1, 0), Place(1, 0), Place(2, 0), Place(1, 2)};
  *polygon->mutable_contour_sizes() = {5};
  ASSERT_TRUE(Create(true));
  EXPECT_EQ(shape_.normals()[2].x, 0.0f);
  EXPECT_EQ(shape_.normals()[2].y, 0.0f);
  // All five corners are creases, though the way goes straight on at the repeated point.
  EXPECT_EQ(shape_.index_sets()[1]->point_indices().size(), 5u * 6u);
}

TEST_F(BuildingShape, HasNoCreaseAtARepeatedPointForAThresholdOfZero) {
  PolygonZ* const polygon = AddHouse();
  *polygon->mutable_points() = {Place(0, 0), Place(1, 0), Place(1, 0), Place(2, 0), Place(1, 2)};
  *polygon->mutable_contour_sizes() = {5};
  ASSERT_TRUE(Create(true, 0.0f));
  // Creases at 3, 4 and 0 only.
  EXPECT_EQ(shape_.index_sets()[1]->point_indices().size(), 5u * 4u + 3u * 2u);
}

TEST_F(BuildingShape, ComparesTheTurnWithTheThresholdInSinglePrecision) {
  // Unit normals (0, -1) and (0.6, -0.8): in single precision their product is 0.8f itself; in
  // double it would be 0.8, which is below 0.8f.
  PolygonZ* const polygon = AddHouse();
  *polygon->mutable_points() = {Place(0, 0), Place(10, 0), Place(18, 6), Place(0, 20)};
  ASSERT_TRUE(Create(true, 0.8f));
  // No vertical at point 1: 0.8f is not greater than 0.8f.
  EXPECT_EQ(shape_.index_sets()[1]->point_indices().size(), 4u * 4u + 3u * 2u);
}

TEST_F(BuildingShape, CopiesTriangleIndicesAsTheyAre) {
  *AddHouse()->mutable_triangle_indices() = {0, 1, std::numeric_limits<int>::max()};
  AddHouse();
  ASSERT_TRUE(Create());
  std::string error;
  EXPECT_FALSE(shape_.Validate(&error));
  EXPECT_EQ(error, "Point index out of range");
}

TEST_F(BuildingShape, WrapsAnIndexThatThePoolCannotHold) {
  AddHouse();
  *AddHouse()->mutable_triangle_indices() = {0, 1, std::numeric_limits<int>::max()};
  ASSERT_TRUE(Create());
  EXPECT_EQ(shape_.index_sets()[1]->point_indices()[2], std::numeric_limits<int>::min() + 7);
}

TEST_F(BuildingShape, IsMadeOfPointsThatAreNoNumbers) {
  PolygonZ* const polygon = AddHouse();
  (*polygon->mutable_points())[1].x = std::numeric_limits<double>::quiet_NaN();
  (*polygon->mutable_points())[2].y = std::numeric_limits<double>::infinity();
  EXPECT_TRUE(Create(true));
  std::string error;
  EXPECT_TRUE(shape_.Validate(&error)) << error;
}

TEST_F(BuildingShape, HasCreasesBelowFourFifthsByDefault) {
  // At point 1 the cosine of the turn is 0.8 itself, then just below; all others are sharp.
  PolygonZ* const polygon = AddHouse();
  *polygon->mutable_points() = {Place(0, 0), Place(10, 0), Place(18, 6), Place(0, 20)};
  ASSERT_TRUE(BuildingZShape::CreateShapeWithDefaults(building_, &shape_));
  EXPECT_EQ(shape_.index_sets()[1]->point_indices().size(), 4u * 4u + 3u * 2u);
  polygon->mutable_points()->at(2).y = 6.001;
  ASSERT_TRUE(BuildingZShape::CreateShapeWithDefaults(building_, &shape_));
  EXPECT_EQ(shape_.index_sets()[3]->point_indices().size(), 4u * 4u + 4u * 2u);
}

TEST_F(BuildingShape, HasForEachPolygonASetWithItsOwnMaterialsAndNormalUp) {
  AddHouse();
  AddHouse();
  ASSERT_TRUE(BuildingZShape::CreateShapeWithDefaults(building_, &shape_));
  EXPECT_EQ(shape_.materials().size(), 2u);
  EXPECT_EQ(shape_.points().size(), 16u);
  ASSERT_EQ(shape_.normals().size(), 10u);
  EXPECT_EQ(shape_.normals()[5], Vector3<float>(0, 0, 1));
  ASSERT_EQ(shape_.index_sets().size(), 4u);
  EXPECT_EQ(shape_.index_sets()[2]->material_index(), 0);
  EXPECT_EQ(shape_.index_sets()[2]->point_indices()[0], 8);
  EXPECT_EQ(shape_.index_sets()[2]->normal_indices()[0], 5);
  EXPECT_EQ(shape_.index_sets()[3]->material_index(), 1);
  EXPECT_EQ(shape_.index_sets()[3]->point_indices()[0], 8);
}

TEST_F(BuildingShape, HasAZeroNormalOnAWallTooShortToSquare) {
  PolygonZ* const polygon = AddHouse();
  *polygon->mutable_points() = {Place(0, 0), Place(1e-200, 0), Place(1, 1)};
  *polygon->mutable_contour_sizes() = {3};
  *polygon->mutable_triangle_indices() = {0, 1, 2};
  ASSERT_TRUE(Create());
  EXPECT_EQ(shape_.normals()[1], Vector3<float>(0, 0, 0));
}

}  // namespace
}  // namespace geometry3d
