// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "tests/vortan/diorama/open_shape_coders.h"
#include "tests/vortan/diorama/shape_builder.h"
#include "tests/vortan/diorama/stream_fields.h"

namespace {

using geometry3d::Shape;
using test_support::StreamFields;
using vortan::ShapeDecoder;
using Encoder = test_support::OpenEncoder3;
using Decoder = test_support::OpenDecoder3;

// A stream of one index set that has point indices alone, without pools.
std::string OffsetStream(const std::vector<std::uint32_t>& offsets) {
  StreamFields fields;
  fields.Header(3).VarUInt(0, 4).VarUInt(1, 4).VarUInt(0, 4).VarInt(-1, 4);
  fields.VarUInt(static_cast<std::uint32_t>(offsets.size()), 4);
  for (const std::uint32_t offset : offsets) {
    fields.VarUInt(offset, 1);
  }
  fields.VarUInt(0, 4).VarUInt(0, 4).VarUInt(0, 4).VarUInt(0, 4).VarUInt(0, 4);
  return fields.Stream();
}

// The point indices of its only set; empty for a stream that is refused.
std::vector<int> ReadOffsets(const std::vector<std::uint32_t>& offsets) {
  Shape shape;
  if (!ShapeDecoder::DecodeFromBuffer(OffsetStream(offsets), &shape)) {
    return {};
  }
  return shape.index_sets().at(0)->point_indices();
}

TEST(ShapeDecoder3, ReadsOffsetsThatItsEncoderNeverWrites) {
  // A delimiter by the last delimiter of all, and an entry by a use that was not its last.
  EXPECT_EQ(ReadOffsets({0, 2, 0, 2}), (std::vector<int>{0, -1, 1, -1}));
  EXPECT_EQ(ReadOffsets({0, 1, 2, 0, 4}), (std::vector<int>{0, 0, 0, 1, 0}));
  EXPECT_EQ(ReadOffsets({1, 1, 1, 4}), (std::vector<int>{-1, -1, -1, -1}));
}

TEST(ShapeDecoder3, RefusesAnOffsetBeyondOneBeforeTheBeginning) {
  EXPECT_EQ(ReadOffsets({0, 2}), (std::vector<int>{0, -1}));
  EXPECT_EQ(ReadOffsets({0, 3}), std::vector<int>{});
  EXPECT_EQ(ReadOffsets({2}), std::vector<int>{});
  EXPECT_EQ(ReadOffsets({0, 0x7FFFFFFF}), std::vector<int>{});
  EXPECT_EQ(ReadOffsets({0, 0x80000000}), std::vector<int>{});
  EXPECT_EQ(ReadOffsets({0, 0xFFFFFFFF}), std::vector<int>{});
}

TEST(ShapeDecoder3, LeavesZerosBehindAnOffsetThatItRefuses) {
  Shape shape;
  EXPECT_FALSE(ShapeDecoder::DecodeFromBuffer(OffsetStream({0, 0, 9, 0, 0}), &shape));
  EXPECT_EQ(shape.index_sets().at(0)->point_indices(), (std::vector<int>{0, 1, 0, 0, 0}));
}

TEST(ShapeDecoder3, ReadsPoolsThatItsEncoderNeverWrites) {
  StreamFields fields;
  fields.Header(3).VarUInt(0, 4).VarUInt(0, 4);
  // Entries that no index refers to; a width of 31, one of 0 and one wider than the numbers need.
  fields.VarUInt(2, 4).Bits(0x3F, 6).VarInt(-5, 4).VarInt(7, 4).VarInt(0x3FFFFFFF, 4);
  fields.Bits(31, 5).Bits(0, 5).Bits(12, 5);
  fields.Bits(0x7FFFFFFF, 31).Bits(1, 12).Bits(3, 31).Bits(0, 12);
  // The fewest bits, for one entry.
  fields.VarUInt(1, 4).Bits(0x20, 6).VarInt(1, 4).VarInt(0, 4).VarInt(-1, 4).Bits(0, 15);
  fields.VarUInt(0, 4);
  Decoder decoder(fields.Stream());
  Shape shape;
  ASSERT_TRUE(decoder.DecodeShape(&shape));
  EXPECT_EQ(decoder.point_bits(), -1);
  ASSERT_EQ(shape.points().size(), 2u);
  EXPECT_EQ(shape.points()[0].x, 2.0 * (0x7FFFFFFF - 5));
  EXPECT_EQ(shape.points()[0].y, 14.0);
  EXPECT_EQ(shape.points()[0].z, 2.0 * 0x40000000);
  EXPECT_EQ(shape.points()[1].x, -4.0);
  EXPECT_EQ(decoder.normal_bits(), -32);
  ASSERT_EQ(shape.normals().size(), 1u);
  EXPECT_EQ(shape.normals()[0].x, 4294967296.0f);
  EXPECT_EQ(shape.normals()[0].z, -4294967296.0f);
}

TEST(ShapeDecoder3, AddsTheMinimumModuloTwoToTheThirtyTwo) {
  StreamFields fields;
  fields.Header(3).VarUInt(0, 4).VarUInt(0, 4).VarUInt(1, 4).Bits(0, 6);
  fields.VarInt((1 << 30) - 1, 4).VarInt(0, 4).VarInt(0, 4).Bits(31, 5).Bits(0, 10);
  fields.Bits(0x7FFFFFFF, 31).VarUInt(0, 4).VarUInt(0, 4);
  Shape shape;
  ASSERT_TRUE(ShapeDecoder::DecodeFromBuffer(fields.Stream(), &shape));
  EXPECT_EQ(shape.points().at(0).x, -1073741826.0);
}

TEST(ShapeDecoder3, ReadsZeroOffsetsWhereAnArrayIsCutOff) {
  Shape shape;
  test_support::MakeTriangle(&shape);
  const std::string stream = Encoder().Stream(shape);
  Shape read;
  // The count of the points would follow in byte 9.
  ASSERT_TRUE(ShapeDecoder::DecodeFromBuffer(stream.substr(0, 8), &read));
  EXPECT_EQ(read.index_sets().at(0)->point_indices(), (std::vector<int>{0, 1, 2}));
  EXPECT_TRUE(read.points().empty());
  std::string error;
  EXPECT_FALSE(read.Validate(&error));
  EXPECT_EQ(error, "Point index out of range");
}

TEST(ShapeDecoder3, EndsInALengthErrorForANegativeCount) {
  StreamFields indices;
  indices.Header(3).VarUInt(0, 4).VarUInt(1, 4).VarUInt(0, 4).VarInt(-1, 4);
  indices.VarUInt(0xFFFFFFFF, 4);
  Shape read;
  EXPECT_THROW(ShapeDecoder::DecodeFromBuffer(indices.Stream(), &read), std::length_error);
  StreamFields values;
  values.Header(3).VarUInt(0, 4).VarUInt(0, 4).VarUInt(0x80000000, 4);
  EXPECT_THROW(ShapeDecoder::DecodeFromBuffer(values.Stream(), &read), std::length_error);
}

TEST(ShapeDecoder3, TakesNegativeCountsOfMaterialsAndSetsForNone) {
  StreamFields fields;
  fields.Header(3).VarUInt(0x80000000, 4).VarUInt(0xFFFFFFFF, 4).VarUInt(0, 4);
  Shape read;
  EXPECT_TRUE(ShapeDecoder::DecodeFromBuffer(fields.Stream(), &read));
  EXPECT_TRUE(read.materials().empty());
  EXPECT_TRUE(read.index_sets().empty());
}

TEST(ShapeDecoder3, PassesTheExceptionOfTheBudgetForHugeCounts) {
  StreamFields materials;
  materials.Header(3).VarUInt(0x7FFFFFFF, 4);
  StreamFields sets;
  sets.Header(3).VarUInt(0, 4).VarUInt(0x7FFFFFFF, 4);
  StreamFields indices;
  indices.Header(3).VarUInt(0, 4).VarUInt(1, 4).VarUInt(0, 4).VarInt(-1, 4);
  indices.VarUInt(0x7FFFFFFF, 4);
  StreamFields values;
  values.Header(3).VarUInt(0, 4).VarUInt(0, 4).VarUInt(0x7FFFFFFF, 4);
  StreamFields name;
  name.Header(3).VarUInt(1, 4).Bits(0, 32).Bits(0, 32).Bits(0, 32).Bits(0, 32).Bits(0, 8);
  name.VarUInt(0x7FFFFFFF, 1);
  for (const StreamFields* fields : {&materials, &sets, &indices, &values, &name}) {
    Shape read;
    EXPECT_THROW(ShapeDecoder::DecodeFromBuffer(fields->Stream(), &read, 1 << 20), std::bad_alloc);
  }
}

TEST(ShapeDecoder3, RefusesStreamsOfEarlierVersions) {
  Shape shape;
  EXPECT_FALSE(Decoder(std::string("SE\x01\0\0\0\0\0", 8)).DecodeShape(&shape));
  EXPECT_FALSE(Decoder(std::string("SE\x02\0\0\0\0\0", 8)).DecodeShape(&shape));
}

TEST(ShapeDecoder3, LeavesTheSettingOfAnEmptyPoolAsItWas) {
  Decoder decoder(Encoder().Stream(Shape()));
  decoder.set_point_bits(-7);
  Shape read;
  ASSERT_TRUE(decoder.DecodeShape(&read));
  EXPECT_EQ(decoder.point_bits(), -7);
  EXPECT_EQ(decoder.normal_bits(), 8);
}

}  // namespace
