// SPDX-License-Identifier: Apache-2.0
#include "apps/mesh/mesh_error.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tests/apps/mesh/sample_meshes.h"

namespace pelorin {
namespace mesh {
namespace {

using geometry3d::Shape;

void FillTriangle(double x, Shape* shape) {
  *shape->mutable_points() = {{x, 0, 0}, {1, 0, 0}, {0, 1, 0}};
  *shape->AddNewIndexSet()->mutable_point_indices() = {0, 1, 2};
}

TEST(MeshError, IsZeroBetweenEqualMeshes) {
  Shape some;
  test_support::FillSheet(3, &some);
  MeshError error;
  ASSERT_TRUE(CompareMeshes(some, some, &error));
  EXPECT_EQ(error.max, 0);
  EXPECT_EQ(error.rms, 0);
  EXPECT_EQ(error.max_axis, 0);
  EXPECT_EQ(error.max_normal, 0);
  EXPECT_EQ(error.max_tex_coord, 0);
}

TEST(MeshError, MeasuresDistancesOverTheCorners) {
  Shape source;
  FillTriangle(0, &source);
  Shape coded;
  FillTriangle(3, &coded);
  coded.mutable_points()->at(0).y = 4;
  MeshError error;
  ASSERT_TRUE(CompareMeshes(source, coded, &error));
  EXPECT_EQ(error.max, 5);
  EXPECT_EQ(error.max_axis, 4);
  EXPECT_DOUBLE_EQ(error.rms, std::sqrt(25.0 / 3));
}

TEST(MeshError, DoesNotMindTheOrderOfThePools) {
  Shape source;
  FillTriangle(0, &source);
  Shape coded;
  *coded.mutable_points() = {{0, 1, 0}, {0, 0, 0}, {1, 0, 0}};
  *coded.AddNewIndexSet()->mutable_point_indices() = {1, 2, 0};
  MeshError error;
  ASSERT_TRUE(CompareMeshes(source, coded, &error));
  EXPECT_EQ(error.max, 0);
}

TEST(MeshError, MeasuresNormalsAndTextureCoordinates) {
  Shape source;
  test_support::FillSheet(2, &source);
  Shape coded;
  coded.CopyFrom(source);
  coded.mutable_normals()->at(1).z += 0.5f;
  coded.mutable_tex_coords()->at(2).y -= 0.25f;
  MeshError error;
  ASSERT_TRUE(CompareMeshes(source, coded, &error));
  EXPECT_FLOAT_EQ(static_cast<float>(error.max_normal), 0.5f);
  EXPECT_FLOAT_EQ(static_cast<float>(error.max_tex_coord), 0.25f);
}

TEST(MeshError, RefusesOtherSetsLengthsAndEntriesThatLeadNowhere) {
  Shape source;
  FillTriangle(0, &source);
  MeshError error;
  error.max = 77;
  Shape none;
  EXPECT_FALSE(CompareMeshes(source, none, &error));
  Shape longer;
  FillTriangle(0, &longer);
  longer.index_sets()[0]->mutable_point_indices()->push_back(0);
  EXPECT_FALSE(CompareMeshes(source, longer, &error));
  Shape nowhere;
  FillTriangle(0, &nowhere);
  nowhere.index_sets()[0]->mutable_point_indices()->back() = 3;
  EXPECT_FALSE(CompareMeshes(source, nowhere, &error));
  nowhere.index_sets()[0]->mutable_point_indices()->back() = -1;
  EXPECT_FALSE(CompareMeshes(source, nowhere, &error));
  EXPECT_EQ(error.max, 77);
}

TEST(MeshError, IsInfiniteWhereADifferenceIsNoNumber) {
  Shape source;
  FillTriangle(0, &source);
  Shape coded;
  FillTriangle(std::numeric_limits<double>::quiet_NaN(), &coded);
  MeshError error;
  ASSERT_TRUE(CompareMeshes(source, coded, &error));
  EXPECT_TRUE(std::isinf(error.max));
}

}  // namespace
}  // namespace mesh
}  // namespace pelorin
