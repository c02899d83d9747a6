// SPDX-License-Identifier: Apache-2.0
#include "util/geometry3d/mesh/shape.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/log_recorder.h"

namespace geometry3d {
namespace {

using Lines = std::vector<std::string>;
using Indices = std::vector<int>;
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

// One strip and one line over three points, with two materials.
void Fill(Shape* shape) {
  *shape->mutable_points() = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
  *shape->mutable_normals() = {{0, 0, 1}, {1, 0, 0}};
  *shape->mutable_tex_coords() = {{0, 0}, {1, 0}, {0, 1}, {1, 1}};
  shape->AddNewMaterial()->set_shininess(7.0f);
  shape->AddNewMaterial()->set_double_sided(true);
  IndexSet* const strip = shape->AddNewIndexSet();
  strip->set_format(IndexSet::kTriangleStrip);
  strip->set_material_index(1);
  *strip->mutable_point_indices() = {0, 1, 2, -1, 2, 1, 0};
  *strip->mutable_normal_indices() = {0, 0, 1, -1, 1, 1, 0};
  *strip->mutable_tex_coord_indices() = {0, 1, 2, -1, 3, 2, 1};
  IndexSet* const line = shape->AddNewIndexSet();
  line->set_format(IndexSet::kLines);
  *line->mutable_point_indices() = {0, 2};
}

TEST(Shape, BeginsEmptyValidAndEqualToAnother) {
  const Shape shape;
  std::string reason;
  EXPECT_TRUE(shape.points().empty());
  EXPECT_TRUE(shape.materials().empty());
  EXPECT_TRUE(shape.index_sets().empty());
  EXPECT_TRUE(shape.Validate(&reason));
  EXPECT_TRUE(shape.IsEqual(Shape()));
}

TEST(Shape, ClearsEverythingAndKeepsTheCapacityOfThePools) {
  Shape shape;
  Fill(&shape);
  shape.mutable_points()->resize(1000);
  shape.Clear();
  EXPECT_TRUE(shape.IsEqual(Shape()));
  EXPECT_GE(shape.points().capacity(), 1000u);
}

TEST(Shape, PointsItsMaterialsAndIndexSetsAtItself) {
  Shape shape;
  EXPECT_EQ(shape.AddNewMaterial()->shape(), &shape);
  EXPECT_EQ(shape.AddNewIndexSet()->shape(), &shape);
}

TEST(Shape, KeepsPointersValidWhileOthersAreAdded) {
  Shape shape;
  Material* const first = shape.AddNewMaterial();
  for (int i = 0; i < 100; ++i) {
    shape.AddNewMaterial();
  }
  first->set_shininess(3.0f);
  EXPECT_EQ(shape.materials()[0]->shininess(), 3.0f);
}

TEST(Shape, AppendsCopiesAsTheyStand) {
  Shape source;
  Fill(&source);
  Shape shape;
  EXPECT_TRUE(shape.AppendMaterial(*source.materials()[1])->double_sided());
  const IndexSet* const copy = shape.AppendIndexSet(*source.index_sets()[0]);
  EXPECT_EQ(copy->shape(), &shape);
  EXPECT_EQ(copy->material_index(), 1);
  EXPECT_EQ(copy->point_indices(), Indices({0, 1, 2, -1, 2, 1, 0}));
}

TEST(Shape, AppendsACopyOfItsOwnMaterial) {
  Shape shape;
  Fill(&shape);
  EXPECT_TRUE(shape.AppendMaterial(*shape.materials()[1])->double_sided());
}

TEST(Shape, MovesMaterialIndicesDownBehindARemovedMaterial) {
  Shape shape;
  for (int i = 0; i < 3; ++i) {
    shape.AddNewMaterial()->set_shininess(static_cast<float>(i));
  }
  for (const int index : {2, 1, 0, -1}) {
    shape.AddNewIndexSet()->set_material_index(index);
  }
  shape.RemoveMaterial(1);
  EXPECT_EQ(shape.materials().size(), 2u);
  EXPECT_EQ(shape.materials()[1]->shininess(), 2.0f);
  EXPECT_EQ(shape.index_sets()[0]->material_index(), 1);
  EXPECT_EQ(shape.index_sets()[1]->material_index(), -1);
  EXPECT_EQ(shape.index_sets()[2]->material_index(), 0);
  EXPECT_EQ(shape.index_sets()[3]->material_index(), -1);
}

TEST(Shape, RemovesAnIndexSetAndClosesTheGap) {
  Shape shape;
  Fill(&shape);
  shape.RemoveIndexSet(0);
  ASSERT_EQ(shape.index_sets().size(), 1u);
  EXPECT_EQ(shape.index_sets()[0]->format(), IndexSet::kLines);
}

TEST(Shape, ThrowsForPositionsThatAreNotThereAndRemovesNothing) {
  Shape shape;
  Fill(&shape);
  for (const int index : {-1, 2, std::numeric_limits<int>::min()}) {
    EXPECT_THROW(shape.RemoveMaterial(index), std::out_of_range) << index;
    EXPECT_THROW(shape.RemoveIndexSet(index), std::out_of_range) << index;
  }
  EXPECT_EQ(shape.materials().size(), 2u);
  EXPECT_EQ(shape.index_sets().size(), 2u);
  EXPECT_EQ(shape.index_sets()[0]->material_index(), 1);
}

TEST(Shape, CopiesAllOfAnother) {
  Shape source;
  Fill(&source);
  Shape copy;
  copy.AddNewMaterial();
  copy.CopyFrom(source);
  EXPECT_TRUE(copy.IsEqual(source));
  EXPECT_EQ(copy.materials()[0]->shape(), &copy);
  EXPECT_EQ(copy.index_sets()[1]->shape(), &copy);
  EXPECT_EQ(copy.index_sets()[0]->tex_coord_indices(), source.index_sets()[0]->tex_coord_indices());
}

TEST(Shape, IsEmptyWhenCopiedOntoItself) {
  Shape shape;
  Fill(&shape);
  shape.CopyFrom(shape);
  EXPECT_TRUE(shape.IsEqual(Shape()));
}

TEST(Shape, MovesIndicesByThePoolsWhenAppendingAndKeepsDelimiters) {
  Shape shape;
  Fill(&shape);
  Shape other;
  Fill(&other);
  shape.AppendShape(other);
  EXPECT_EQ(shape.points().size(), 6u);
  EXPECT_EQ(shape.normals().size(), 4u);
  EXPECT_EQ(shape.tex_coords().size(), 8u);
  ASSERT_EQ(shape.index_sets().size(), 4u);
  const IndexSet& strip = *shape.index_sets()[2];
  EXPECT_EQ(strip.format(), IndexSet::kTriangleStrip);
  EXPECT_EQ(strip.material_index(), 3);
  EXPECT_EQ(strip.point_indices(), Indices({3, 4, 5, -1, 5, 4, 3}));
  EXPECT_EQ(strip.normal_indices(), Indices({2, 2, 3, -1, 3, 3, 2}));
  EXPECT_EQ(strip.tex_coord_indices(), Indices({4, 5, 6, -1, 7, 6, 5}));
}

TEST(Shape, NamesItsLastMaterialForAnAppendedSetWithout) {
  Shape shape;
  for (int i = 0; i < 3; ++i) {
    shape.AddNewMaterial();
  }
  Shape other;
  other.AddNewIndexSet();
  shape.AppendShape(other);
  EXPECT_EQ(shape.index_sets()[0]->material_index(), 2);
}

TEST(Shape, KeepsAnAppendedSetWithoutMaterialWhereItHasNone) {
  Shape shape;
  Shape other;
  other.AddNewMaterial();
  other.AddNewIndexSet();
  shape.AppendShape(other);
  EXPECT_EQ(shape.index_sets()[0]->material_index(), -1);
}

TEST(Shape, WrapsIndicesThatLeaveTheIntegersWhenAppended) {
  Shape shape;
  Fill(&shape);
  Shape other;
  IndexSet* const set = other.AddNewIndexSet();
  set->set_material_index(std::numeric_limits<int>::max());
  *set->mutable_point_indices() = {std::numeric_limits<int>::max(), -2};
  shape.AppendShape(other);
  EXPECT_EQ(shape.index_sets()[2]->material_index(), std::numeric_limits<int>::min() + 1);
  EXPECT_EQ(shape.index_sets()[2]->point_indices(),
            Indices({std::numeric_limits<int>::min() + 2, -2}));
}

TEST(Shape, AppendsItselfOnce) {
  Shape shape;
  Fill(&shape);
  Shape twin;
  Fill(&twin);
  Shape expected;
  Fill(&expected);
  expected.AppendShape(twin);
  shape.AppendShape(shape);
  EXPECT_TRUE(shape.IsEqual(expected));
  ASSERT_EQ(shape.index_sets().size(), 4u);
  EXPECT_EQ(shape.index_sets()[2]->point_indices(), expected.index_sets()[2]->point_indices());
}

TEST(Shape, IsEqualWhateverTheIndexValues) {
  Shape some;
  Fill(&some);
  Shape other;
  Fill(&other);
  other.index_sets()[0]->mutable_point_indices()->assign(2, 0);
  EXPECT_TRUE(some.IsEqual(other));
}

TEST(Shape, DiffersInEachPoolAndList) {
  Shape some;
  Fill(&some);
  const auto differs = [&some](void (*change)(Shape*)) {
    Shape other;
    Fill(&other);
    change(&other);
    return !some.IsEqual(other) && !other.IsEqual(some);
  };
  EXPECT_TRUE(differs([](Shape* s) { s->mutable_points()->at(1).z = 0.5; }));
  EXPECT_TRUE(differs([](Shape* s) { s->mutable_points()->pop_back(); }));
  EXPECT_TRUE(differs([](Shape* s) { s->mutable_normals()->at(1).y = 0.5f; }));
  EXPECT_TRUE(differs([](Shape* s) { s->mutable_tex_coords()->at(3).x = 0.5f; }));
  EXPECT_TRUE(differs([](Shape* s) { s->materials()[0]->set_shininess(0.0f); }));
  EXPECT_TRUE(differs([](Shape* s) { s->AddNewMaterial(); }));
  EXPECT_TRUE(differs([](Shape* s) { s->index_sets()[1]->set_material_index(0); }));
  EXPECT_TRUE(differs([](Shape* s) { s->AddNewIndexSet(); }));
}

TEST(Shape, IsUnequalToItselfWithANaNInAPool) {
  Shape points;
  points.mutable_points()->emplace_back(0.0, static_cast<double>(kNaN), 0.0);
  EXPECT_FALSE(points.IsEqual(points));
  Shape normals;
  normals.mutable_normals()->emplace_back(kNaN, 0.0f, 0.0f);
  EXPECT_FALSE(normals.IsEqual(normals));
  Shape tex_coords;
  tex_coords.mutable_tex_coords()->emplace_back(0.0f, kNaN);
  EXPECT_FALSE(tex_coords.IsEqual(tex_coords));
}

TEST(Shape, PassesTheFirstFaultOn) {
  Shape shape;
  Fill(&shape);
  std::string reason;
  EXPECT_TRUE(shape.Validate(&reason));
  shape.index_sets()[1]->mutable_point_indices()->push_back(3);
  EXPECT_FALSE(shape.Validate(&reason));
  EXPECT_EQ(reason, "Invalid point_indices size");
  shape.materials()[1]->set_shape(nullptr);
  EXPECT_FALSE(shape.Validate(&reason));
  EXPECT_EQ(reason, "Invalid Material, has no shape");
}

TEST(Shape, IsInvalidWithoutAReasonWhereAListHoldsNull) {
  std::string reason = "before";
  Shape materials;
  materials.mutable_materials()->push_back(nullptr);
  EXPECT_FALSE(materials.Validate(&reason));
  Shape sets;
  sets.mutable_index_sets()->push_back(nullptr);
  EXPECT_FALSE(sets.Validate(&reason));
  EXPECT_EQ(reason, "before");
}

TEST(Shape, CopiesNullEntriesAsDefaultOnes) {
  Shape source;
  Fill(&source);
  source.mutable_materials()->push_back(nullptr);
  source.mutable_index_sets()->push_back(nullptr);
  Shape copy;
  copy.CopyFrom(source);
  copy.AppendShape(source);
  copy.RemoveMaterial(0);
  EXPECT_FALSE(copy.IsEqual(source));
  ASSERT_EQ(copy.index_sets().size(), 6u);
  EXPECT_EQ(copy.index_sets()[2]->format(), IndexSet::kTriangles);
}

TEST(Shape, AnswersWithoutAPlaceForTheReason) {
  const test_support::LogRecorder log;
  EXPECT_TRUE(Shape().Validate(nullptr));
  EXPECT_EQ(log.lines(), Lines({"3 Check failed: error_msg"}));
}

TEST(Shape, CopiesThroughItsBaseWhereAClassAddsToIt) {
  class Counted : public Shape {
   public:
    void CopyFrom(const Shape& other) override {
      ++copies;
      Shape::CopyFrom(other);
    }
    int copies = 0;
  };
  Counted counted;
  Shape source;
  Fill(&source);
  Shape& shape = counted;
  shape.CopyFrom(source);
  EXPECT_EQ(counted.copies, 1);
  EXPECT_TRUE(shape.IsEqual(source));
}

}  // namespace
}  // namespace geometry3d
