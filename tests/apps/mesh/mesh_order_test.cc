// SPDX-License-Identifier: Apache-2.0
#include "apps/mesh/mesh_order.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/apps/mesh/sample_meshes.h"

namespace pelorin {
namespace mesh {
namespace {

using geometry3d::IndexSet;
using geometry3d::Shape;

TEST(MeshOrder, MakesTheStreamOfAShuffledSheetMuchSmallerAndKeepsItsTriangles) {
  Shape sheet;
  test_support::FillSheet(20, &sheet);
  Shape ordered;
  OrderForSize(sheet, StreamSettings(), &ordered);
  std::string reason;
  EXPECT_TRUE(ordered.Validate(&reason)) << reason;
  EXPECT_EQ(test_support::TrianglesOf(ordered), test_support::TrianglesOf(sheet));
  CodedMesh before;
  CodedMesh after;
  std::string error;
  ASSERT_TRUE(EncodeMesh(sheet, StreamSettings(), &before, &error));
  ASSERT_TRUE(EncodeMesh(ordered, StreamSettings(), &after, &error));
  EXPECT_LT(after.bytes.size() * 3, before.bytes.size() * 2);
}

TEST(MeshOrder, KeepsLinesMaterialsAndPools) {
  Shape sheet;
  test_support::FillSheet(4, &sheet);
  IndexSet* const lines = sheet.AddNewIndexSet();
  lines->set_format(IndexSet::kLines);
  *lines->mutable_point_indices() = {0, 1};
  Shape ordered;
  OrderForSize(sheet, StreamSettings(), &ordered);
  EXPECT_EQ(ordered.points(), sheet.points());
  ASSERT_EQ(ordered.materials().size(), 1u);
  EXPECT_EQ(ordered.materials()[0]->texture_uri(), "sheet.png");
  int found = 0;
  for (const IndexSet* set : ordered.index_sets()) {
    found += set->format() == IndexSet::kLines ? 1 : 0;
    EXPECT_EQ(set->material_index(), set->format() == IndexSet::kLines ? -1 : 0);
  }
  EXPECT_EQ(found, 1);
}

TEST(MeshOrder, LeavesAMeshAloneThatCannotBeMadeSmaller) {
  Shape triangle;
  *triangle.mutable_points() = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
  *triangle.AddNewIndexSet()->mutable_point_indices() = {0, 1, 2};
  Shape ordered;
  OrderForSize(triangle, StreamSettings(), &ordered);
  ASSERT_EQ(ordered.index_sets().size(), 1u);
  EXPECT_EQ(ordered.index_sets()[0]->point_indices(), std::vector<int>({0, 1, 2}));
}

}  // namespace
}  // namespace mesh
}  // namespace pelorin
