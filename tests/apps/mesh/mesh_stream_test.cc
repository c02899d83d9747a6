// SPDX-License-Identifier: Apache-2.0
#include "apps/mesh/mesh_stream.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>

#include "tests/apps/mesh/sample_meshes.h"

namespace pelorin {
namespace mesh {
namespace {

using geometry3d::Shape;

TEST(MeshStream, ComesBackWithinHalfAStepInEveryVersion) {
  Shape sheet;
  test_support::FillSheet(8, &sheet);
  for (const int version : {1, 2, 3}) {
    for (const int bits : {4, 8, 16}) {
      CodedMesh coded;
      std::string error;
      ASSERT_TRUE(EncodeMesh(sheet, {version, bits, 12, 12}, &coded, &error)) << error;
      const double levels = std::ldexp(1.0, bits) - (version == 3 ? 0 : 1);
      EXPECT_LE(coded.error.max_axis, 0.5 / levels + 1e-12);
      EXPECT_GT(coded.error.max, 0);
      EXPECT_LE(coded.error.rms, coded.error.max);
      Shape decoded;
      StreamSettings settings;
      ASSERT_TRUE(DecodeMesh(coded.bytes, &decoded, &settings, &error)) << error;
      EXPECT_EQ(settings.version, version);
      EXPECT_EQ(settings.point_bits, bits);
      EXPECT_EQ(settings.normal_bits, 12);
      EXPECT_TRUE(decoded.IsEqual(coded.decoded));
    }
  }
}

TEST(MeshStream, RefusesCoordinatesThatDoNotComeBack) {
  Shape far;
  *far.mutable_points() = {{4e9, 0, 0}, {4e9 + 1, 0, 0}, {4e9, 1, 0}};
  *far.AddNewIndexSet()->mutable_point_indices() = {0, 1, 2};
  CodedMesh coded;
  std::string error;
  EXPECT_FALSE(EncodeMesh(far, StreamSettings(), &coded, &error));
  EXPECT_EQ(error,
            "version 3 cannot hold coordinates as large as 4e+09 with 8 bits, only with up to -2");
  EXPECT_TRUE(EncodeMesh(far, {3, -2, 8, 8}, &coded, &error)) << error;
  EXPECT_FALSE(EncodeMesh(far, {3, -1, 8, 8}, &coded, &error));
  EXPECT_FALSE(EncodeMesh(far, {1, 31, 8, 8}, &coded, &error));
  EXPECT_EQ(error, "version 1 cannot hold this mesh with these precisions");
}

TEST(MeshStream, PicksTheFewestBitsWithinAnError) {
  Shape sheet;
  test_support::FillSheet(8, &sheet);
  for (const double most : {1.0, 0.1, 0.003, 1e-6}) {
    CodedMesh coded;
    std::string error;
    ASSERT_TRUE(EncodeWithin(sheet, StreamSettings(), most, &coded, &error)) << error;
    EXPECT_LE(coded.error.max, most);
    CodedMesh coarser;
    StreamSettings settings = coded.settings;
    --settings.point_bits;
    ASSERT_TRUE(EncodeMesh(sheet, settings, &coarser, &error)) << error;
    EXPECT_GT(coarser.error.max, most);
  }
}

TEST(MeshStream, HasNoPrecisionForAnErrorThatIsTooSmall) {
  Shape sheet;
  test_support::FillSheet(3, &sheet);
  CodedMesh coded;
  std::string error;
  EXPECT_FALSE(EncodeWithin(sheet, StreamSettings(), 1e-15, &coded, &error));
  EXPECT_FALSE(error.empty());
}

TEST(MeshStream, RefusesEveryPrefix) {
  Shape sheet;
  test_support::FillSheet(3, &sheet);
  for (const int version : {1, 2, 3}) {
    CodedMesh coded;
    std::string error;
    ASSERT_TRUE(EncodeMesh(sheet, {version, 8, 8, 8}, &coded, &error)) << error;
    for (std::size_t length = 0; length < coded.bytes.size(); ++length) {
      Shape decoded;
      // An allocation of just this size, for the address checker.
      const std::string prefix(coded.bytes, 0, length);
      EXPECT_FALSE(DecodeMesh(prefix, &decoded, nullptr, &error))
          << version << ": " << length << " of " << coded.bytes.size();
    }
  }
}

TEST(MeshStream, GivesAValidMeshOrNoneFromDamagedBytes) {
  Shape sheet;
  test_support::FillSheet(4, &sheet);
  std::mt19937 random(20261121);
  for (int round = 0; round < 300; ++round) {
    CodedMesh coded;
    std::string error;
    ASSERT_TRUE(EncodeMesh(sheet, {round % 3 + 1, 8, 8, 8}, &coded, &error));
    for (int i = 0; i < 3; ++i) {
      coded.bytes[random() % coded.bytes.size()] = static_cast<char>(random());
    }
    Shape decoded;
    if (DecodeMesh(coded.bytes, &decoded, nullptr, &error)) {
      EXPECT_TRUE(decoded.Validate(&error)) << error;
      EXPECT_TRUE(IsFinite(decoded));
    }
  }
}

TEST(MeshStream, SaysWhatIsNoStreamAndWhatVersionIsUnknown) {
  Shape shape;
  std::string error;
  EXPECT_FALSE(DecodeMesh("hello, world", &shape, nullptr, &error));
  EXPECT_EQ(error, "it is no shape stream");
  EXPECT_FALSE(DecodeMesh(std::string("SE\x09\0abc", 7), &shape, nullptr, &error));
  EXPECT_EQ(error, "it is a shape stream of the unknown version 9");
}

TEST(MeshStream, FindsNumbersThatAreNone) {
  Shape shape;
  EXPECT_TRUE(IsFinite(shape));
  shape.mutable_normals()->emplace_back(0.0f, 0.0f, std::numeric_limits<float>::infinity());
  EXPECT_FALSE(IsFinite(shape));
}

}  // namespace
}  // namespace mesh
}  // namespace pelorin
