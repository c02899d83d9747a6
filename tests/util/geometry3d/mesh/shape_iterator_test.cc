// SPDX-License-Identifier: Apache-2.0
#include "util/geometry3d/mesh/shape_iterator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/log_recorder.h"
#include "util/geometry3d/mesh/shape.h"

namespace geometry3d {
namespace {

using Lines = std::vector<std::string>;
using Indices = std::vector<int>;
using Primitives = std::vector<Indices>;

constexpr int kMax = std::numeric_limits<int>::max();
constexpr int kMin = std::numeric_limits<int>::min();
const std::string kSeekCheck =
    "3 Check failed: first >= 0 && first < index_set_->point_indices().size()";

void Fill(int format, const Indices& indices, IndexSet* set) {
  set->set_format(format);
  *set->mutable_point_indices() = indices;
}

// The positions of the present primitive, from where it is entered.
Indices RingOf(const ShapePrimitiveIterator& it) {
  Indices positions;
  for (int i = 0; i < it.GetSize(); ++i) {
    positions.push_back(it.GetIndex(i));
  }
  return positions;
}

// Those of each primitive.
Primitives Positions(const IndexSet& set) {
  Primitives primitives;
  for (ShapePrimitiveIterator it(&set); !it.Done(); it.Next()) {
    primitives.push_back(RingOf(it));
  }
  return primitives;
}

TEST(ShapePrimitiveIterator, IsDoneAtOnceWithoutIndices) {
  for (int format = 0; format < 6; ++format) {
    IndexSet set;
    set.set_format(format);
    ShapePrimitiveIterator it(&set);
    EXPECT_TRUE(it.Done()) << format;
    EXPECT_FALSE(it.Next()) << format;
    EXPECT_FALSE(it.HasPoints());
  }
}

TEST(ShapePrimitiveIterator, CutsFixedFormatsByTheirStride) {
  IndexSet set;
  Fill(IndexSet::kTriangles, {5, 6, 7, 8, 9, 10}, &set);
  EXPECT_EQ(Positions(set), Primitives({{0, 1, 2}, {3, 4, 5}}));
  Fill(IndexSet::kQuads, {5, 6, 7, 8}, &set);
  EXPECT_EQ(Positions(set), Primitives({{0, 1, 2, 3}}));
  Fill(IndexSet::kLines, {5, 6, 7, 8}, &set);
  EXPECT_EQ(Positions(set), Primitives({{0, 1}, {2, 3}}));
}

TEST(ShapePrimitiveIterator, IsNotDoneBeforeATriangleThatTheArrayCutsOff) {
  IndexSet set;
  Fill(IndexSet::kTriangles, {4, 5}, &set);
  ShapePrimitiveIterator it(&set);
  EXPECT_FALSE(it.Done());
  EXPECT_EQ(it.GetSize(), 3);
  EXPECT_EQ(it.GetIndex(2), 2);
  EXPECT_EQ(it.GetPointIndex(1), 5);
  EXPECT_THROW(it.GetPointIndex(2), std::out_of_range);
  EXPECT_TRUE(it.Next());
  EXPECT_TRUE(it.Done());
}

TEST(ShapePrimitiveIterator, CutsVariableFormatsAtDelimiters) {
  for (const int format : {IndexSet::kTriangleStrip, IndexSet::kTriangleFan, IndexSet::kPolygons}) {
    IndexSet set;
    Fill(format, {7, 8, 9, -1, 4, 5, 6}, &set);
    ShapePrimitiveIterator it(&set);
    EXPECT_EQ(it.GetSize(), 3);
    EXPECT_EQ(it.GetIndex(0), 0);
    EXPECT_TRUE(it.Next());
    EXPECT_EQ(it.GetSize(), 3);
    EXPECT_TRUE(it.Next());
    EXPECT_TRUE(it.Done());
    EXPECT_EQ(it.GetSize(), 0);
    EXPECT_FALSE(it.Next());
  }
}

TEST(ShapePrimitiveIterator, EndsAtADelimiterThatEndsTheArray) {
  IndexSet set;
  Fill(IndexSet::kPolygons, {7, 8, 9, -1}, &set);
  ShapePrimitiveIterator it(&set);
  EXPECT_TRUE(it.Next());
  EXPECT_TRUE(it.Done());
  EXPECT_EQ(it.GetSize(), 0);
}

TEST(ShapePrimitiveIterator, MeetsAnEmptyPrimitiveBetweenTwoDelimiters) {
  IndexSet set;
  Fill(IndexSet::kTriangleFan, {7, -1, -1, 8}, &set);
  ShapePrimitiveIterator it(&set);
  EXPECT_TRUE(it.Next());
  EXPECT_FALSE(it.Done());
  EXPECT_EQ(it.GetSize(), 0);
  EXPECT_EQ(it.GetIndex(5), 2);
  EXPECT_TRUE(it.Next());
  EXPECT_EQ(it.GetSize(), 1);
}

TEST(ShapePrimitiveIterator, EntersLaterPrimitivesByTheFirstPositionOfAll) {
  IndexSet set;
  Fill(IndexSet::kTriangleStrip, {0, 1, 2, 3, -1, 4, 5, 6}, &set);
  ShapePrimitiveIterator it(&set);
  ASSERT_TRUE(it.Next());
  // The ring of positions 5, 6, 7, entered five steps before its first.
  EXPECT_EQ(it.GetIndex(0), 6);
  EXPECT_EQ(it.GetIndex(1), 7);
  EXPECT_EQ(it.GetIndex(2), 5);
  EXPECT_EQ(it.GetIndex(-1), 5);
  EXPECT_EQ(it.GetIndex(300), 6);
}

TEST(ShapePrimitiveIterator, RotatesTheRingBySeekInThePresentPrimitive) {
  IndexSet set;
  Fill(IndexSet::kQuads, {9, 8, 7, 6, 5, 4, 3, 2}, &set);
  ShapePrimitiveIterator it(&set);
  it.Seek(2);
  EXPECT_EQ(it.GetSize(), 4);
  EXPECT_EQ(RingOf(it), Indices({2, 3, 0, 1}));
  EXPECT_EQ(it.GetPointIndex(0), 7);
  // The entry stays chosen in the next one.
  it.Next();
  EXPECT_EQ(it.GetIndex(0), 6);
}

TEST(ShapePrimitiveIterator, SeeksTheTriangleOfAPosition) {
  IndexSet set;
  Fill(IndexSet::kTriangles, {0, 1, 2, 3, 4, 5, 6, 7, 8}, &set);
  ShapePrimitiveIterator it(&set);
  it.Seek(7);
  EXPECT_EQ(it.GetSize(), 3);
  EXPECT_EQ(RingOf(it), Indices({7, 8, 6}));
  it.Seek(1);
  EXPECT_EQ(RingOf(it), Indices({1, 2, 0}));
}

TEST(ShapePrimitiveIterator, SeeksTheStartOfAFanFromItsMiddle) {
  IndexSet set;
  Fill(IndexSet::kTriangleFan, {0, 1, 2, -1, 3, 4, 5, 6, -1, 7, 8, 9}, &set);
  ShapePrimitiveIterator it(&set);
  it.Seek(6);
  EXPECT_EQ(it.GetSize(), 4);
  EXPECT_EQ(RingOf(it), Indices({6, 7, 4, 5}));
  it.Seek(1);
  EXPECT_EQ(it.GetSize(), 3);
  EXPECT_EQ(it.GetIndex(0), 1);
}

TEST(ShapePrimitiveIterator, CountsADelimiterToThePrimitiveBeforeIt) {
  IndexSet set;
  Fill(IndexSet::kTriangleFan, {0, 1, 2, -1, 3, 4, 5, 6, -1, 7}, &set);
  ShapePrimitiveIterator it(&set);
  it.Seek(8);
  EXPECT_EQ(it.GetSize(), 4);
  it.Next();
  EXPECT_EQ(it.GetSize(), 1);
}

TEST(ShapePrimitiveIterator, ReturnsToTheFirstPrimitiveByReset) {
  IndexSet set;
  Fill(IndexSet::kTriangles, {0, 1, 2, 3, 4, 5}, &set);
  ShapePrimitiveIterator it(&set);
  it.Seek(4);
  it.Reset();
  EXPECT_EQ(it.GetIndex(0), 0);
  EXPECT_EQ(it.GetSize(), 3);
}

TEST(ShapePrimitiveIterator, IsSafeBehindASeekOutsideTheArray) {
  for (const int format : {0, 1, 2, 3, 4, 5}) {
    for (const int first : {-1, 6, kMax, kMin}) {
      const test_support::LogRecorder log;
      IndexSet set;
      Fill(format, {0, 1, 2, -1, 4, 5}, &set);
      ShapePrimitiveIterator it(&set);
      it.Seek(first);
      for (int steps = 0; !it.Done() && steps < 10; ++steps) {
        try {
          it.GetPointIndex(0);
        } catch (const std::out_of_range&) {
        }
        it.Next();
      }
      EXPECT_EQ(log.lines(), Lines({kSeekCheck})) << format << ' ' << first;
    }
  }
}

TEST(ShapePrimitiveIterator, TellsAnUnknownFormatAndIsDone) {
  const test_support::LogRecorder log;
  IndexSet set;
  Fill(6, {0, 1, 2}, &set);
  const ShapePrimitiveIterator it(&set);
  EXPECT_TRUE(it.Done());
  EXPECT_EQ(it.GetSize(), 0);
  EXPECT_EQ(log.lines(), Lines({"2 Unknown Format."}));
}

TEST(ShapePrimitiveIterator, TellsAFormatTwiceThatBecomesUnknownOnTheWay) {
  const test_support::LogRecorder log;
  IndexSet set;
  Fill(IndexSet::kTriangles, {0, 1, 2, 3, 4, 5}, &set);
  ShapePrimitiveIterator it(&set);
  set.set_format(-1);
  EXPECT_TRUE(it.Next());
  EXPECT_TRUE(it.Done());
  EXPECT_EQ(log.lines(), Lines(2, "2 Unknown Format."));
}

TEST(ShapePrimitiveIterator, WalksNullAsAnEmptySet) {
  const test_support::LogRecorder log;
  ShapePrimitiveIterator it(nullptr);
  EXPECT_TRUE(it.Done());
  EXPECT_FALSE(it.Next());
  EXPECT_THROW(it.GetPointIndex(0), std::out_of_range);
  EXPECT_EQ(log.lines(), Lines({"3 Check failed: index_set"}));
}

TEST(ShapePrimitiveIterator, GivesPoolElementsAndEntries) {
  Shape shape;
  *shape.mutable_points() = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
  *shape.mutable_normals() = {{0, 0, 1}};
  *shape.mutable_tex_coords() = {{0, 0}, {1, 1}};
  IndexSet* const set = shape.AddNewIndexSet();
  *set->mutable_point_indices() = {2, 1, 0};
  *set->mutable_normal_indices() = {0, 0, 0};
  *set->mutable_tex_coord_indices() = {1, 0, 1};
  const ShapePrimitiveIterator it(set);
  EXPECT_EQ(it.GetPoint(0), Vector3<double>(0, 1, 0));
  EXPECT_EQ(it.GetNormal(1), Vector3<float>(0, 0, 1));
  EXPECT_EQ(it.GetTexCoord(2), Vector2<float>(1, 1));
  EXPECT_EQ(it.GetPointIndex(1), 1);
  EXPECT_EQ(it.GetNormalIndex(2), 0);
  EXPECT_EQ(it.GetTexCoordIndex(0), 1);
  EXPECT_TRUE(it.HasPoints() && it.HasNormals() && it.HasTexCoords());
  EXPECT_EQ(it.index_set(), set);
}

// What stands between the delimiters, by splitting the array.
Primitives SplitTwin(const Indices& indices) {
  Primitives primitives(1);
  for (std::size_t i = 0; i < indices.size(); ++i) {
    if (indices[i] == -1) {
      primitives.emplace_back();
    } else {
      primitives.back().push_back(static_cast<int>(i));
    }
  }
  if (primitives.back().empty()) {
    primitives.pop_back();
  }
  return primitives;
}

TEST(ShapePrimitiveIterator, VisitsWhatAPlainSplitGives) {
  std::mt19937 random(20261121);
  for (int round = 0; round < 500; ++round) {
    Indices indices(random() % 20);
    for (int& index : indices) {
      index = static_cast<int>(random() % 4) - 1;
    }
    IndexSet set;
    Fill(IndexSet::kPolygons, indices, &set);
    Primitives walked = Positions(set);
    for (Indices& positions : walked) {
      std::sort(positions.begin(), positions.end());
    }
    ASSERT_EQ(walked, SplitTwin(indices)) << round;
  }
}

TEST(ShapePrimitiveIterator, SeeksWhatAPlainSplitGives) {
  std::mt19937 random(20261121);
  for (int round = 0; round < 500; ++round) {
    Indices indices(1 + random() % 20);
    for (int& index : indices) {
      index = static_cast<int>(random() % 4) - 1;
    }
    IndexSet set;
    Fill(IndexSet::kTriangleStrip, indices, &set);
    const Primitives primitives = SplitTwin(indices);
    ShapePrimitiveIterator it(&set);
    for (int seeks = 0; seeks < 10; ++seeks) {
      const auto first = static_cast<std::ptrdiff_t>(random() % indices.size());
      it.Seek(static_cast<int>(first));
      // As many delimiters stand before a position as primitives end there.
      const auto before = std::count(indices.begin(), indices.begin() + first, -1);
      Indices expected = primitives[static_cast<std::size_t>(before)];
      if (indices[static_cast<std::size_t>(first)] != -1) {
        std::rotate(expected.begin(), std::find(expected.begin(), expected.end(), first),
                    expected.end());
        ASSERT_EQ(RingOf(it), expected) << round;
      } else {
        ASSERT_EQ(it.GetSize(), static_cast<int>(expected.size())) << round;
      }
      if (random() % 3 == 0) {
        it.Next();
      }
    }
  }
}

TEST(ShapePrimitiveIterator, SeeksTheFirstPositionOfTheNextTriangle) {
  IndexSet set;
  Fill(IndexSet::kTriangles, {0, 1, 2, 3, 4, 5}, &set);
  ShapePrimitiveIterator it(&set);
  it.Seek(3);
  EXPECT_EQ(RingOf(it), Indices({3, 4, 5}));
}

}  // namespace
}  // namespace geometry3d
