// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/log_recorder.h"
#include "util/geometry3d/mesh/shape.h"
#include "util/geometry3d/mesh/shape_iterator.h"

namespace geometry3d {
namespace {

using Lines = std::vector<std::string>;
using Indices = std::vector<int>;
using Triangles = std::vector<std::array<int, 3>>;

// The entries at the corners of all triangles.
Triangles Walk(int format, const Indices& indices) {
  IndexSet set;
  set.set_format(format);
  *set.mutable_point_indices() = indices;
  Triangles triangles;
  for (ShapeTriangleIterator it(&set); !it.Done(); it.Next()) {
    triangles.push_back({it.GetPointIndex(0), it.GetPointIndex(1), it.GetPointIndex(2)});
  }
  return triangles;
}

TEST(ShapeTriangleIterator, IsDoneAtOnceWithoutIndices) {
  for (int format = 0; format < 6; ++format) {
    EXPECT_EQ(Walk(format, {}), Triangles()) << format;
  }
}

TEST(ShapeTriangleIterator, IsDoneBeforeATriangleThatTheArrayCutsOff) {
  EXPECT_EQ(Walk(IndexSet::kTriangles, {4, 5}), Triangles());
}

TEST(ShapeTriangleIterator, WalksTriangles) {
  EXPECT_EQ(Walk(IndexSet::kTriangles, {4, 5, 6, 7, 8, 9}), Triangles({{4, 5, 6}, {7, 8, 9}}));
}

TEST(ShapeTriangleIterator, GivesALineAsATriangleThatGoesThereAndBack) {
  EXPECT_EQ(Walk(IndexSet::kLines, {7, 8}), Triangles({{7, 8, 7}}));
  EXPECT_EQ(Walk(IndexSet::kLines, {7, 8, 9, 3}), Triangles({{7, 8, 7}, {9, 3, 9}}));
}

TEST(ShapeTriangleIterator, CutsQuadsInTwo) {
  EXPECT_EQ(Walk(IndexSet::kQuads, {0, 1, 2, 3, 4, 5, 6, 7}),
            Triangles({{0, 1, 2}, {0, 2, 3}, {4, 5, 6}, {4, 6, 7}}));
}

TEST(ShapeTriangleIterator, KeepsTheWindingOfAStrip) {
  EXPECT_EQ(Walk(IndexSet::kTriangleStrip, {0, 1, 2, 3, 4, 5}),
            Triangles({{0, 1, 2}, {2, 1, 3}, {2, 3, 4}, {4, 3, 5}}));
}

TEST(ShapeTriangleIterator, BeginsAnotherStripBehindADelimiter) {
  EXPECT_EQ(Walk(IndexSet::kTriangleStrip, {0, 1, 2, -1, 3, 4, 5}),
            Triangles({{0, 1, 2}, {3, 4, 5}}));
}

TEST(ShapeTriangleIterator, WalksFansAndPolygonsAboutTheirFirstEntry) {
  for (const int format : {IndexSet::kTriangleFan, IndexSet::kPolygons}) {
    EXPECT_EQ(Walk(format, {0, 1, 2, 3}), Triangles({{0, 1, 2}, {0, 2, 3}}));
    EXPECT_EQ(Walk(format, {0, 1, 2, 3, -1, 4, 5, 6}),
              Triangles({{0, 1, 2}, {0, 2, 3}, {4, 5, 6}}));
  }
}

TEST(ShapeTriangleIterator, EndsAtADelimiterThatEndsTheArray) {
  EXPECT_EQ(Walk(IndexSet::kPolygons, {0, 1, 2, -1}), Triangles({{0, 1, 2}}));
}

TEST(ShapeTriangleIterator, TakesTheDelimiterOfAShortPrimitiveForACorner) {
  Shape shape;
  shape.mutable_points()->resize(5);
  IndexSet* const set = shape.AddNewIndexSet();
  set->set_format(IndexSet::kTriangleStrip);
  *set->mutable_point_indices() = {0, 1, -1, 2, 3, 4};
  ASSERT_TRUE(set->Validate(std::make_unique<std::string>().get()));
  const ShapeTriangleIterator it(set);
  EXPECT_EQ(it.GetPointIndex(2), -1);
  EXPECT_THROW(it.GetPoint(2), std::out_of_range);
}

TEST(ShapeTriangleIterator, TestsForADelimiterOnlyOnce) {
  // Behind the first delimiter stands another, which is a corner then.
  EXPECT_EQ(Walk(IndexSet::kTriangleFan, {0, 1, 2, -1, -1, 3, 4}),
            Triangles({{0, 1, 2}, {-1, 3, 4}}));
}

TEST(ShapeTriangleIterator, ReturnsToTheFirstTriangleByReset) {
  IndexSet set;
  *set.mutable_point_indices() = {4, 5, 6, 7, 8, 9};
  ShapeTriangleIterator it(&set);
  EXPECT_TRUE(it.Next());
  EXPECT_TRUE(it.Next());
  EXPECT_FALSE(it.Next());
  it.Reset();
  EXPECT_EQ(it.GetPointIndex(0), 4);
}

TEST(ShapeTriangleIterator, GivesNoPositionForAFourthCorner) {
  const test_support::LogRecorder log;
  IndexSet set;
  *set.mutable_point_indices() = {4, 5, 6};
  const ShapeTriangleIterator it(&set);
  EXPECT_EQ(it.GetIndex(3), -1);
  EXPECT_EQ(it.GetIndex(-1), -1);
  EXPECT_THROW(it.GetPointIndex(3), std::out_of_range);
  EXPECT_EQ(log.lines(), Lines(3, "3 Check failed: i >= 0 && i < 3"));
}

TEST(ShapeTriangleIterator, TellsAnUnknownFormatAtTheFirstStepAndIsDone) {
  const test_support::LogRecorder log;
  EXPECT_EQ(Walk(77, {0, 1, 2, 3, 4, 5}), Triangles({{0, 1, 2}}));
  EXPECT_EQ(log.lines(), Lines({"2 Unknown Format."}));
}

TEST(ShapeTriangleIterator, WalksNullAsAnEmptySet) {
  const test_support::LogRecorder log;
  const ShapeTriangleIterator it(nullptr);
  EXPECT_TRUE(it.Done());
  EXPECT_EQ(log.lines(), Lines({"3 Check failed: index_set"}));
}

// The triangles of primitives of three entries and more, from the primitives one by one.
Triangles TriangleTwin(int format, const std::vector<Indices>& primitives) {
  Triangles triangles;
  for (const Indices& p : primitives) {
    for (std::size_t i = 2; i < p.size(); ++i) {
      if (format != IndexSet::kTriangleStrip) {
        triangles.push_back({p[0], p[i - 1], p[i]});
      } else if (i % 2 == 0) {
        triangles.push_back({p[i - 2], p[i - 1], p[i]});
      } else {
        triangles.push_back({p[i - 1], p[i - 2], p[i]});
      }
    }
  }
  return triangles;
}

TEST(ShapeTriangleIterator, GivesTheTrianglesOfEachPrimitiveByItself) {
  std::mt19937 random(20261121);
  for (int round = 0; round < 300; ++round) {
    std::vector<Indices> primitives(random() % 5);
    Indices joined;
    for (Indices& primitive : primitives) {
      primitive.resize(3 + random() % 8);
      for (int& index : primitive) {
        index = static_cast<int>(random() % 100);
      }
      if (!joined.empty()) {
        joined.push_back(-1);
      }
      joined.insert(joined.end(), primitive.begin(), primitive.end());
    }
    for (const int format :
         {IndexSet::kTriangleStrip, IndexSet::kTriangleFan, IndexSet::kPolygons}) {
      ASSERT_EQ(Walk(format, joined), TriangleTwin(format, primitives)) << round;
    }
  }
}

TEST(ShapeTriangleIterator, ThrowsForTheSecondEndOfALineThatTheArrayCutsOff) {
  IndexSet set;
  set.set_format(IndexSet::kLines);
  *set.mutable_point_indices() = {4, 5, 6};
  ShapeTriangleIterator it(&set);
  it.Next();
  EXPECT_FALSE(it.Done());
  EXPECT_EQ(it.GetPointIndex(0), 6);
  EXPECT_THROW(it.GetPointIndex(1), std::out_of_range);
}

TEST(ShapeTriangleIterator, EndsOnAnyIndices) {
  const test_support::LogRecorder log;
  std::mt19937 random(20261121);
  for (int round = 0; round < 2000; ++round) {
    IndexSet set;
    set.set_format(static_cast<int>(random() % 8) - 1);
    set.mutable_point_indices()->resize(random() % 12);
    for (int& index : *set.mutable_point_indices()) {
      index = static_cast<int>(random() % 3) - 1;
    }
    std::size_t steps = 0;
    for (ShapeTriangleIterator it(&set); !it.Done(); it.Next()) {
      ++steps;
    }
    EXPECT_LE(steps, set.point_indices().size());
  }
}

TEST(ShapeTriangleIterator, SeesNoDelimitersInQuads) {
  EXPECT_EQ(Walk(IndexSet::kQuads, {0, 1, 2, 3, 4, 5, -1, 7}),
            Triangles({{0, 1, 2}, {0, 2, 3}, {4, 5, -1}, {4, -1, 7}}));
}

}  // namespace
}  // namespace geometry3d
