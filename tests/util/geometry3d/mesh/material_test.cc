// SPDX-License-Identifier: Apache-2.0
#include "util/geometry3d/mesh/material.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "tests/support/log_recorder.h"
#include "util/geometry3d/mesh/shape.h"

namespace geometry3d {
namespace {

using Lines = std::vector<std::string>;
using Color = Vector3<float>;

// One change for each field that can differ.
const std::vector<std::function<void(Material*)>>& Changes() {
  static const std::vector<std::function<void(Material*)>> changes = {
      [](Material* m) { m->set_ambient_color(Color(0.5f, 0, 0)); },
      [](Material* m) { m->set_diffuse_color(Color(0, 0.5f, 0)); },
      [](Material* m) { m->set_specular_color(Color(0, 0, 0.5f)); },
      [](Material* m) { m->set_emissive_color(Color(0.5f, 0, 0)); },
      [](Material* m) { m->set_transparent_color(Color(0, 0.5f, 0)); },
      [](Material* m) { m->set_shininess(12.5f); },
      [](Material* m) { m->set_transparency(0.25f); },
      [](Material* m) { m->set_texture_uri("brick.png"); },
      [](Material* m) { m->set_double_sided(true); },
  };
  return changes;
}

TEST(Material, BeginsBlackOpaqueAndWithoutTexture) {
  const Material material;
  EXPECT_EQ(material.shape(), nullptr);
  EXPECT_EQ(material.ambient_color(), Color());
  EXPECT_EQ(material.diffuse_color(), Color());
  EXPECT_EQ(material.specular_color(), Color());
  EXPECT_EQ(material.emissive_color(), Color());
  EXPECT_EQ(material.transparent_color(), Color());
  EXPECT_EQ(material.shininess(), 0.0f);
  EXPECT_EQ(material.transparency(), 0.0f);
  EXPECT_EQ(material.texture_uri(), "");
  EXPECT_FALSE(material.double_sided());
}

TEST(Material, DiffersInEachField) {
  for (std::size_t i = 0; i < Changes().size(); ++i) {
    Material changed;
    Changes()[i](&changed);
    EXPECT_FALSE(changed.IsEqual(Material())) << i;
    EXPECT_TRUE(changed.IsEqual(changed)) << i;
  }
}

TEST(Material, CopiesEverythingButTheShape) {
  Shape shape;
  Material source;
  source.set_shape(&shape);
  for (const auto& change : Changes()) {
    change(&source);
  }
  Material copy;
  copy.CopyFrom(source);
  EXPECT_TRUE(copy.IsEqual(source));
  EXPECT_EQ(copy.shape(), nullptr);
}

TEST(Material, IsEqualInAnotherShape) {
  Shape shape;
  Material some;
  some.set_shape(&shape);
  EXPECT_TRUE(some.IsEqual(Material()));
}

TEST(Material, ComparesTexturesByAllTheirBytes) {
  Material some;
  Material other;
  some.set_texture_uri(std::string("a\0b", 3));
  other.set_texture_uri(std::string("a\0c", 3));
  EXPECT_FALSE(some.IsEqual(other));
}

TEST(Material, IsUnequalToItselfWithANaN) {
  Material material;
  material.set_shininess(std::numeric_limits<float>::quiet_NaN());
  EXPECT_FALSE(material.IsEqual(material));
}

TEST(Material, IsValidWithAShape) {
  Shape shape;
  const Material* const material = shape.AddNewMaterial();
  std::string reason = "before";
  EXPECT_TRUE(material->Validate(&reason));
  EXPECT_EQ(reason, "before");
}

TEST(Material, IsValidInAnotherShapeThanTheOneItPointsAt) {
  Shape shape;
  Shape other;
  shape.AddNewMaterial()->set_shape(&other);
  std::string reason;
  EXPECT_TRUE(shape.Validate(&reason)) << reason;
}

TEST(Material, IsInvalidWithoutAShape) {
  std::string reason;
  EXPECT_FALSE(Material().Validate(&reason));
  EXPECT_EQ(reason, "Invalid Material, has no shape");
}

TEST(Material, AnswersWithoutAPlaceForTheReason) {
  const test_support::LogRecorder log;
  EXPECT_FALSE(Material().Validate(nullptr));
  EXPECT_EQ(log.lines(), Lines({"3 Check failed: error_msg"}));
}

}  // namespace
}  // namespace geometry3d
