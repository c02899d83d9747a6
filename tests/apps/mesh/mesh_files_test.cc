// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

#include "apps/mesh/mesh_file.h"
#include "apps/mesh/mesh_stream.h"
#include "apps/mesh/scene_reader.h"
#include "apps/mesh/scene_writer.h"
#include "tests/apps/mesh/sample_meshes.h"

namespace pelorin {
namespace mesh {
namespace {

using geometry3d::Shape;

TEST(MeshFiles, AreKnownByNameEndingAndFirstBytes) {
  EXPECT_EQ(FormatOfPath("a/b.c/House.OBJ"), MeshFormat::kObj);
  EXPECT_EQ(FormatOfPath("x.ply"), MeshFormat::kPly);
  EXPECT_EQ(FormatOfPath("dir.glb/x"), MeshFormat::kUnknown);
  EXPECT_EQ(FormatOfName("shape"), MeshFormat::kStream);
  EXPECT_EQ(FormatOfName("stl"), MeshFormat::kUnknown);
  EXPECT_EQ(FormatOfName(""), MeshFormat::kUnknown);
  EXPECT_EQ(FormatOfBytes("glTF...."), MeshFormat::kGlb);
  EXPECT_EQ(FormatOfBytes("ply\nformat"), MeshFormat::kPly);
  EXPECT_EQ(FormatOfBytes("SE\x03"), MeshFormat::kStream);
  EXPECT_EQ(FormatOfBytes("v 0 0 0"), MeshFormat::kUnknown);
}

TEST(MeshFiles, ComeBackFromGlbWithMaterialsAndTexturesByName) {
  Shape sheet;
  test_support::FillSheet(5, &sheet);
  sheet.materials()[0]->set_double_sided(true);
  std::string bytes;
  std::string error;
  ASSERT_TRUE(WriteScene(sheet, "glb", &bytes, &error)) << error;
  Shape again;
  ASSERT_TRUE(ReadMeshFile(bytes, "x.glb", FormatOfBytes(bytes), &again, &error)) << error;
  EXPECT_EQ(CountTriangles(again), 50u);
  ASSERT_EQ(again.materials().size(), 1u);
  EXPECT_EQ(again.materials()[0]->texture_uri(), "sheet.png");
  EXPECT_TRUE(again.materials()[0]->double_sided());
  EXPECT_NEAR(again.materials()[0]->diffuse_color().y, 0.25f, 1e-6);
  MeshError distance;
  ASSERT_TRUE(CompareMeshes(sheet, again, &distance));
  EXPECT_LT(distance.max, 1e-6);
  EXPECT_LT(distance.max_normal, 1e-6);
  EXPECT_LT(distance.max_tex_coord, 1e-6);
}

TEST(MeshFiles, KeepThePrecisionOfGlbFarFromZero) {
  Shape sheet;
  test_support::FillSheet(5, &sheet);
  for (auto& point : *sheet.mutable_points()) {
    point += geometry3d::Vector3<double>(85012.343, 447455.577, 12.5);
  }
  std::string bytes;
  std::string error;
  ASSERT_TRUE(WriteScene(sheet, "glb", &bytes, &error)) << error;
  Shape again;
  ASSERT_TRUE(ReadScene(bytes, "glb", &again, &error)) << error;
  MeshError distance;
  ASSERT_TRUE(CompareMeshes(sheet, again, &distance));
  EXPECT_LT(distance.max, 1e-6);
}

TEST(MeshFiles, ComeBackFromPly) {
  Shape sheet;
  test_support::FillSheet(5, &sheet);
  std::string bytes;
  std::string error;
  ASSERT_TRUE(WriteScene(sheet, "ply", &bytes, &error)) << error;
  Shape again;
  ASSERT_TRUE(ReadMeshFile(bytes, "x.ply", FormatOfBytes(bytes), &again, &error)) << error;
  EXPECT_EQ(CountTriangles(again), 50u);
}

TEST(MeshFiles, CarryLinesInGlb) {
  Shape shape;
  *shape.mutable_points() = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
  *shape.AddNewIndexSet()->mutable_point_indices() = {0, 1, 2};
  geometry3d::IndexSet* const lines = shape.AddNewIndexSet();
  lines->set_format(geometry3d::IndexSet::kLines);
  *lines->mutable_point_indices() = {0, 1, 1, 2};
  std::string bytes;
  std::string error;
  ASSERT_TRUE(WriteScene(shape, "glb", &bytes, &error)) << error;
  Shape again;
  ASSERT_TRUE(ReadScene(bytes, "glb", &again, &error)) << error;
  EXPECT_EQ(CountTriangles(again), 1u);
  EXPECT_EQ(CountLines(again), 2u);
}

TEST(MeshFiles, AreRefusedWithoutAFaceToWrite) {
  Shape shape;
  std::string bytes = "before";
  std::string error;
  EXPECT_FALSE(WriteScene(shape, "glb", &bytes, &error));
  EXPECT_EQ(bytes, "before");
  EXPECT_FALSE(error.empty());
}

TEST(MeshFiles, AreValidOrRefusedWhenDamaged) {
  Shape sheet;
  test_support::FillSheet(3, &sheet);
  std::mt19937 random(20261121);
  for (const char* ending : {"glb", "ply"}) {
    std::string bytes;
    std::string error;
    ASSERT_TRUE(WriteScene(sheet, ending, &bytes, &error)) << error;
    for (int round = 0; round < 60; ++round) {
      std::string damaged = bytes;
      if (round % 2 == 0) {
        damaged.resize(random() % bytes.size());
      } else {
        damaged[random() % bytes.size()] = static_cast<char>(random());
      }
      Shape shape;
      error.clear();
      if (ReadMeshFile(damaged, "x", FormatOfName(ending), &shape, &error)) {
        EXPECT_TRUE(shape.Validate(&error)) << error;
      } else {
        EXPECT_FALSE(error.empty());
      }
    }
  }
}

TEST(MeshFiles, ComeBackWithinHalfAStepForTheSharedMeshes) {
  const std::filesystem::path folder = PELORIN_SHARED_DATA "/mesh";
  if (!std::filesystem::exists(folder)) {
    GTEST_SKIP() << "no shared data at " << folder;
  }
  const std::pair<const char*, std::size_t> meshes[] = {{"spot/spot_triangulated.obj", 5856},
                                                        {"delft/testarea.obj", 28619},
                                                        {"parasaurolophus_6700.ply", 9140},
                                                        {"house-5-3.glb", 688}};
  for (const auto& [name, triangles] : meshes) {
    const std::string path = (folder / name).string();
    std::ifstream file(path, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    Shape shape;
    std::string error;
    ASSERT_TRUE(ReadMeshFile(bytes, path, FormatOfPath(path), &shape, &error)) << name << error;
    EXPECT_EQ(CountTriangles(shape), triangles) << name;
    for (const int version : {1, 2, 3}) {
      CodedMesh coded;
      ASSERT_TRUE(EncodeMesh(shape, {version, 8, 8, 8}, &coded, &error)) << name << error;
      EXPECT_LE(coded.error.max_axis, (version == 3 ? 0.5 / 256 : 0.5 / 255) + 1e-9) << name;
    }
  }
}

}  // namespace
}  // namespace mesh
}  // namespace pelorin
