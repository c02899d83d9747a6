// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/log_recorder.h"
#include "tests/vortan/diorama/open_shape_coders.h"
#include "tests/vortan/diorama/shape_builder.h"
#include "tests/vortan/diorama/stream_fields.h"

namespace {

using geometry3d::Shape;
using test_support::StreamFields;
using vortan::ShapeDecoder;
using Encoder = test_support::OpenEncoder1;
using Decoder = test_support::OpenDecoder1;
using Lines = std::vector<std::string>;

TEST(ShapeDecoder1, RefusesStreamsOfVersionThree) {
  Shape shape;
  EXPECT_FALSE(Decoder(std::string("SE\x03\0\0\0\0\0", 8)).DecodeShape(&shape));
}

TEST(ShapeDecoder1, FailsWhereTheUnitIsCutOff) {
  Shape shape;
  test_support::MakeTriangle(&shape);
  Encoder encoder;
  encoder.set_point_unit(0.1);
  const std::string stream = encoder.Stream(shape);
  // The count ends in byte 8, the bits and the unit in byte 17.
  for (std::size_t size = 0; size <= stream.size(); ++size) {
    Shape read;
    const bool good = ShapeDecoder::DecodeFromBuffer(stream.substr(0, size), &read);
    if (size <= 4) {
      EXPECT_FALSE(good) << size;
    } else if (size < 8) {
      // The count is read as 0, and so is everything behind it.
      EXPECT_TRUE(good) << size;
      EXPECT_TRUE(read.points().empty()) << size;
    } else {
      EXPECT_EQ(good, size >= 17) << size;
    }
  }
}

TEST(ShapeDecoder1, TakesAUnitThatIsNotANumber) {
  StreamFields fields;
  fields.Header(1).Bits(1, 32).Bits(8, 5).Double(std::nan("")).Bits(0, 32).Bits(0, 32);
  fields.Bits(0, 32).Bits(0, 15).Bits(0, 32).Bits(0, 32).Bits(0, 32).Bits(0, 32);
  Shape read;
  ASSERT_TRUE(ShapeDecoder::DecodeFromBuffer(fields.Stream(), &read));
  EXPECT_TRUE(std::isnan(read.points()[0].x));
}

TEST(ShapeDecoder1, RefusesUnitsOfZeroOrLessInAllPools) {
  for (const float unit : {0.0f, -0.0f, -1.0f}) {
    StreamFields points;
    points.Header(1).Bits(1, 32).Bits(8, 5).Double(static_cast<double>(unit)).Bits(~0u, 32);
    StreamFields normals;
    normals.Header(1).Bits(0, 32).Bits(1, 32).Bits(8, 5).Float(unit).Bits(~0u, 32);
    StreamFields tex_coords;
    tex_coords.Header(1).Bits(0, 32).Bits(0, 32).Bits(1, 32).Bits(8, 5).Float(unit).Bits(~0u, 32);
    for (const StreamFields* fields : {&points, &normals, &tex_coords}) {
      Shape read;
      EXPECT_FALSE(ShapeDecoder::DecodeFromBuffer(fields->Stream(), &read));
    }
  }
}

TEST(ShapeDecoder1, ObeysUnitsThatItsEncoderNeverWrites) {
  StreamFields fields;
  fields.Header(2).Bits(0, 32);
  // Normals: 3 bits over a length of 2; a width of 0 and one of 31.
  fields.Bits(1, 32).Bits(3, 5).Float(2.0f).Bits(7, 32).Bits(0xFFFFFFF9, 32).Bits(1, 32);
  fields.Bits(0, 5).Bits(31, 5).Bits(2, 5).Bits(7, 31).Bits(3, 2);
  fields.Bits(0, 32).Bits(0, 32).Bits(0, 32);
  Shape read;
  ASSERT_TRUE(ShapeDecoder::DecodeFromBuffer(fields.Stream(), &read));
  ASSERT_EQ(read.normals().size(), 1u);
  EXPECT_EQ(read.normals()[0].x, 2.0f);
  EXPECT_EQ(read.normals()[0].y, 0.0f);
  EXPECT_EQ(read.normals()[0].z, 4.0f / 3.5f);
}

TEST(ShapeDecoder1, AddsTheMinimumModuloTwoToTheThirtyTwo) {
  StreamFields fields;
  fields.Header(1).Bits(1, 32).Bits(1, 5).Double(1.0).Bits(0x7FFFFFFF, 32).Bits(0, 32).Bits(0, 32);
  fields.Bits(2, 5).Bits(0, 5).Bits(0, 5).Bits(2, 2).Bits(0, 32).Bits(0, 32).Bits(0, 32);
  fields.Bits(1, 32).Bits(0, 24).Bits(1, 32).Bits(0xFFFFFFFF, 32).Bits(1, 5).Bits(1, 1);
  fields.Bits(0, 32).Bits(0, 32);
  Shape read;
  ASSERT_TRUE(ShapeDecoder::DecodeFromBuffer(fields.Stream(), &read));
  EXPECT_EQ(read.points()[0].x, -2147483647.0);
  EXPECT_EQ(read.index_sets()[0]->point_indices(), std::vector<int>{0});
}

TEST(ShapeDecoder1, LeavesTheRestOfACutPoolAtItsMinimumCorner) {
  StreamFields fields;
  fields.Header(1).Bits(1000, 32).Bits(1, 5).Double(1.0).Bits(5, 32).Bits(6, 32).Bits(7, 32);
  fields.Bits(8, 5).Bits(8, 5).Bits(8, 5);
  Shape read;
  ASSERT_TRUE(ShapeDecoder::DecodeFromBuffer(fields.Stream(), &read));
  ASSERT_EQ(read.points().size(), 1000u);
  EXPECT_EQ(read.points()[999].x, 5.0);
  EXPECT_EQ(read.points()[999].y, 6.0);
  EXPECT_EQ(read.points()[999].z, 7.0);
}

TEST(ShapeDecoder1, EndsInALengthErrorForANegativeCountOfIndices) {
  StreamFields fields;
  fields.Header(1).Bits(0, 32).Bits(0, 32).Bits(0, 32).Bits(0, 32).Bits(1, 32).Bits(0, 24);
  fields.Bits(0x80000000, 32);
  Shape read;
  EXPECT_THROW(ShapeDecoder::DecodeFromBuffer(fields.Stream(), &read), std::length_error);
}

TEST(ShapeDecoder1, TakesNegativeCountsOfMaterialsAndSetsForNone) {
  StreamFields fields;
  fields.Header(1).Bits(0, 32).Bits(0, 32).Bits(0, 32).Bits(0x80000000, 32).Bits(0xFFFFFFFF, 32);
  Shape read;
  EXPECT_TRUE(ShapeDecoder::DecodeFromBuffer(fields.Stream(), &read));
  EXPECT_TRUE(read.materials().empty());
  EXPECT_TRUE(read.index_sets().empty());
}

TEST(ShapeDecoder1, PassesTheExceptionOfTheBudgetForAHugePool) {
  StreamFields fields;
  fields.Header(1).Bits(0xFFFFFFFF, 32).Bits(8, 5).Double(1.0);
  Shape read;
  EXPECT_THROW(ShapeDecoder::DecodeFromBuffer(fields.Stream(), &read, 1 << 30), std::bad_alloc);
}

TEST(ShapeDecoder1, FailsACheckForNoPlaceToDecodeTo) {
  test_support::LogRecorder log;
  Decoder decoder("abc");
  EXPECT_FALSE(decoder.DecodePoints(nullptr));
  EXPECT_FALSE(decoder.DecodeNormals(nullptr));
  EXPECT_FALSE(decoder.DecodeTexCoords(nullptr));
  EXPECT_FALSE(decoder.DecodeMaterial(nullptr));
  EXPECT_FALSE(decoder.DecodeIndexSet(nullptr));
  EXPECT_FALSE(decoder.DecodeIndices(nullptr));
  EXPECT_EQ(log.lines(), (Lines{"3 Check failed: points", "3 Check failed: normals",
                                "3 Check failed: tex_coords", "3 Check failed: material",
                                "3 Check failed: index_set", "3 Check failed: indices"}));
}

}  // namespace
