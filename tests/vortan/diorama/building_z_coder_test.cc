// SPDX-License-Identifier: Apache-2.0
#include "vortan/diorama/building_z_coder.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "tests/support/log_recorder.h"
#include "tests/util/geometry3d/mesh/building_samples.h"

namespace vortan {
namespace {

using geometry3d::BuildingZ;
using geometry3d::PolygonZ;
using test_support::FillHouse;
using test_support::LogRecorder;
using Place = geometry3d::Vector2<double>;
using Lines = std::vector<std::string>;

std::string StreamOf(const BuildingZEncoder& encoder) {
  return std::string(encoder.buffer(), static_cast<std::size_t>(encoder.buffer_size()));
}

template <std::size_t N>
std::string Bytes(const unsigned char (&bytes)[N]) {
  return std::string(bytes, bytes + N);
}

bool Decode(const std::string& stream, BuildingZ* building) {
  BuildingZDecoder decoder;
  decoder.Init(stream.data(), static_cast<int>(stream.size()));
  return decoder.DecodeBuildingZ(building);
}

// The square house of side 1 and height 10 at 8 bits, field by field: its bit offset and its
// bits as they stand in the stream, lowest first.
constexpr unsigned char kHouse[] = {
    0x5A, 0x42,              // 0: magic 16986
    0x01, 0x00,              // 16: version 1
    0x88, 0x40,              // 32: point_bits 8 = 000100; polygon count 1 = 0 1000;
                             // 43: point count 4 = 0 0010
    0x00, 0xA4,              // 48: minima 0, 0 = 0 0000 twice; 58: widths 9, 9 = 10010 twice
    0x04, 0x00, 0x00, 0x40,  // 68: nine bits each: 0 0, 256 0, 256 256, 0 256
    0x00, 0x00, 0x01, 0x02,  //
    0x00, 0x78, 0xF0, 0x02,  // 140: z 2560 as 5120 = 1110 and 752 in sixteen bits
    0x02, 0x31, 0x41, 0xE2,  // 160: contour count 1 = 0 1000, size 4 = 0 0010;
                             // 170: index count 6 = 0 0110; 175: width 2 = 01000;
                             // 180: 0 1 2 0 2 3 in two bits each
};

class HouseEncoder : public testing::Test {
 protected:
  HouseEncoder() { FillHouse(building_.AddNewPolygon()); }
  PolygonZ& polygon() { return *building_.polygons()[0]; }
  bool Encode() { return encoder_.EncodeBuildingZ(building_); }

  BuildingZ building_;
  BuildingZEncoder encoder_;
};

TEST_F(HouseEncoder, WritesTheTwentyFourBytesOfASquareHouse) {
  ASSERT_TRUE(Encode());
  EXPECT_EQ(StreamOf(encoder_), Bytes(kHouse));
}

TEST_F(HouseEncoder, CountsBytesByListAndElements) {
  ASSERT_TRUE(Encode());
  EXPECT_EQ(encoder_.stats().AsString(), "24 12 2 2 4 1 6");
}

TEST_F(HouseEncoder, SumsTheCountsOfItsPolygons) {
  FillHouse(building_.AddNewPolygon());
  ASSERT_TRUE(Encode());
  EXPECT_EQ(encoder_.stats().total_bytes, encoder_.buffer_size());
  EXPECT_EQ(encoder_.stats().point_count, 8);
  EXPECT_EQ(encoder_.stats().contour_count, 2);
  EXPECT_EQ(encoder_.stats().triangle_index_count, 12);
}

TEST_F(HouseEncoder, RefusesFortyPointBitsBehindTheHeader) {
  encoder_.set_point_bits(40);
  EXPECT_FALSE(Encode());
  EXPECT_EQ(encoder_.buffer_size(), 4);
}

TEST_F(HouseEncoder, TakesPointBitsFromMinus32To31) {
  polygon().mutable_points()->resize(1);
  for (const int bits : {-32, 31}) {
    BuildingZEncoder encoder;
    encoder.set_point_bits(bits);
    EXPECT_TRUE(encoder.EncodeBuildingZ(building_)) << bits;
  }
  for (const int bits : {-33, 32}) {
    BuildingZEncoder encoder;
    encoder.set_point_bits(bits);
    EXPECT_FALSE(encoder.EncodeBuildingZ(building_)) << bits;
  }
}

TEST_F(HouseEncoder, RefusesANullPolygon) {
  const_cast<std::vector<PolygonZ*>&>(building_.polygons()).push_back(nullptr);
  EXPECT_FALSE(Encode());
}

TEST_F(HouseEncoder, RefusesAMinimumOfTwoToTheThirty) {
  *polygon().mutable_points() = {Place(0.0, (1 << 30) / 256.0)};
  EXPECT_FALSE(Encode());
  // Magic, version, point_bits, polygon count and point count: no minimum was written.
  EXPECT_EQ(encoder_.num_bits(), 48);
}

TEST_F(HouseEncoder, TakesAMinimumOneBelowTwoToTheThirty) {
  *polygon().mutable_points() = {Place(0.0, ((1 << 30) - 1) / 256.0)};
  ASSERT_TRUE(Encode());
  BuildingZ decoded;
  ASSERT_TRUE(Decode(StreamOf(encoder_), &decoded));
  EXPECT_EQ(decoded.polygons()[0]->points()[0].y, ((1 << 30) - 1) / 256.0);
}

TEST_F(HouseEncoder, DoesNotTellOfAMinimumBelowMinusTwoToTheThirty) {
  *polygon().mutable_points() = {Place(-(1 << 30) / 256.0 - 1.0, 0.0)};
  EXPECT_TRUE(Encode());
}

TEST_F(HouseEncoder, RefusesAWidthOf32BehindTheMinima) {
  *polygon().mutable_points() = {Place(-(1 << 30) / 256.0, 0.0), Place((1 << 30) / 256.0, 0.0),
                                 Place((1u << 31) / 256.0 - 1.0, 0.0)};
  EXPECT_FALSE(Encode());
  // A minimum of eight groups and one of a single group; no width was written.
  EXPECT_EQ(encoder_.num_bits(), 48 + 40 + 5);
}

TEST_F(HouseEncoder, TakesAWidthOf31) {
  *polygon().mutable_points() = {Place(-4.0, 0.0), Place(((1u << 31) - 1025) / 256.0, 0.0)};
  ASSERT_TRUE(Encode());
  BuildingZ decoded;
  ASSERT_TRUE(Decode(StreamOf(encoder_), &decoded));
  EXPECT_TRUE(decoded.polygons()[0]->points()[1].x == ((1u << 31) - 1025) / 256.0);
}

TEST_F(HouseEncoder, RefusesANegativeContourSize) {
  *polygon().mutable_contour_sizes() = {4, -1};
  EXPECT_FALSE(Encode());
  EXPECT_EQ(encoder_.stats().contour_count, 0);
  EXPECT_EQ(encoder_.stats().point_count, 4);
}

TEST_F(HouseEncoder, RefusesANegativeTriangleIndexBehindTheCount) {
  *polygon().mutable_triangle_indices() = {0, 1, -1};
  EXPECT_FALSE(Encode());
  EXPECT_EQ(encoder_.num_bits(), 175);
}

TEST_F(HouseEncoder, TakesTheLargestTriangleIndex) {
  *polygon().mutable_triangle_indices() = {0, 1, std::numeric_limits<int>::max()};
  ASSERT_TRUE(Encode());
  BuildingZ decoded;
  ASSERT_TRUE(Decode(StreamOf(encoder_), &decoded));
  EXPECT_TRUE(decoded.IsEqual(building_));
}

TEST_F(HouseEncoder, GivesASinglePointWidthsOfOne) {
  polygon().mutable_points()->resize(1);
  ASSERT_TRUE(Encode());
  BinaryDecoder reader;
  reader.Init(encoder_.buffer(), encoder_.buffer_size());
  for (const int width : {32, 6 + 5 + 5 + 10}) {
    reader.ReadBits(width);
  }
  EXPECT_EQ(reader.ReadBits(5), 1u);
  EXPECT_EQ(reader.ReadBits(5), 1u);
}

TEST_F(HouseEncoder, GivesIndicesOfOnlyZerosOneBitEach) {
  *polygon().mutable_triangle_indices() = {0, 0, 0};
  ASSERT_TRUE(Encode());
  // One bit for each in place of two for twice as many.
  EXPECT_EQ(encoder_.buffer_size(), 23);
  BuildingZ decoded;
  ASSERT_TRUE(Decode(StreamOf(encoder_), &decoded));
  EXPECT_TRUE(decoded.IsEqual(building_));
}

TEST_F(HouseEncoder, WritesTheHeightOfAPolygonWithoutPoints) {
  polygon().Clear();
  ASSERT_TRUE(Encode());
  BuildingZ decoded;
  ASSERT_TRUE(Decode(StreamOf(encoder_), &decoded));
  ASSERT_EQ(decoded.polygons().size(), 1u);
  EXPECT_TRUE(decoded.polygons()[0]->points().empty());
  EXPECT_EQ(decoded.polygons()[0]->z(), 10.0);
}

TEST_F(HouseEncoder, RoundsTheHeightToTheNearestStep) {
  polygon().set_z(10.001);
  ASSERT_TRUE(Encode());
  BuildingZ decoded;
  ASSERT_TRUE(Decode(StreamOf(encoder_), &decoded));
  EXPECT_EQ(decoded.polygons()[0]->z(), 10.0);
}

TEST_F(HouseEncoder, RoundsHalvesToEven) {
  encoder_.set_point_bits(0);
  polygon().set_z(2.5);
  *polygon().mutable_points() = {Place(0.5, 1.5), Place(-0.5, -1.5)};
  ASSERT_TRUE(Encode());
  BuildingZ decoded;
  ASSERT_TRUE(Decode(StreamOf(encoder_), &decoded));
  EXPECT_EQ(decoded.polygons()[0]->z(), 2.0);
  EXPECT_EQ(decoded.polygons()[0]->points()[0].x, 0.0);
  EXPECT_EQ(decoded.polygons()[0]->points()[0].y, 2.0);
  EXPECT_EQ(decoded.polygons()[0]->points()[1].x, 0.0);
  EXPECT_EQ(decoded.polygons()[0]->points()[1].y, -2.0);
}

TEST_F(HouseEncoder, RoundsToMultiplesOfEightAtMinusThreePointBits) {
  encoder_.set_point_bits(-3);
  EXPECT_EQ(encoder_.point_factor(), 0.125);
  polygon().set_z(19.0);
  *polygon().mutable_points() = {Place(3.0, 100.0), Place(-21.0, 5.0)};
  ASSERT_TRUE(Encode());
  BuildingZ decoded;
  ASSERT_TRUE(Decode(StreamOf(encoder_), &decoded));
  EXPECT_EQ(decoded.polygons()[0]->z(), 16.0);
  EXPECT_EQ(decoded.polygons()[0]->points()[0].x, 0.0);
  EXPECT_EQ(decoded.polygons()[0]->points()[0].y, 96.0);
  EXPECT_EQ(decoded.polygons()[0]->points()[1].x, -24.0);
  EXPECT_EQ(decoded.polygons()[0]->points()[1].y, 8.0);
}

TEST_F(HouseEncoder, GoesOnWithPointsThatAreNoNumbers) {
  polygon().set_z(std::numeric_limits<double>::quiet_NaN());
  (*polygon().mutable_points())[0].x = std::numeric_limits<double>::infinity();
  (*polygon().mutable_points())[1].y = std::numeric_limits<double>::quiet_NaN();
  Encode();
  BuildingZ decoded;
  EXPECT_TRUE(Decode(StreamOf(encoder_), &decoded));
}

TEST(BuildingZEncoder, WritesSixBytesForABuildingWithoutPolygons) {
  const BuildingZ building;
  BuildingZEncoder encoder;
  ASSERT_TRUE(encoder.EncodeBuildingZ(building));
  EXPECT_EQ(StreamOf(encoder), Bytes({0x5A, 0x42, 0x01, 0x00, 0x08, 0x00}));
  EXPECT_EQ(encoder.stats().AsString(), "6 0 0 0 0 0 0");
}

TEST(BuildingZEncoder, ChargesNothingTwice) {
  BuildingZEncoder encoder;
  int counter = 0;
  encoder.WriteBits(1, 20);
  encoder.RegisterStat(&counter);
  encoder.RegisterStat(&counter);
  EXPECT_EQ(counter, 3);
  EXPECT_EQ(encoder.stats().total_bytes, 3);
}

TEST(BuildingZEncoder, MakesAFatalEntryForNoCounterAndDropsTheBytes) {
  const LogRecorder log;
  BuildingZEncoder encoder;
  encoder.WriteBits(1, 8);
  encoder.RegisterStat(nullptr);
  EXPECT_EQ(log.lines(), Lines{"3 Check failed: stat"});
  EXPECT_EQ(encoder.stats().total_bytes, 1);
}

TEST(BuildingZEncoder, MakesAFatalEntryForAFactorOfZero) {
  BuildingZEncoder encoder;
  encoder.set_point_bits(-2000);
  const LogRecorder log;
  EXPECT_EQ(encoder.point_factor(), 0.0);
  EXPECT_EQ(log.lines(), Lines{"3 Check failed: factor>0 0>0"});
}

TEST(BuildingZDecoder, ReadsTheSquareHouse) {
  const std::string stream = Bytes(kHouse);
  BuildingZDecoder decoder;
  decoder.Init(stream.data(), static_cast<int>(stream.size()));
  BuildingZ building;
  ASSERT_TRUE(decoder.DecodeBuildingZ(&building));
  BuildingZ house;
  FillHouse(house.AddNewPolygon());
  EXPECT_TRUE(building.IsEqual(house));
  EXPECT_EQ(decoder.point_bits(), 8);
  EXPECT_EQ(decoder.point_factor(), 256.0);
  EXPECT_EQ(decoder.BytesDecoded(), 24);
}

TEST(BuildingZDecoder, TellsThePointBitsOfTheStream) {
  BuildingZEncoder encoder;
  encoder.set_point_bits(-3);
  ASSERT_TRUE(encoder.EncodeBuildingZ(BuildingZ()));
  BuildingZDecoder decoder;
  decoder.Init(encoder.buffer(), encoder.buffer_size());
  EXPECT_EQ(decoder.point_bits(), 8);
  BuildingZ building;
  ASSERT_TRUE(decoder.DecodeBuildingZ(&building));
  EXPECT_EQ(decoder.point_bits(), -3);
}

TEST(BuildingZDecoder, RefusesAnotherMagicAndVersionWithoutAnEntry) {
  const LogRecorder log;
  BuildingZ building;
  std::string stream = Bytes(kHouse);
  stream[0] = 'S';
  EXPECT_FALSE(Decode(stream, &building));
  stream = Bytes(kHouse);
  stream[2] = 2;
  EXPECT_FALSE(Decode(stream, &building));
  EXPECT_FALSE(Decode("", &building));
  EXPECT_TRUE(building.polygons().empty());
  EXPECT_EQ(log.lines(), Lines{});
}

TEST(BuildingZDecoder, ReadsAHeaderAloneAsNoPolygons) {
  BuildingZ building;
  EXPECT_TRUE(Decode(Bytes(kHouse).substr(0, 4), &building));
  EXPECT_TRUE(building.polygons().empty());
}

TEST(BuildingZDecoder, AddsToWhatTheBuildingHolds) {
  BuildingZ building;
  building.AddNewPolygon();
  ASSERT_TRUE(Decode(Bytes(kHouse), &building));
  EXPECT_EQ(building.polygons().size(), 2u);
}

// The protected steps guard their arguments too.
class OpenDecoder : public BuildingZDecoder {
 public:
  using BuildingZDecoder::DecodeContourSizes;
  using BuildingZDecoder::DecodePoints;
  using BuildingZDecoder::DecodePolygonZ;
  using BuildingZDecoder::DecodeTriangleIndices;
};

TEST(BuildingZDecoder, MakesAFatalEntryForEachPlaceToDecodeIntoThatIsMissing) {
  const std::string stream = Bytes(kHouse);
  OpenDecoder decoder;
  decoder.Init(stream.data(), static_cast<int>(stream.size()));
  const LogRecorder log;
  EXPECT_FALSE(decoder.DecodeBuildingZ(nullptr));
  EXPECT_FALSE(decoder.DecodePolygonZ(nullptr));
  EXPECT_FALSE(decoder.DecodePoints(nullptr));
  EXPECT_FALSE(decoder.DecodeContourSizes(nullptr));
  EXPECT_FALSE(decoder.DecodeTriangleIndices(nullptr));
  EXPECT_EQ(log.lines(),
            (Lines{"3 Check failed: building", "3 Check failed: polygon", "3 Check failed: points",
                   "3 Check failed: contour_sizes", "3 Check failed: triangle_indices"}));
}

}  // namespace
}  // namespace vortan
