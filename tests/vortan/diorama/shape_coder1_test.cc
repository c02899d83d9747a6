// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "tests/support/log_recorder.h"
#include "tests/vortan/diorama/open_shape_coders.h"
#include "tests/vortan/diorama/shape_builder.h"
#include "tests/vortan/diorama/stream_fields.h"

namespace {

using geometry3d::Shape;
using test_support::Bytes;
using test_support::StreamFields;
using vortan::ShapeDecoder;
using vortan::ShapeEncoder1;
using Encoder = test_support::OpenEncoder1;
using Decoder = test_support::OpenDecoder1;
using Lines = std::vector<std::string>;

TEST(ShapeCoder1, WritesATriangleInSeventyFourBytes) {
  Shape shape;
  test_support::MakeTriangle(&shape);
  EXPECT_EQ(Encoder().Stream(shape),
            Bytes({0x53, 0x45, 0x01, 0x00, 0x03, 0x00, 0x00, 0x00, 0x08, 0x00, 0x00, 0x00, 0x00,
                   0x00, 0x00, 0xFE, 0x07, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
                   0x00, 0x00, 0x00, 0xA1, 0x00, 0x00, 0xE0, 0x1F, 0x00, 0xC0, 0x3F, 0x00, 0x00,
                   0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x80, 0x00, 0x00, 0x00,
                   0x00, 0x80, 0xFF, 0xFF, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x41,
                   0x02, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00}));
}

// All fields of a material but the last one are whole bytes, so they can be read off the stream.
TEST(ShapeCoder1, WritesAMaterialInFiftyFiveBytesOfVersionTwo) {
  Shape shape;
  test_support::AddFullMaterial(&shape);
  EXPECT_EQ(Encoder(2).Stream(shape),
            Bytes({0x53, 0x45, 0x02, 0x00,                          // magic, version
                   0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,  // no points, no normals
                   0x00, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00,  // no coordinates, one material
                   0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08,  // ambient, diffuse
                   0x09, 0x80, 0x06, 0x00,                          // specular, shininess, length
                   0x61, 0x00, 0x2E, 0x70, 0x6E, 0x67,              // texture name
                   0x0A, 0x0B, 0x0C, 0x0D, 0x0E, 0xFF,              // emissive, transparent
                   0x33, 0x01,                 // transparency; double-sided in one bit
                   0x00, 0x00, 0x00, 0x00}));  // behind it no index sets
}

TEST(ShapeCoder1, WritesTheFieldsOfATriangleInOrder) {
  StreamFields fields;
  fields.Header(1);
  EXPECT_EQ(fields.bits(), 32u);
  fields.Bits(3, 32).Bits(8, 5).Double(1.0).Bits(0, 32).Bits(0, 32).Bits(0, 32);
  fields.Bits(8, 5).Bits(8, 5).Bits(1, 5);
  EXPECT_EQ(fields.bits(), 244u);
  fields.Bits(0, 8).Bits(0, 8).Bits(0, 1);
  fields.Bits(255, 8).Bits(0, 8).Bits(0, 1);
  fields.Bits(0, 8).Bits(255, 8).Bits(0, 1);
  EXPECT_EQ(fields.bits(), 295u);
  fields.Bits(0, 32).Bits(0, 32).Bits(0, 32).Bits(1, 32);
  EXPECT_EQ(fields.bits(), 423u);
  fields.Bits(0, 8).Bits(0xFFFF, 16).Bits(3, 32).Bits(0, 32).Bits(2, 5);
  EXPECT_EQ(fields.bits(), 516u);
  fields.Bits(0, 2).Bits(1, 2).Bits(2, 2).Bits(0, 32).Bits(0, 32);
  EXPECT_EQ(fields.bits(), 586u);
  Shape shape;
  test_support::MakeTriangle(&shape);
  EXPECT_EQ(Encoder().Stream(shape), fields.Stream());
}

// Everything that a stream can hold, with settings of its own.
void MakeFullShape(Shape* shape) {
  *shape->mutable_points() = {{-1.5, 2, 0.25}, {3, 2, -0.5}};
  *shape->mutable_normals() = {{0, 0, 1}, {0.5f, -1, 0}};
  *shape->mutable_tex_coords() = {{0.25f, 1}, {0, 0.5f}, {1, 0}};
  test_support::AddFullMaterial(shape);
  geometry3d::IndexSet* const set = test_support::AddPointIndices({0, 1, 0, -1, 1, 0}, shape);
  set->set_format(1);
  set->set_material_index(0);
  *set->mutable_normal_indices() = {1, 1, 1, -1, 0, 0};
  *set->mutable_tex_coord_indices() = {2, 1, 2, -1, 2, 1};
  test_support::AddPointIndices({}, shape)->set_format(5);
}

StreamFields FullFields(int version) {
  StreamFields fields;
  fields.Header(static_cast<std::uint32_t>(version));
  // Points: 10 bits over a length of 16 are a factor of 63.9375, so -96, 192; 128; 16, -32.
  fields.Bits(2, 32).Bits(10, 5).Double(16.0);
  fields.Bits(static_cast<std::uint32_t>(-96), 32).Bits(128, 32);
  fields.Bits(static_cast<std::uint32_t>(-32), 32);
  fields.Bits(9, 5).Bits(1, 5).Bits(6, 5);
  fields.Bits(0, 9).Bits(0, 1).Bits(48, 6);
  fields.Bits(288, 9).Bits(0, 1).Bits(0, 6);
  // Normals: 4 bits are a factor of 15, so 0, 8 (7.5 to even); 0, -15; 15, 0.
  fields.Bits(2, 32).Bits(4, 5).Float(1.0f);
  fields.Bits(0, 32).Bits(static_cast<std::uint32_t>(-15), 32).Bits(0, 32);
  fields.Bits(4, 5).Bits(4, 5).Bits(4, 5);
  fields.Bits(0, 4).Bits(15, 4).Bits(15, 4);
  fields.Bits(8, 4).Bits(0, 4).Bits(0, 4);
  // Texture coordinates: 2 bits are a factor of 3, so 1, 0, 3; 3, 2, 0.
  fields.Bits(3, 32).Bits(2, 5).Float(1.0f).Bits(0, 32).Bits(0, 32).Bits(2, 5).Bits(2, 5);
  fields.Bits(1, 2).Bits(3, 2).Bits(0, 2).Bits(2, 2).Bits(3, 2).Bits(0, 2);
  // One material.
  fields.Bits(1, 32).Bytes("\x01\x02\x03\x04\x05\x06\x07\x08\x09");
  fields.Bits(128, 8).Bits(6, 16).Bytes(std::string("a\0.png", 6));
  if (version == 2) {
    fields.Bytes("\x0A\x0B\x0C\x0D\x0E\xFF").Bits(51, 8).Bits(1, 1);
  }
  // Two index sets; arrays with delimiters begin at -1.
  fields.Bits(2, 32).Bits(1, 8).Bits(0, 16);
  fields.Bits(6, 32).Bits(0xFFFFFFFF, 32).Bits(2, 5);
  for (const int entry : {0, 1, 0, -1, 1, 0}) {
    fields.Bits(static_cast<std::uint32_t>(entry + 1), 2);
  }
  fields.Bits(6, 32).Bits(0xFFFFFFFF, 32).Bits(2, 5);
  for (const int entry : {1, 1, 1, -1, 0, 0}) {
    fields.Bits(static_cast<std::uint32_t>(entry + 1), 2);
  }
  fields.Bits(6, 32).Bits(0xFFFFFFFF, 32).Bits(2, 5);
  for (const int entry : {2, 1, 2, -1, 2, 1}) {
    fields.Bits(static_cast<std::uint32_t>(entry + 1), 2);
  }
  fields.Bits(5, 8).Bits(0xFFFF, 16).Bits(0, 32).Bits(0, 32).Bits(0, 32);
  return fields;
}

void SetFullPrecision(ShapeEncoder1* encoder) {
  encoder->set_point_unit(16.0);
  encoder->set_point_bits(10);
  encoder->set_normal_bits(4);
  encoder->set_tex_coord_bits(2);
}

TEST(ShapeCoder1, WritesEveryFieldOfBothVersions) {
  Shape shape;
  MakeFullShape(&shape);
  for (const int version : {1, 2}) {
    Encoder encoder(version);
    SetFullPrecision(&encoder);
    EXPECT_EQ(encoder.Stream(shape), FullFields(version).Stream()) << version;
  }
}

TEST(ShapeCoder1, ReadsEveryFieldOfVersionTwo) {
  Decoder decoder(FullFields(2).Stream());
  Shape shape;
  ASSERT_TRUE(decoder.DecodeShape(&shape));
  EXPECT_EQ(decoder.codec_version(), 2);
  EXPECT_EQ(decoder.point_unit(), 16.0);
  EXPECT_EQ(decoder.point_bits(), 10);
  EXPECT_EQ(decoder.normal_bits(), 4);
  EXPECT_EQ(decoder.tex_coord_bits(), 2);
  ASSERT_EQ(shape.points().size(), 2u);
  EXPECT_EQ(shape.points()[1].x, 192 / 63.9375);
  EXPECT_EQ(shape.points()[1].y, 128 / 63.9375);
  EXPECT_EQ(shape.points()[1].z, -32 / 63.9375);
  ASSERT_EQ(shape.normals().size(), 2u);
  EXPECT_EQ(shape.normals()[1].x, 8.0f / 15.0f);
  EXPECT_EQ(shape.normals()[1].y, -1.0f);
  EXPECT_EQ(shape.normals()[1].z, 0.0f);
  ASSERT_EQ(shape.tex_coords().size(), 3u);
  EXPECT_EQ(shape.tex_coords()[0].x, 1.0f / 3.0f);
  EXPECT_EQ(shape.tex_coords()[0].y, 1.0f);
  Shape written;
  MakeFullShape(&written);
  ASSERT_EQ(shape.index_sets().size(), 2u);
  EXPECT_EQ(shape.index_sets()[0]->format(), 1);
  EXPECT_EQ(shape.index_sets()[0]->material_index(), 0);
  EXPECT_EQ(shape.index_sets()[0]->point_indices(), written.index_sets()[0]->point_indices());
  EXPECT_EQ(shape.index_sets()[0]->normal_indices(), written.index_sets()[0]->normal_indices());
  EXPECT_EQ(shape.index_sets()[0]->tex_coord_indices(),
            written.index_sets()[0]->tex_coord_indices());
  EXPECT_EQ(shape.index_sets()[1]->format(), 5);
  EXPECT_EQ(shape.index_sets()[1]->material_index(), -1);
  EXPECT_TRUE(shape.index_sets()[1]->point_indices().empty());
  std::string error;
  EXPECT_TRUE(shape.Validate(&error)) << error;
}

TEST(ShapeCoder1, KeepsAWholeMaterialInVersionTwo) {
  Shape shape;
  ASSERT_TRUE(Decoder(FullFields(2).Stream()).DecodeShape(&shape));
  ASSERT_EQ(shape.materials().size(), 1u);
  Shape written;
  // 64 of 128 is stored as 128 of 255, since 127.5 goes to even.
  test_support::AddFullMaterial(&written)->set_shininess(128.0f * 128.0f / 255.0f);
  EXPECT_TRUE(shape.materials()[0]->IsEqual(*written.materials()[0]));
  EXPECT_NEAR(shape.materials()[0]->shininess(), 64.25f, 0.01f);
}

TEST(ShapeCoder1, LosesTheLaterFieldsOfAMaterialInVersionOne) {
  Shape shape;
  ASSERT_TRUE(Decoder(FullFields(1).Stream()).DecodeShape(&shape));
  ASSERT_EQ(shape.materials().size(), 1u);
  const geometry3d::Material& material = *shape.materials()[0];
  EXPECT_EQ(material.texture_uri(), std::string("a\0.png", 6));
  EXPECT_EQ(material.specular_color().z, 9.0f / 255);
  EXPECT_EQ(material.emissive_color().x, 0.0f);
  EXPECT_EQ(material.transparent_color().z, 0.0f);
  EXPECT_EQ(material.transparency(), 0.0f);
  EXPECT_FALSE(material.double_sided());
}

TEST(ShapeCoder1, WritesAnEmptyShapeInTwentyFourBytes) {
  EXPECT_EQ(Encoder().Stream(Shape()), std::string("SE\x01\0", 4) + std::string(20, '\0'));
}

TEST(ShapeCoder1, GivesOneBitToEachComponentOfALonePoint) {
  Shape shape;
  *shape.mutable_points() = {{1, 2, 3}};
  StreamFields fields;
  fields.Header(1).Bits(1, 32).Bits(8, 5).Double(1.0).Bits(255, 32).Bits(510, 32).Bits(765, 32);
  fields.Bits(1, 5).Bits(1, 5).Bits(1, 5).Bits(0, 3);
  fields.Bits(0, 32).Bits(0, 32).Bits(0, 32).Bits(0, 32);
  EXPECT_EQ(Encoder().Stream(shape), fields.Stream());
}

TEST(ShapeCoder1, FailsBehindTheCountForPrecisionsItCannotStore) {
  Shape points;
  *points.mutable_points() = {{1, 2, 3}};
  Shape normals;
  *normals.mutable_normals() = {{1, 0, 0}};
  Shape tex_coords;
  *tex_coords.mutable_tex_coords() = {{1, 0}};
  for (const int bits : {32, 33, 1000, -1, std::numeric_limits<int>::min()}) {
    Encoder point_encoder;
    point_encoder.set_point_bits(bits);
    EXPECT_FALSE(point_encoder.EncodeShape(points));
    EXPECT_EQ(point_encoder.Written().size(), 4u + 4);
    Encoder normal_encoder;
    normal_encoder.set_normal_bits(bits);
    EXPECT_FALSE(normal_encoder.EncodeShape(normals));
    EXPECT_EQ(normal_encoder.Written().size(), 4u + 8);
    Encoder tex_coord_encoder;
    tex_coord_encoder.set_tex_coord_bits(bits);
    EXPECT_FALSE(tex_coord_encoder.EncodeShape(tex_coords));
    EXPECT_EQ(tex_coord_encoder.Written().size(), 4u + 12);
  }
}

TEST(ShapeCoder1, DoesNotLookAtThePrecisionOfAnEmptyPool) {
  Encoder encoder;
  encoder.set_point_bits(99);
  encoder.set_point_unit(-1);
  encoder.set_normal_bits(-3);
  EXPECT_TRUE(encoder.EncodeShape(Shape()));
}

TEST(ShapeCoder1, FailsForAUnitThatIsNotAboveZero) {
  Shape shape;
  *shape.mutable_points() = {{1, 2, 3}};
  for (const double unit : {0.0, -0.0, -1.0, -std::numeric_limits<double>::infinity()}) {
    Encoder encoder;
    encoder.set_point_unit(unit);
    EXPECT_FALSE(encoder.EncodeShape(shape));
    EXPECT_EQ(encoder.Written().size(), 8u);
  }
}

TEST(ShapeCoder1, TakesAllPrecisionsFromZeroToThirtyOne) {
  Shape shape;
  *shape.mutable_points() = {{0.25, 0.5, 0.75}, {0.26, 0.5, 0.75}};
  *shape.mutable_normals() = {{0.5f, 0, 0}};
  *shape.mutable_tex_coords() = {{0.5f, 0}};
  for (int bits = 0; bits <= 31; ++bits) {
    Encoder encoder;
    encoder.set_point_bits(bits);
    encoder.set_normal_bits(bits);
    encoder.set_tex_coord_bits(bits);
    Decoder decoder(encoder.Stream(shape));
    Shape read;
    ASSERT_TRUE(decoder.DecodeShape(&read));
    EXPECT_EQ(decoder.point_bits(), bits);
    if (bits > 0) {
      const double step = 1 / (std::ldexp(1.0, bits) - 1);
      EXPECT_LE(std::abs(read.points()[1].x - 0.26), step / 2 * (1 + 1e-9));
      EXPECT_LE(std::abs(static_cast<double>(read.normals()[0].x) - 0.5), step / 2 + 1e-7);
    } else {
      EXPECT_TRUE(std::isnan(read.points()[1].x));
    }
  }
}

// The highest number of 31 bits is no float, and the next one is a power of two.
TEST(ShapeCoder1, QuantisesNormalsByTheFloatOfTheFullRange) {
  Shape shape;
  *shape.mutable_normals() = {{0.25f, 0, 0}};
  Encoder encoder;
  encoder.set_normal_bits(31);
  StreamFields fields;
  fields.Header(1).Bits(0, 32).Bits(1, 32).Bits(31, 5).Float(1.0f);
  fields.Bits(0x20000000, 32).Bits(0, 32).Bits(0, 32).Bits(1, 5).Bits(1, 5).Bits(1, 5).Bits(0, 3);
  fields.Bits(0, 32).Bits(0, 32).Bits(0, 32);
  EXPECT_EQ(encoder.Stream(shape), fields.Stream());
}

TEST(ShapeCoder1, RoundsHalfAStepToEven) {
  Shape shape;
  *shape.mutable_normals() = {{1.0f, 0.5f, 0}};
  Shape read;
  ASSERT_TRUE(ShapeDecoder::DecodeFromBuffer(Encoder().Stream(shape), &read));
  EXPECT_EQ(read.normals()[0].x, 1.0f);
  EXPECT_EQ(read.normals()[0].y, 128.0f / 255.0f);
}

TEST(ShapeCoder1, FailsBehindTheMinimaForARangeOfMoreThanThirtyBits) {
  Shape shape;
  // By 255 units of 1: 2^30 steps are one too many.
  *shape.mutable_points() = {{0, 0, 0}, {1073741823.0 / 255, 0, 0}};
  Encoder encoder;
  EXPECT_TRUE(encoder.EncodeShape(shape));
  (*shape.mutable_points())[1].x = 1073741824.0 / 255;
  Encoder failing;
  EXPECT_FALSE(failing.EncodeShape(shape));
  // Header, count, 5 bits, unit, three minima.
  EXPECT_EQ(failing.Written().size(), (32 + 32 + 5 + 64 + 96 + 7) / 8u);
}

TEST(ShapeCoder1, CutsFarPointsToThirtyTwoBits) {
  Shape shape;
  *shape.mutable_points() = {{1e8, 0, 0}};
  Shape read;
  ASSERT_TRUE(ShapeDecoder::DecodeFromBuffer(Encoder().Stream(shape), &read));
  // 25500000000 modulo 2^32, as a signed number.
  EXPECT_EQ(read.points()[0].x, -269803776 / 255.0);
}

TEST(ShapeCoder1, KeepsIndicesThatPointNowhere) {
  Shape shape;
  test_support::AddPointIndices({-2, 1000000, -7, 3}, &shape);
  Shape read;
  ASSERT_TRUE(ShapeDecoder::DecodeFromBuffer(Encoder().Stream(shape), &read));
  EXPECT_EQ(read.index_sets()[0]->point_indices(), shape.index_sets()[0]->point_indices());
}

TEST(ShapeCoder1, FailsBehindTheCountForASmallestIndexOfThirtyOneBits) {
  Shape shape;
  test_support::AddPointIndices({0x3FFFFFFF, 0x3FFFFFFF + 5}, &shape);
  EXPECT_TRUE(Encoder().EncodeShape(shape));
  shape.index_sets()[0]->mutable_point_indices()->assign({0x40000000});
  Encoder encoder;
  EXPECT_FALSE(encoder.EncodeShape(shape));
  EXPECT_EQ(encoder.Written().size(), 24u + 3 + 4);
}

TEST(ShapeCoder1, FailsBehindTheMinimumForIndicesTooFarApart) {
  Shape shape;
  test_support::AddPointIndices({-1, 0x7FFFFFFE}, &shape);
  EXPECT_TRUE(Encoder().EncodeShape(shape));
  shape.index_sets()[0]->mutable_point_indices()->assign({-1, 0x7FFFFFFF});
  Encoder encoder;
  EXPECT_FALSE(encoder.EncodeShape(shape));
  EXPECT_EQ(encoder.Written().size(), 24u + 3 + 8);
}

TEST(ShapeCoder1, CutsFormatAndMaterialIndexWithoutNotice) {
  Shape shape;
  geometry3d::IndexSet* const set = test_support::AddPointIndices({}, &shape);
  set->set_format(0x101);
  set->set_material_index(0x18001);
  Shape read;
  ASSERT_TRUE(ShapeDecoder::DecodeFromBuffer(Encoder().Stream(shape), &read));
  EXPECT_EQ(read.index_sets()[0]->format(), 1);
  EXPECT_EQ(read.index_sets()[0]->material_index(), -0x7FFF);
}

TEST(ShapeCoder1, FailsForANullMaterialOrIndexSet) {
  Shape materials;
  materials.mutable_materials()->push_back(nullptr);
  EXPECT_FALSE(Encoder().EncodeShape(materials));
  Shape sets;
  sets.mutable_index_sets()->push_back(nullptr);
  EXPECT_FALSE(Encoder().EncodeShape(sets));
}

TEST(ShapeCoder1, FailsACheckForALongTextureNameAndGoesOn) {
  Shape shape;
  shape.AddNewMaterial()->set_texture_uri(std::string(65534, 'x'));
  test_support::LogRecorder log;
  Encoder().Stream(shape);
  EXPECT_TRUE(log.lines().empty());
  shape.materials()[0]->set_texture_uri(std::string(65535, 'x'));
  Encoder().Stream(shape);
  EXPECT_EQ(log.lines(), Lines{"3 Check failed: str_size<max_size 65535<65535"});
}

TEST(ShapeCoder1, ChargesEachSectionToItsCounter) {
  Shape shape;
  MakeFullShape(&shape);
  Encoder encoder(2);
  SetFullPrecision(&encoder);
  encoder.Stream(shape);
  EXPECT_EQ(encoder.stats().AsString(), "161 29 31 25 20 24 14 14 1 2 2 3 6 6 6");
}

// The count of index sets is charged by the first of them.
TEST(ShapeCoder1, ChargesTheCountOfNoIndexSetsToNoCounter) {
  Encoder encoder;
  encoder.Stream(Shape());
  EXPECT_EQ(encoder.stats().AsString(), "24 4 4 4 4 0 0 0 0 0 0 0 0 0 0");
}

TEST(ShapeCoder1, LeavesTheCountersBehindAFailureAtZero) {
  Shape shape;
  test_support::MakeTriangle(&shape);
  *shape.mutable_normals() = {{1, 0, 0}};
  Encoder encoder;
  encoder.set_normal_bits(32);
  EXPECT_FALSE(encoder.EncodeShape(shape));
  EXPECT_EQ(encoder.stats().AsString(), "37 0 33 0 0 0 0 0 0 3 0 0 0 0 0");
}

TEST(ShapeCoder1, FailsBehindTheMinimaForAWideRangeInAnyComponentOfAnyPool) {
  // By 31 bits half a unit is 2^30 steps, one too many.
  for (const bool is_held : {true, false}) {
    const float far = is_held ? std::nextafter(0.5f, 0.0f) : 0.5f;
    const double far_point = is_held ? 0.4999999995 : 0.5;
    for (int k = 0; k < 8; ++k) {
      Shape shape;
      if (k < 3) {
        *shape.mutable_points() = {
            {0, 0, 0}, {k == 0 ? far_point : 0, k == 1 ? far_point : 0, k == 2 ? far_point : 0}};
      } else if (k < 6) {
        *shape.mutable_normals() = {{0, 0, 0},
                                    {k == 3 ? far : 0, k == 4 ? far : 0, k == 5 ? far : 0}};
      } else {
        *shape.mutable_tex_coords() = {{0, 0}, {k == 6 ? far : 0, k == 7 ? far : 0}};
      }
      Encoder encoder;
      encoder.set_point_bits(31);
      encoder.set_normal_bits(31);
      encoder.set_tex_coord_bits(31);
      EXPECT_EQ(encoder.EncodeShape(shape), is_held) << k;
      if (!is_held) {
        // Header, counts, 5 bits, unit and minima: 229 bits with each of them.
        EXPECT_EQ(encoder.Written().size(), 29u) << k;
      }
    }
  }
}

TEST(ShapeCoder1, TakesAUnitThatIsNotANumber) {
  Shape shape;
  *shape.mutable_points() = {{1, 2, 3}};
  Encoder encoder;
  encoder.set_point_unit(std::numeric_limits<double>::quiet_NaN());
  EXPECT_TRUE(encoder.EncodeShape(shape));
}

TEST(ShapeCoder1, DividesTheFullRangeByTheUnit) {
  // By the reciprocal of the unit this place would be rounded to 0.
  Shape shape;
  *shape.mutable_points() = {{0, 0, 0}, {0.0013725490196078432, 0, 0}};
  Encoder encoder;
  encoder.set_point_unit(0.7);
  Shape read;
  ASSERT_TRUE(ShapeDecoder::DecodeFromBuffer(encoder.Stream(shape), &read));
  EXPECT_EQ(read.points()[1].x, 1 / (255 / 0.7));
}

TEST(ShapeCoder1, ReadsInfinitiesForAPrecisionOfNoBits) {
  StreamFields fields;
  fields.Header(1).Bits(1, 32).Bits(0, 5).Double(1.0).Bits(1, 32).Bits(~0u, 32).Bits(0, 32);
  fields.Bits(0, 15).Bits(0, 32).Bits(0, 32).Bits(0, 32).Bits(0, 32);
  Shape read;
  ASSERT_TRUE(ShapeDecoder::DecodeFromBuffer(fields.Stream(), &read));
  EXPECT_EQ(read.points()[0].x, std::numeric_limits<double>::infinity());
  EXPECT_EQ(read.points()[0].y, -std::numeric_limits<double>::infinity());
  EXPECT_TRUE(std::isnan(read.points()[0].z));
}

TEST(ShapeCoder1, ReadsBackTheOneNameThatFailsTheCheckAndStillFits) {
  test_support::LogRecorder log;
  Shape shape;
  shape.AddNewMaterial()->set_texture_uri(std::string(65535, 'x'));
  shape.AddNewMaterial()->set_texture_uri("second");
  Shape read;
  ASSERT_TRUE(ShapeDecoder::DecodeFromBuffer(Encoder().Stream(shape), &read));
  EXPECT_EQ(log.lines().size(), 1u);
  EXPECT_EQ(read.materials()[0]->texture_uri().size(), 65535u);
  EXPECT_EQ(read.materials()[1]->texture_uri(), "second");
}

TEST(ShapeCoder1, ReadsTheHeaderWithNowhereToPutTheShape) {
  test_support::LogRecorder log;
  const std::string stream("XE\1\0abc", 7);
  EXPECT_FALSE(Decoder(stream).DecodeShape(nullptr));
  EXPECT_EQ(log.lines(), (Lines{"3 Check failed: shape", "3 Check failed: codec_version>0 -1>0"}));
}

}  // namespace
