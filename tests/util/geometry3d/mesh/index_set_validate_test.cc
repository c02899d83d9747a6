// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/log_recorder.h"
#include "util/geometry3d/mesh/index_set.h"
#include "util/geometry3d/mesh/shape.h"

namespace geometry3d {
namespace {

using Lines = std::vector<std::string>;

// A set in a shape with 5 points, 3 normals, 2 texture coordinates, a plain and a textured
// material.
class IndexSetValidate : public testing::Test {
 protected:
  IndexSetValidate() {
    shape_.mutable_points()->resize(5);
    shape_.mutable_normals()->resize(3);
    shape_.mutable_tex_coords()->resize(2);
    shape_.AddNewMaterial();
    shape_.AddNewMaterial()->set_texture_uri("brick.png");
    set_ = shape_.AddNewIndexSet();
    *set_->mutable_point_indices() = {0, 1, 4};
  }

  // The first fault; empty for a valid set.
  std::string Fault() const {
    std::string reason;
    const bool valid = set_->Validate(&reason);
    EXPECT_EQ(valid, reason.empty());
    return reason;
  }

  Shape shape_;
  IndexSet* set_;
};

TEST_F(IndexSetValidate, PassesAWholeTriangle) {
  EXPECT_EQ(Fault(), "");
}

TEST_F(IndexSetValidate, TellsAMissingShapeWithTheSentenceOfMaterials) {
  set_->set_shape(nullptr);
  set_->set_format(9);
  EXPECT_EQ(Fault(), "Invalid Material, has no shape");
  set_->set_shape(&shape_);
}

TEST_F(IndexSetValidate, TellsAFormatOutsideTheTable) {
  for (const int format : {-1, 6, 1000}) {
    set_->set_format(format);
    set_->set_material_index(99);
    EXPECT_EQ(Fault(), "Invalid format") << format;
  }
}

TEST_F(IndexSetValidate, TellsAMaterialThatTheShapeDoesNotHave) {
  for (const int index : {-2, 2, 1000}) {
    set_->set_material_index(index);
    EXPECT_EQ(Fault(), "Invalid material index") << index;
  }
}

TEST_F(IndexSetValidate, WantsTextureCoordinatesForATexture) {
  set_->set_material_index(1);
  // Told before the sizes.
  set_->mutable_point_indices()->push_back(0);
  EXPECT_EQ(Fault(), "Index set has a textured material but no texture coordinates.");
}

TEST_F(IndexSetValidate, PassesAMaterialWithoutTextureAndTextureCoordinates) {
  set_->set_material_index(0);
  EXPECT_EQ(Fault(), "");
}

TEST_F(IndexSetValidate, PassesATextureWithTextureCoordinates) {
  set_->set_material_index(1);
  *set_->mutable_tex_coord_indices() = {0, 1, 1};
  EXPECT_EQ(Fault(), "");
}

TEST_F(IndexSetValidate, TellsSevenIndicesOfTriangles) {
  *set_->mutable_point_indices() = {0, 1, 2, 0, 1, 2, 0};
  EXPECT_EQ(Fault(), "Invalid point_indices size");
}

TEST_F(IndexSetValidate, TellsBrokenQuadsAndLines) {
  set_->set_format(IndexSet::kQuads);
  EXPECT_EQ(Fault(), "Invalid point_indices size");
  set_->set_format(IndexSet::kLines);
  EXPECT_EQ(Fault(), "Invalid point_indices size");
}

TEST_F(IndexSetValidate, PassesStripsOfAnyLength) {
  set_->set_format(IndexSet::kTriangleStrip);
  for (std::size_t length = 0; length < 9; ++length) {
    set_->mutable_point_indices()->assign(length, 1);
    EXPECT_EQ(Fault(), "") << length;
  }
}

TEST_F(IndexSetValidate, TellsArraysOfOtherLengthsNormalsFirst) {
  *set_->mutable_normal_indices() = {0, 1};
  *set_->mutable_tex_coord_indices() = {0};
  EXPECT_EQ(Fault(), "Invalid normal_indices size");
  *set_->mutable_normal_indices() = {0, 1, 2};
  EXPECT_EQ(Fault(), "Invalid tex_coord_indices size");
}

TEST_F(IndexSetValidate, TellsPointsOutOfRange) {
  for (const int index : {-1, -2, 5, 1000}) {
    *set_->mutable_point_indices() = {0, 1, index};
    EXPECT_EQ(Fault(), "Point index out of range") << index;
  }
}

TEST_F(IndexSetValidate, TellsNormalsAndTextureCoordinatesOutOfRange) {
  *set_->mutable_normal_indices() = {0, 1, 3};
  *set_->mutable_tex_coord_indices() = {0, 1, 2};
  EXPECT_EQ(Fault(), "Normal index out of range");
  *set_->mutable_normal_indices() = {0, 1, 2};
  EXPECT_EQ(Fault(), "TexCoord index out of range");
  *set_->mutable_tex_coord_indices() = {0, 1, -1};
  EXPECT_EQ(Fault(), "TexCoord index out of range");
}

TEST_F(IndexSetValidate, PassesADelimiterOfAStripWithoutOneAmongTheNormals) {
  set_->set_format(IndexSet::kTriangleStrip);
  *set_->mutable_point_indices() = {0, 1, -1, 2};
  *set_->mutable_normal_indices() = {0, 1, 2, 0};
  *set_->mutable_tex_coord_indices() = {-1, -1, 0, 0};
  EXPECT_EQ(Fault(), "");
}

TEST_F(IndexSetValidate, TellsMinusTwoInAStrip) {
  set_->set_format(IndexSet::kTriangleStrip);
  *set_->mutable_point_indices() = {0, 1, -2};
  EXPECT_EQ(Fault(), "Point index out of range");
}

TEST_F(IndexSetValidate, TellsOneOfManyFaultsByTheirOrder) {
  set_->set_shape(nullptr);
  set_->set_format(6);
  set_->set_material_index(2);
  *set_->mutable_point_indices() = {0, 1, 5, 0};
  *set_->mutable_normal_indices() = {3};
  EXPECT_EQ(Fault(), "Invalid Material, has no shape");
  set_->set_shape(&shape_);
  EXPECT_EQ(Fault(), "Invalid format");
  set_->set_format(IndexSet::kTriangles);
  EXPECT_EQ(Fault(), "Invalid material index");
  set_->set_material_index(1);
  EXPECT_EQ(Fault(), "Index set has a textured material but no texture coordinates.");
  set_->mutable_tex_coord_indices()->push_back(2);
  EXPECT_EQ(Fault(), "Invalid point_indices size");
  set_->mutable_point_indices()->pop_back();
  EXPECT_EQ(Fault(), "Invalid normal_indices size");
  set_->mutable_normal_indices()->resize(3);
  EXPECT_EQ(Fault(), "Invalid tex_coord_indices size");
  set_->mutable_tex_coord_indices()->resize(3);
  EXPECT_EQ(Fault(), "Point index out of range");
  set_->mutable_point_indices()->at(2) = 4;
  EXPECT_EQ(Fault(), "Normal index out of range");
  set_->mutable_normal_indices()->at(0) = 2;
  EXPECT_EQ(Fault(), "TexCoord index out of range");
  set_->mutable_tex_coord_indices()->at(0) = 1;
  EXPECT_EQ(Fault(), "");
}

TEST_F(IndexSetValidate, LeavesTheReasonAloneWhenValid) {
  std::string reason = "before";
  EXPECT_TRUE(set_->Validate(&reason));
  EXPECT_EQ(reason, "before");
}

TEST_F(IndexSetValidate, AnswersWithoutAPlaceForTheReason) {
  const test_support::LogRecorder log;
  EXPECT_TRUE(set_->Validate(nullptr));
  set_->set_format(6);
  EXPECT_FALSE(set_->Validate(nullptr));
  EXPECT_EQ(log.lines(), Lines(2, "3 Check failed: error_msg"));
}

}  // namespace
}  // namespace geometry3d
