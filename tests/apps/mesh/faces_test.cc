// SPDX-License-Identifier: Apache-2.0
#include "apps/mesh/faces.h"

#include <gtest/gtest.h>

#include <vector>

namespace pelorin {
namespace mesh {
namespace {

using geometry3d::IndexSet;
using Faces = std::vector<std::vector<int>>;

Faces Walk(int format, const std::vector<int>& indices) {
  IndexSet set;
  set.set_format(format);
  *set.mutable_point_indices() = indices;
  Faces faces;
  ForEachFace(set, [&faces](const std::vector<int>& face) { faces.push_back(face); });
  return faces;
}

TEST(Faces, CutsFixedFormatsAndLeavesARestOut) {
  EXPECT_EQ(Walk(IndexSet::kTriangles, {9, 8, 7, 6, 5, 4, 3}), Faces({{0, 1, 2}, {3, 4, 5}}));
  EXPECT_EQ(Walk(IndexSet::kQuads, {9, 8, 7, 6, 5}), Faces({{0, 1, 2, 3}}));
  EXPECT_EQ(Walk(IndexSet::kLines, {9, 8, 7, 6}), Faces({{0, 1}, {2, 3}}));
}

TEST(Faces, KeepsTheWindingOfStrips) {
  EXPECT_EQ(Walk(IndexSet::kTriangleStrip, {0, 1, 2, 3, -1, 5, 6, 7}),
            Faces({{0, 1, 2}, {2, 1, 3}, {5, 6, 7}}));
}

TEST(Faces, LeavesOutTheTrianglesThatOnlyLeadAStripOn) {
  EXPECT_EQ(Walk(IndexSet::kTriangleStrip, {0, 1, 2, 2, 3, 4}), Faces({{0, 1, 2}, {4, 3, 5}}));
}

TEST(Faces, WalksFansAndWholePolygons) {
  EXPECT_EQ(Walk(IndexSet::kTriangleFan, {0, 1, 2, 3}), Faces({{0, 1, 2}, {0, 2, 3}}));
  EXPECT_EQ(Walk(IndexSet::kPolygons, {0, 1, 2, 3, 4, -1, 5, 6, 7}),
            Faces({{0, 1, 2, 3, 4}, {6, 7, 8}}));
}

TEST(Faces, LeavesOutShortPrimitivesInTheMiddle) {
  for (const int format : {IndexSet::kTriangleStrip, IndexSet::kTriangleFan, IndexSet::kPolygons}) {
    EXPECT_EQ(Walk(format, {-1, 0, 1, -1, -1, 2, 3, 4, -1, 5}), Faces({{5, 6, 7}})) << format;
  }
}

TEST(Faces, HasNoneOfAnUnknownFormat) {
  EXPECT_EQ(Walk(9, {}), Faces());
}

TEST(Faces, CutsPolygonsIntoTriangles) {
  IndexSet set;
  set.set_format(IndexSet::kPolygons);
  *set.mutable_point_indices() = {0, 1, 2, 3, 4};
  int count = 0;
  ForEachTriangle(set, [&count](int a, int, int) { count += a == 0 ? 1 : 0; });
  EXPECT_EQ(count, 3);
}

}  // namespace
}  // namespace mesh
}  // namespace pelorin
