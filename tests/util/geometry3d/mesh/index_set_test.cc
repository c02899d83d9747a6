// SPDX-License-Identifier: Apache-2.0
#include "util/geometry3d/mesh/index_set.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/log_recorder.h"
#include "util/geometry3d/mesh/shape.h"

namespace geometry3d {
namespace {

using Lines = std::vector<std::string>;
using Indices = std::vector<int>;

TEST(IndexSet, BeginsAsTrianglesWithoutMaterial) {
  const IndexSet set;
  EXPECT_EQ(set.shape(), nullptr);
  EXPECT_EQ(set.format(), 0);
  EXPECT_EQ(set.material_index(), -1);
  EXPECT_TRUE(set.point_indices().empty());
  EXPECT_TRUE(set.normal_indices().empty());
  EXPECT_TRUE(set.tex_coord_indices().empty());
}

TEST(IndexSet, HasAStrideInFixedFormatsOnly) {
  const std::vector<std::pair<int, int>> expected = {{-1, 0}, {0, 3}, {1, 0}, {2, 0},   {3, 4},
                                                     {4, 0},  {5, 2}, {6, 0}, {1000, 0}};
  for (const auto& [format, stride] : expected) {
    IndexSet set;
    set.set_format(format);
    EXPECT_EQ(set.GetStride(), stride) << format;
  }
}

TEST(IndexSet, ClearsItsArraysAlone) {
  Shape shape;
  IndexSet* const set = shape.AddNewIndexSet();
  set->set_format(IndexSet::kQuads);
  set->set_material_index(4);
  set->mutable_point_indices()->assign(100, 1);
  *set->mutable_normal_indices() = {1, 2};
  *set->mutable_tex_coord_indices() = {1};
  set->Clear();
  EXPECT_TRUE(set->point_indices().empty());
  EXPECT_TRUE(set->normal_indices().empty());
  EXPECT_TRUE(set->tex_coord_indices().empty());
  EXPECT_GE(set->point_indices().capacity(), 100u);
  EXPECT_EQ(set->format(), IndexSet::kQuads);
  EXPECT_EQ(set->material_index(), 4);
  EXPECT_EQ(set->shape(), &shape);
}

TEST(IndexSet, CopiesEverythingButTheShape) {
  Shape shape;
  IndexSet source;
  source.set_shape(&shape);
  source.set_format(IndexSet::kLines);
  source.set_material_index(2);
  *source.mutable_point_indices() = {1, 2};
  *source.mutable_normal_indices() = {3, 4};
  *source.mutable_tex_coord_indices() = {5, 6};
  IndexSet copy;
  copy.CopyFrom(source);
  EXPECT_EQ(copy.shape(), nullptr);
  EXPECT_EQ(copy.format(), IndexSet::kLines);
  EXPECT_EQ(copy.material_index(), 2);
  EXPECT_EQ(copy.point_indices(), Indices({1, 2}));
  EXPECT_EQ(copy.normal_indices(), Indices({3, 4}));
  EXPECT_EQ(copy.tex_coord_indices(), Indices({5, 6}));
}

TEST(IndexSet, IsCompatibleWhateverTheLengths) {
  IndexSet some;
  IndexSet other;
  *some.mutable_point_indices() = {1, 2, 3};
  *other.mutable_point_indices() = {1};
  EXPECT_TRUE(some.IsCompatible(other));
}

TEST(IndexSet, IsIncompatibleWithOtherFormatMaterialOrArrays) {
  const IndexSet plain;
  IndexSet format;
  format.set_format(IndexSet::kQuads);
  IndexSet material;
  material.set_material_index(0);
  IndexSet points;
  points.mutable_point_indices()->push_back(0);
  IndexSet normals;
  normals.mutable_normal_indices()->push_back(0);
  IndexSet tex_coords;
  tex_coords.mutable_tex_coord_indices()->push_back(0);
  for (const IndexSet* other : {&format, &material, &points, &normals, &tex_coords}) {
    EXPECT_FALSE(plain.IsCompatible(*other));
    EXPECT_FALSE(other->IsCompatible(plain));
  }
}

TEST(IndexSet, IsEqualInFormatAndMaterialOnly) {
  IndexSet some;
  IndexSet other;
  *some.mutable_point_indices() = {1, 2, 3};
  EXPECT_TRUE(some.IsEqual(other));
  other.set_format(IndexSet::kQuads);
  EXPECT_FALSE(some.IsEqual(other));
  other.set_format(IndexSet::kTriangles);
  other.set_material_index(0);
  EXPECT_FALSE(some.IsEqual(other));
}

TEST(IndexSet, AppendsIndexForIndexWithoutADelimiter) {
  IndexSet some;
  IndexSet other;
  some.set_format(IndexSet::kTriangleStrip);
  other.set_format(IndexSet::kTriangleStrip);
  some.set_material_index(1);
  other.set_material_index(2);
  *some.mutable_point_indices() = {0, 1, 2};
  *other.mutable_point_indices() = {3, -1, 4};
  *other.mutable_normal_indices() = {7};
  *other.mutable_tex_coord_indices() = {8};
  some.AppendIndexSet(other);
  EXPECT_EQ(some.point_indices(), Indices({0, 1, 2, 3, -1, 4}));
  EXPECT_EQ(some.normal_indices(), Indices({7}));
  EXPECT_EQ(some.tex_coord_indices(), Indices({8}));
  EXPECT_EQ(some.material_index(), 1);
}

TEST(IndexSet, AppendsItself) {
  IndexSet set;
  *set.mutable_point_indices() = {0, 1, 2};
  set.AppendIndexSet(set);
  EXPECT_EQ(set.point_indices(), Indices({0, 1, 2, 0, 1, 2}));
}

TEST(IndexSet, AppendsAnotherFormatBehindAFailedCheck) {
  const test_support::LogRecorder log;
  IndexSet some;
  IndexSet other;
  other.set_format(IndexSet::kPolygons);
  *other.mutable_point_indices() = {5};
  some.AppendIndexSet(other);
  EXPECT_EQ(some.point_indices(), Indices({5}));
  EXPECT_EQ(some.format(), IndexSet::kTriangles);
  EXPECT_EQ(log.lines(), Lines({"3 Check failed: format_==index_set.format() 0==4"}));
}

TEST(IndexSet, GivesItsMaterial) {
  Shape shape;
  shape.AddNewMaterial();
  const Material* const second = shape.AddNewMaterial();
  IndexSet* const set = shape.AddNewIndexSet();
  EXPECT_EQ(set->GetMaterial(), nullptr);
  set->set_material_index(1);
  EXPECT_EQ(set->GetMaterial(), second);
  set->set_material_index(2);
  EXPECT_THROW(set->GetMaterial(), std::out_of_range);
}

TEST(IndexSet, GivesNoMaterialForANegativeIndexWithoutACheck) {
  const test_support::LogRecorder log;
  IndexSet set;
  set.set_material_index(-7);
  EXPECT_EQ(set.GetMaterial(), nullptr);
  EXPECT_EQ(log.lines(), Lines());
}

TEST(IndexSet, GivesNoMaterialWithoutAShape) {
  const test_support::LogRecorder log;
  IndexSet set;
  set.set_material_index(0);
  EXPECT_EQ(set.GetMaterial(), nullptr);
  EXPECT_EQ(log.lines(), Lines({"3 Check failed: shape_"}));
}

TEST(IndexSet, GivesPoolElementsByTheirEntries) {
  Shape shape;
  *shape.mutable_points() = {{1, 2, 3}, {4, 5, 6}};
  *shape.mutable_normals() = {{1, 0, 0}, {0, 1, 0}};
  *shape.mutable_tex_coords() = {{0, 1}, {1, 0}};
  IndexSet* const set = shape.AddNewIndexSet();
  *set->mutable_point_indices() = {1, 0};
  *set->mutable_normal_indices() = {0, 1};
  *set->mutable_tex_coord_indices() = {1, 1};
  EXPECT_EQ(&set->GetPoint(0), &shape.points()[1]);
  EXPECT_EQ(&set->GetNormal(1), &shape.normals()[1]);
  EXPECT_EQ(&set->GetTexCoord(0), &shape.tex_coords()[1]);
}

TEST(IndexSet, ThrowsForADelimiterAnEntryBehindThePoolAndAPositionBehindTheArray) {
  Shape shape;
  *shape.mutable_points() = {{1, 2, 3}};
  IndexSet* const set = shape.AddNewIndexSet();
  *set->mutable_point_indices() = {-1, 1};
  EXPECT_THROW(set->GetPoint(0), std::out_of_range);
  EXPECT_THROW(set->GetPoint(1), std::out_of_range);
  EXPECT_THROW(set->GetPoint(2), std::out_of_range);
  EXPECT_THROW(set->GetPoint(-1), std::out_of_range);
  EXPECT_THROW(set->GetNormal(0), std::out_of_range);
  EXPECT_THROW(set->GetTexCoord(0), std::out_of_range);
}

TEST(IndexSet, ThrowsForElementsWithoutAShapeBehindTheCheck) {
  const test_support::LogRecorder log;
  IndexSet set;
  set.mutable_point_indices()->push_back(0);
  EXPECT_THROW(set.GetPoint(0), std::out_of_range);
  EXPECT_THROW(set.GetNormal(0), std::out_of_range);
  EXPECT_THROW(set.GetTexCoord(0), std::out_of_range);
  EXPECT_EQ(log.lines(), Lines(3, "3 Check failed: shape_"));
}

}  // namespace
}  // namespace geometry3d
