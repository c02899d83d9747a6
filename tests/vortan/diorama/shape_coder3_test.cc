// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <limits>
#include <numeric>
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
using vortan::ShapeEncoder3;
using Encoder = test_support::OpenEncoder3;
using Decoder = test_support::OpenDecoder3;
using Lines = std::vector<std::string>;

TEST(ShapeCoder3, WritesATriangleInTwentyThreeBytes) {
  Shape shape;
  test_support::MakeTriangle(&shape);
  EXPECT_EQ(Encoder().Stream(shape),
            Bytes({0x53, 0x45, 0x03, 0x00, 0x40, 0x00, 0x61, 0x00, 0x00, 0x0C, 0x02, 0x00,
                   0x48, 0x29, 0x00, 0x00, 0x00, 0x20, 0x00, 0x00, 0x00, 0x02, 0x00}));
}

TEST(ShapeCoder3, WritesTheFieldsOfATriangleInOrder) {
  StreamFields fields;
  fields.Header(3).VarUInt(0, 4);
  EXPECT_EQ(fields.bits(), 37u);
  fields.VarUInt(1, 4).VarUInt(0, 4);
  EXPECT_EQ(fields.bits(), 47u);
  fields.VarInt(-1, 4).VarUInt(3, 4).VarUInt(0, 1).VarUInt(0, 1).VarUInt(0, 1);
  EXPECT_EQ(fields.bits(), 63u);
  fields.VarUInt(0, 4).VarUInt(0, 4).VarUInt(3, 4).Bits(8, 6);
  EXPECT_EQ(fields.bits(), 84u);
  fields.VarInt(0, 4).VarInt(0, 4).VarInt(0, 4).Bits(9, 5).Bits(9, 5).Bits(1, 5);
  EXPECT_EQ(fields.bits(), 114u);
  fields.Bits(0, 9).Bits(0, 9).Bits(0, 1);
  fields.Bits(256, 9).Bits(0, 9).Bits(0, 1);
  fields.Bits(0, 9).Bits(256, 9).Bits(0, 1);
  EXPECT_EQ(fields.bits(), 171u);
  fields.VarUInt(0, 4).VarUInt(0, 4);
  EXPECT_EQ(fields.bits(), 181u);
  Shape shape;
  test_support::MakeTriangle(&shape);
  EXPECT_EQ(Encoder().Stream(shape), fields.Stream());
}

// Everything that a stream can hold, with settings of its own and pool entries that nothing uses.
void MakeFullShape(Shape* shape) {
  *shape->mutable_points() = {{99, 99, 99}, {3, 2, -0.5}, {-1.5, 2, 0.25}};
  *shape->mutable_normals() = {{0, 0, 1}, {0.5f, -1, 0}};
  *shape->mutable_tex_coords() = {{7, 7}, {0, 0.5f}, {1, 0}};
  test_support::AddFullMaterial(shape);
  geometry3d::IndexSet* const set = test_support::AddPointIndices({2, 1, 2, -1, 1, 2}, shape);
  set->set_format(1);
  set->set_material_index(0);
  *set->mutable_normal_indices() = {1, 1, 1, -1, 0, 0};
  *set->mutable_tex_coord_indices() = {2, 1, 2, -1, 2, 1};
  test_support::AddPointIndices({1, -1, -1}, shape)->set_format(300);
}

StreamFields FullFields() {
  StreamFields fields;
  fields.Header(3).VarUInt(1, 4);
  for (int byte = 1; byte <= 14; ++byte) {
    fields.Bits(static_cast<std::uint32_t>(byte), 8);
  }
  fields.Bits(255, 8).Bits(128, 8).Bits(51, 8);
  fields.VarUInt(6, 1).Bytes(std::string("a\0.png", 6)).Bits(1, 1);
  fields.VarUInt(2, 4);
  fields.VarUInt(1, 4).VarInt(0, 4);
  fields.VarUInt(6, 4);
  for (const std::uint32_t offset : {0u, 0u, 2u, 4u, 3u, 3u}) {
    fields.VarUInt(offset, 1);
  }
  fields.VarUInt(6, 4);
  for (const std::uint32_t offset : {0u, 1u, 1u, 4u, 0u, 1u}) {
    fields.VarUInt(offset, 1);
  }
  fields.VarUInt(6, 4);
  for (const std::uint32_t offset : {0u, 0u, 2u, 4u, 2u, 4u}) {
    fields.VarUInt(offset, 1);
  }
  // The offsets of the second set reach back over six entries of the first.
  fields.VarUInt(300, 4).VarInt(-1, 4);
  fields.VarUInt(3, 4).VarUInt(2, 1).VarUInt(8, 1).VarUInt(1, 1);
  fields.VarUInt(0, 4).VarUInt(0, 4);
  // Points in multiples of 1/4, first the last one of the pool.
  fields.VarUInt(2, 4).Bits(2, 6).VarInt(-6, 4).VarInt(8, 4).VarInt(-2, 4);
  fields.Bits(5, 5).Bits(1, 5).Bits(2, 5);
  fields.Bits(0, 5).Bits(0, 1).Bits(3, 2);
  fields.Bits(18, 5).Bits(0, 1).Bits(0, 2);
  // Normals in whole numbers: 0.5 goes to 0.
  fields.VarUInt(2, 4).Bits(0, 6).VarInt(0, 4).VarInt(-1, 4).VarInt(0, 4);
  fields.Bits(1, 5).Bits(1, 5).Bits(1, 5);
  fields.Bits(0, 1).Bits(0, 1).Bits(0, 1);
  fields.Bits(0, 1).Bits(1, 1).Bits(1, 1);
  // Texture coordinates in halves.
  fields.VarUInt(2, 4).Bits(1, 6).VarInt(0, 4).VarInt(0, 4).Bits(2, 5).Bits(1, 5);
  fields.Bits(2, 2).Bits(0, 1).Bits(0, 2).Bits(1, 1);
  return fields;
}

void SetFullPrecision(ShapeEncoder3* encoder) {
  encoder->set_point_bits(2);
  encoder->set_normal_bits(0);
  encoder->set_tex_coord_bits(1);
}

TEST(ShapeCoder3, WritesEveryField) {
  Shape shape;
  MakeFullShape(&shape);
  Encoder encoder;
  SetFullPrecision(&encoder);
  EXPECT_EQ(encoder.Stream(shape), FullFields().Stream());
}

TEST(ShapeCoder3, ReadsEveryField) {
  Decoder decoder(FullFields().Stream());
  Shape shape;
  ASSERT_TRUE(decoder.DecodeShape(&shape));
  EXPECT_EQ(decoder.codec_version(), 3);
  EXPECT_EQ(decoder.point_bits(), 2);
  EXPECT_EQ(decoder.normal_bits(), 0);
  EXPECT_EQ(decoder.tex_coord_bits(), 1);
  ASSERT_EQ(shape.points().size(), 2u);
  EXPECT_EQ(shape.points()[0].x, -1.5);
  EXPECT_EQ(shape.points()[0].y, 2.0);
  EXPECT_EQ(shape.points()[0].z, 0.25);
  EXPECT_EQ(shape.points()[1].x, 3.0);
  ASSERT_EQ(shape.normals().size(), 2u);
  EXPECT_EQ(shape.normals()[0].y, -1.0f);
  EXPECT_EQ(shape.normals()[1].z, 1.0f);
  ASSERT_EQ(shape.tex_coords().size(), 2u);
  EXPECT_EQ(shape.tex_coords()[0].x, 1.0f);
  EXPECT_EQ(shape.tex_coords()[1].y, 0.5f);
  ASSERT_EQ(shape.index_sets().size(), 2u);
  const geometry3d::IndexSet& set = *shape.index_sets()[0];
  EXPECT_EQ(set.format(), 1);
  EXPECT_EQ(set.material_index(), 0);
  EXPECT_EQ(set.point_indices(), (std::vector<int>{0, 1, 0, -1, 1, 0}));
  EXPECT_EQ(set.normal_indices(), (std::vector<int>{0, 0, 0, -1, 1, 1}));
  EXPECT_EQ(set.tex_coord_indices(), (std::vector<int>{0, 1, 0, -1, 0, 1}));
  EXPECT_EQ(shape.index_sets()[1]->format(), 300);
  EXPECT_EQ(shape.index_sets()[1]->material_index(), -1);
  EXPECT_EQ(shape.index_sets()[1]->point_indices(), (std::vector<int>{1, -1, -1}));
  ASSERT_EQ(shape.materials().size(), 1u);
  Shape written;
  test_support::AddFullMaterial(&written)->set_shininess(128.0f * 128.0f / 255.0f);
  EXPECT_TRUE(shape.materials()[0]->IsEqual(*written.materials()[0]));
}

TEST(ShapeCoder3, ChargesEachSectionToItsCounter) {
  Shape shape;
  MakeFullShape(&shape);
  Encoder encoder;
  SetFullPrecision(&encoder);
  encoder.Stream(shape);
  EXPECT_EQ(encoder.stats().AsString(), "64 25 8 6 5 10 3 3 1 3 2 3 9 6 6");
}

TEST(ShapeCoder3, WritesAnEmptyShapeInEightBytes) {
  EXPECT_EQ(Encoder().Stream(Shape()), std::string("SE\x03\0\0\0\0\0", 8));
}

TEST(ShapeCoder3, CountsBackToTheLastUseOfAnEntry) {
  Shape shape;
  shape.mutable_points()->resize(10);
  test_support::AddPointIndices({5, 7, 5, -1, 7, 9, -1}, &shape);
  Encoder encoder;
  const std::string stream = encoder.Stream(shape);
  EXPECT_EQ(encoder.point_order(), (std::vector<int>{5, 7, 9}));
  EXPECT_TRUE(encoder.normal_order().empty());
  EXPECT_TRUE(encoder.tex_coord_order().empty());
  StreamFields fields;
  fields.Header(3).VarUInt(0, 4).VarUInt(1, 4).VarUInt(0, 4).VarInt(-1, 4).VarUInt(7, 4);
  for (const std::uint32_t offset : {0u, 0u, 2u, 4u, 3u, 0u, 3u}) {
    fields.VarUInt(offset, 1);
  }
  const std::size_t whole_bytes = fields.bits() / 8;
  EXPECT_EQ(stream.substr(0, whole_bytes), fields.Stream().substr(0, whole_bytes));
  Shape read;
  ASSERT_TRUE(ShapeDecoder::DecodeFromBuffer(stream, &read));
  EXPECT_EQ(read.index_sets()[0]->point_indices(), (std::vector<int>{0, 1, 0, -1, 1, 2, -1}));
  EXPECT_EQ(read.points().size(), 3u);
}

TEST(ShapeCoder3, LosesEntriesThatNothingRefersTo) {
  Shape shape;
  test_support::MakeTriangle(&shape);
  shape.mutable_points()->insert(shape.points().begin() + 1, {50, 50, 50});
  *shape.index_sets()[0]->mutable_point_indices() = {0, 2, 3};
  *shape.mutable_normals() = {{1, 0, 0}};
  Encoder encoder;
  Shape read;
  ASSERT_TRUE(ShapeDecoder::DecodeFromBuffer(encoder.Stream(shape), &read));
  EXPECT_EQ(read.points().size(), 3u);
  EXPECT_TRUE(read.normals().empty());
  // The counters tell of the pools all the same.
  EXPECT_EQ(encoder.stats().point_count, 4);
  EXPECT_EQ(encoder.stats().normal_count, 1);
}

TEST(ShapeCoder3, ReturnsEntriesInTheOrderOfTheirFirstUse) {
  Shape shape;
  test_support::MakeTriangle(&shape);
  *shape.index_sets()[0]->mutable_point_indices() = {2, 0, 1};
  Shape read;
  ASSERT_TRUE(ShapeDecoder::DecodeFromBuffer(Encoder().Stream(shape), &read));
  EXPECT_EQ(read.points()[0].y, 1.0);
  EXPECT_EQ(read.points()[2].x, 1.0);
  EXPECT_FALSE(read.IsEqual(shape));
}

TEST(ShapeCoder3, ReachesBackAcrossIndexSets) {
  Shape shape;
  test_support::MakeTriangle(&shape);
  test_support::AddPointIndices({2, 1, 0}, &shape);
  StreamFields fields;
  fields.Header(3).VarUInt(0, 4).VarUInt(2, 4);
  fields.VarUInt(0, 4).VarInt(-1, 4).VarUInt(3, 4).Bits(0, 6).VarUInt(0, 4).VarUInt(0, 4);
  fields.VarUInt(0, 4).VarInt(-1, 4).VarUInt(3, 4).VarUInt(1, 1).VarUInt(3, 1).VarUInt(5, 1);
  const std::size_t whole_bytes = fields.bits() / 8;
  EXPECT_EQ(Encoder().Stream(shape).substr(0, whole_bytes), fields.Stream().substr(0, whole_bytes));
}

TEST(ShapeCoder3, CountsTheFirstDelimiterOfEachArrayFromBeforeTheBeginning) {
  Shape shape;
  shape.mutable_points()->resize(1);
  test_support::AddPointIndices({0, 0, -1}, &shape);
  test_support::AddPointIndices({-1, 0, -1}, &shape);
  StreamFields fields;
  fields.Header(3).VarUInt(0, 4).VarUInt(2, 4);
  fields.VarUInt(0, 4).VarInt(-1, 4).VarUInt(3, 4).VarUInt(0, 1).VarUInt(1, 1).VarUInt(3, 1);
  fields.VarUInt(0, 4).VarUInt(0, 4);
  fields.VarUInt(0, 4).VarInt(-1, 4).VarUInt(3, 4).VarUInt(4, 1).VarUInt(3, 1).VarUInt(2, 1);
  const std::string stream = Encoder().Stream(shape);
  const std::size_t whole_bytes = fields.bits() / 8;
  EXPECT_EQ(stream.substr(0, whole_bytes), fields.Stream().substr(0, whole_bytes));
  Shape read;
  ASSERT_TRUE(ShapeDecoder::DecodeFromBuffer(stream, &read));
  EXPECT_EQ(read.index_sets()[1]->point_indices(), (std::vector<int>{-1, 0, -1}));
}

TEST(ShapeCoder3, RefusesIndicesOutsideTheirPool) {
  for (const int index :
       {-2, std::numeric_limits<int>::min(), 3, std::numeric_limits<int>::max()}) {
    Shape shape;
    test_support::MakeTriangle(&shape);
    *shape.index_sets()[0]->mutable_point_indices() = {0, index, 1};
    EXPECT_FALSE(Encoder().EncodeShape(shape)) << index;
  }
}

TEST(ShapeCoder3, HoldsInItsOrderOnlyWhatItWroteBeforeAFailure) {
  Shape shape;
  test_support::MakeTriangle(&shape);
  *shape.index_sets()[0]->mutable_point_indices() = {2, 2, 0, -2, 1};
  Encoder encoder;
  EXPECT_FALSE(encoder.EncodeShape(shape));
  EXPECT_EQ(encoder.point_order(), (std::vector<int>{2, 0}));
  StreamFields fields;
  fields.Header(3).VarUInt(0, 4).VarUInt(1, 4).VarUInt(0, 4).VarInt(-1, 4).VarUInt(5, 4);
  fields.VarUInt(0, 1).VarUInt(1, 1).VarUInt(0, 1);
  EXPECT_EQ(encoder.Written().size(), (fields.bits() + 7) / 8);
}

TEST(ShapeCoder3, RefusesTwoToTheTwentyFourUsedEntriesBeforeTheirCount) {
  Shape shape;
  std::vector<int>* const indices = shape.AddNewIndexSet()->mutable_tex_coord_indices();
  shape.mutable_tex_coords()->resize(1 << 24);
  indices->resize(1 << 24);
  std::iota(indices->begin(), indices->end(), 0);
  Encoder failing;
  EXPECT_FALSE(failing.EncodeShape(shape));
  StreamFields fields;
  fields.Header(3).VarUInt(0, 4).VarUInt(1, 4).VarUInt(0, 4).VarInt(-1, 4).VarUInt(0, 4);
  fields.VarUInt(0, 4).VarUInt(1 << 24, 4).VarUInt(0, 4).VarUInt(0, 4);
  EXPECT_EQ(failing.Written().size(), (fields.bits() + 2 * (1 << 24) + 7) / 8);
  indices->pop_back();
  EXPECT_TRUE(Encoder().EncodeShape(shape));
}

TEST(ShapeCoder3, TakesPrecisionsOfThirtyTwoDownToOneFraction) {
  Shape shape;
  test_support::MakeTriangle(&shape);
  *shape.mutable_points() = {{0, 0, 0}};
  *shape.index_sets()[0]->mutable_point_indices() = {0};
  for (int bits = -32; bits <= 31; ++bits) {
    Encoder encoder;
    encoder.set_point_bits(bits);
    Decoder decoder(encoder.Stream(shape));
    Shape read;
    ASSERT_TRUE(decoder.DecodeShape(&read));
    EXPECT_EQ(decoder.point_bits(), bits);
  }
  for (const int bits : {-33, 32}) {
    Encoder encoder;
    encoder.set_point_bits(bits);
    EXPECT_FALSE(encoder.EncodeShape(shape)) << bits;
  }
}

TEST(ShapeCoder3, DoesNotLookAtThePrecisionOfAPoolThatIsNotUsed) {
  Shape shape;
  test_support::MakeTriangle(&shape);
  *shape.mutable_normals() = {{1, 0, 0}};
  Encoder encoder;
  encoder.set_normal_bits(99);
  EXPECT_TRUE(encoder.EncodeShape(shape));
}

TEST(ShapeCoder3, QuantisesToMultiplesOfFourByMinusTwoBits) {
  Shape shape;
  *shape.mutable_points() = {{9, 10, -7}};
  test_support::AddPointIndices({0}, &shape);
  Encoder encoder;
  encoder.set_point_bits(-2);
  StreamFields fields;
  fields.Header(3).VarUInt(0, 4).VarUInt(1, 4).VarUInt(0, 4).VarInt(-1, 4).VarUInt(1, 4);
  fields.VarUInt(0, 1).VarUInt(0, 4).VarUInt(0, 4);
  // 2.25, 2.5 and -1.75.
  fields.VarUInt(1, 4).Bits(0x3E, 6).VarInt(2, 4).VarInt(2, 4).VarInt(-2, 4);
  fields.Bits(1, 5).Bits(1, 5).Bits(1, 5).Bits(0, 3).VarUInt(0, 4).VarUInt(0, 4);
  const std::string stream = encoder.Stream(shape);
  EXPECT_EQ(stream, fields.Stream());
  Shape read;
  ASSERT_TRUE(ShapeDecoder::DecodeFromBuffer(stream, &read));
  EXPECT_EQ(read.points()[0].x, 8.0);
  EXPECT_EQ(read.points()[0].z, -8.0);
}

TEST(ShapeCoder3, WritesTheWidthsBeforeOneThatIsTooLarge) {
  Shape shape;
  *shape.mutable_points() = {{0, 0, 0}, {3, 1073741824, 0}};
  test_support::AddPointIndices({0, 1}, &shape);
  Encoder encoder;
  encoder.set_point_bits(0);
  EXPECT_FALSE(encoder.EncodeShape(shape));
  StreamFields fields;
  fields.Header(3).VarUInt(0, 4).VarUInt(1, 4).VarUInt(0, 4).VarInt(-1, 4).VarUInt(2, 4);
  fields.VarUInt(0, 1).VarUInt(0, 1).VarUInt(0, 4).VarUInt(0, 4);
  fields.VarUInt(2, 4).Bits(0, 6).VarInt(0, 4).VarInt(0, 4).VarInt(0, 4).Bits(2, 5);
  EXPECT_EQ(encoder.Written().size(), (fields.bits() + 7) / 8);
}

// A doubled minimum does not fit 32 bits there, and nobody is told.
TEST(ShapeCoder3, LosesMinimaOfMoreThanThirtyOneBits) {
  Shape shape;
  *shape.mutable_points() = {{1073741824, 1073741823, -1073741824}};
  test_support::AddPointIndices({0}, &shape);
  Encoder encoder;
  encoder.set_point_bits(0);
  Shape read;
  ASSERT_TRUE(ShapeDecoder::DecodeFromBuffer(encoder.Stream(shape), &read));
  EXPECT_EQ(read.points()[0].x, -1073741824.0);
  EXPECT_EQ(read.points()[0].y, 1073741823.0);
  EXPECT_EQ(read.points()[0].z, -1073741824.0);
}

TEST(ShapeCoder3, KeepsFormatAndMaterialIndexWhole) {
  Shape shape;
  geometry3d::IndexSet* const set = test_support::AddPointIndices({}, &shape);
  set->set_format(-5);
  set->set_material_index(-123456789);
  Shape read;
  ASSERT_TRUE(ShapeDecoder::DecodeFromBuffer(Encoder().Stream(shape), &read));
  EXPECT_EQ(read.index_sets()[0]->format(), -5);
  EXPECT_EQ(read.index_sets()[0]->material_index(), -123456789);
}

TEST(ShapeCoder3, TakesTextureNamesOfAnyLength) {
  Shape shape;
  shape.AddNewMaterial()->set_texture_uri(std::string(100000, 'x'));
  Shape read;
  ASSERT_TRUE(ShapeDecoder::DecodeFromBuffer(Encoder().Stream(shape), &read));
  EXPECT_EQ(read.materials()[0]->texture_uri(), shape.materials()[0]->texture_uri());
}

TEST(ShapeCoder3, IsEqualOnlyWhereNoValueMoved) {
  for (const double x : {1.0, 1.001}) {
    Shape shape;
    test_support::MakeTriangle(&shape);
    (*shape.mutable_points())[1].x = x;
    Shape read;
    ASSERT_TRUE(ShapeDecoder::DecodeFromBuffer(Encoder().Stream(shape), &read));
    EXPECT_EQ(read.IsEqual(shape), x == 1.0);
  }
}

TEST(ShapeCoder3, DoesNotUseThePointUnit) {
  Shape shape;
  test_support::MakeTriangle(&shape);
  Encoder encoder;
  encoder.set_point_unit(-5);
  Decoder decoder(encoder.Stream(shape));
  decoder.set_point_unit(3);
  Shape read;
  ASSERT_TRUE(decoder.DecodeShape(&read));
  EXPECT_EQ(decoder.point_unit(), 3.0);
  EXPECT_EQ(read.points()[1].x, 1.0);
}

TEST(ShapeCoder3, FailsForANullMaterialOrIndexSet) {
  Shape materials;
  materials.mutable_materials()->push_back(nullptr);
  EXPECT_FALSE(Encoder().EncodeShape(materials));
  Shape sets;
  sets.mutable_index_sets()->push_back(nullptr);
  EXPECT_FALSE(Encoder().EncodeShape(sets));
}

// The positions of the first shape make offsets below zero in the second.
TEST(ShapeCoder3, FailsACheckWhenAnEncoderIsUsedAgain) {
  test_support::LogRecorder log;
  Shape shape;
  test_support::MakeTriangle(&shape);
  Encoder encoder;
  encoder.Stream(shape);
  EXPECT_TRUE(log.lines().empty());
  encoder.Stream(shape);
  // Position 0 comes back to 0, 1 to 1, 2 to 2; a shorter way to them is negative.
  *shape.index_sets()[0]->mutable_point_indices() = {2, 1};
  encoder.Stream(shape);
  EXPECT_EQ(log.lines(), Lines{"3 Check failed: offset>=0 -2>=0"});
}

TEST(ShapeCoder3, CodesAnArrayOfOffsetsByItself) {
  std::vector<int> indices;
  std::vector<int> history;
  int next = 0;
  Decoder decoder(StreamFields().VarUInt(1, 4).VarUInt(1, 1).Stream());
  ASSERT_TRUE(decoder.DecodeOffsetIndices(&history, &next, &indices));
  EXPECT_EQ(indices, std::vector<int>{-1});
  EXPECT_EQ(next, 0);

  test_support::LogRecorder log;
  Encoder encoder;
  EXPECT_TRUE(encoder.EncodeOffsetIndices({}, nullptr, &next, &indices));
  EXPECT_EQ(encoder.Written().size(), 1u);
  EXPECT_EQ(log.lines(), Lines{"3 Check failed: index_map"});
}

TEST(ShapeCoder3, FailsACheckForNoPlaceToCodeTo) {
  test_support::LogRecorder log;
  std::vector<int> indices;
  int next = 0;
  EXPECT_FALSE(Encoder().EncodeOffsetIndices({0}, nullptr, &next, &indices));
  Decoder decoder("abc");
  EXPECT_FALSE(decoder.DecodeMaterial(nullptr));
  EXPECT_FALSE(decoder.DecodeIndexSet(nullptr));
  EXPECT_FALSE(decoder.DecodeOffsetIndices(nullptr, &next, &indices));
  EXPECT_FALSE(decoder.DecodeOffsetIndices(&indices, &next, nullptr));
  EXPECT_EQ(log.lines(), (Lines{"3 Check failed: index_map", "3 Check failed: material",
                                "3 Check failed: index_set", "3 Check failed: index_map",
                                "3 Check failed: indices"}));
}

}  // namespace
