// SPDX-License-Identifier: Apache-2.0
// Building streams beyond the plain case: at random, cut, damaged, and lawful ones that the encoder
// would write otherwise.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/util/geometry3d/mesh/building_samples.h"
#include "vortan/diorama/building_z_coder.h"

namespace vortan {
namespace {

using geometry3d::BuildingZ;
using geometry3d::PolygonZ;
using test_support::FillHouse;
using test_support::FillRandomBuilding;

constexpr unsigned kStartingNumber = 20261121;
constexpr std::size_t kBudget = std::size_t{1} << 16;

std::string Encode(const BuildingZ& building, int point_bits) {
  BuildingZEncoder encoder;
  encoder.set_point_bits(point_bits);
  EXPECT_TRUE(encoder.EncodeBuildingZ(building));
  return std::string(encoder.buffer(), static_cast<std::size_t>(encoder.buffer_size()));
}

// From a block of exactly the stream's size, so that a sanitizer sees the first byte behind it.
bool DecodeExactly(const std::string& stream, BuildingZ* building) {
  const std::unique_ptr<char[]> block(new char[stream.size()]);
  std::copy(stream.begin(), stream.end(), block.get());
  BuildingZDecoder decoder;
  decoder.mutable_budget()->set_bytes(kBudget);
  decoder.Init(block.get(), static_cast<int>(stream.size()));
  return decoder.DecodeBuildingZ(building);
}

// The same, where the stream may ask for more than the budget.
bool DecodeDamaged(const std::string& stream, BuildingZ* building) {
  try {
    return DecodeExactly(stream, building);
  } catch (const std::bad_alloc&) {
    return false;
  }
}

TEST(BuildingZStream, BringsRandomBuildingsBackExactly) {
  std::mt19937 random(kStartingNumber);
  RecordProperty("starting_number", static_cast<int>(kStartingNumber));
  for (int round = 0; round < 500; ++round) {
    const int point_bits = static_cast<int>(random() % 64) - 32;
    BuildingZ building;
    FillRandomBuilding(&random, 5, point_bits, &building);
    BuildingZ decoded;
    ASSERT_TRUE(DecodeExactly(Encode(building, point_bits), &decoded)) << round;
    ASSERT_TRUE(decoded.IsEqual(building)) << round;
  }
}

TEST(BuildingZStream, KeepsCoordinatesWithinHalfAStep) {
  std::mt19937 random(kStartingNumber);
  std::uniform_real_distribution<double> place(-1000.0, 1000.0);
  BuildingZ building;
  PolygonZ* const polygon = building.AddNewPolygon();
  for (int i = 0; i < 1000; ++i) {
    const double x = place(random);
    polygon->mutable_points()->push_back(geometry3d::Vector2<double>(x, place(random)));
  }
  polygon->set_z(place(random));
  BuildingZ decoded;
  ASSERT_TRUE(DecodeExactly(Encode(building, 7), &decoded));
  const PolygonZ& got = *decoded.polygons()[0];
  for (std::size_t i = 0; i < 1000; ++i) {
    EXPECT_NEAR(got.points()[i].x, polygon->points()[i].x, 1.0 / 256.0);
    EXPECT_NEAR(got.points()[i].y, polygon->points()[i].y, 1.0 / 256.0);
  }
  EXPECT_NEAR(got.z(), polygon->z(), 1.0 / 256.0);
}

// What is missing reads as zeros, so a piece of a stream is no failure once its header is there.
TEST(BuildingZStream, DecodesFromEveryPrefixThatHasAHeader) {
  std::mt19937 random(kStartingNumber);
  for (int round = 0; round < 20; ++round) {
    BuildingZ building;
    FillHouse(building.AddNewPolygon());
    FillRandomBuilding(&random, 3, 8, &building);
    const std::string stream = Encode(building, 8);
    for (std::size_t size = 0; size <= stream.size(); ++size) {
      BuildingZ decoded;
      EXPECT_EQ(DecodeExactly(stream.substr(0, size), &decoded), size >= 4) << size;
      EXPECT_LE(decoded.polygons().size(), building.polygons().size()) << size;
    }
  }
}

TEST(BuildingZStream, FillsACutPointListWithItsMinimum) {
  BuildingZ building;
  FillHouse(building.AddNewPolygon());
  building.polygons()[0]->mutable_points()->resize(2);
  (*building.polygons()[0]->mutable_points())[0] = geometry3d::Vector2<double>(5.0, 7.0);
  // Cut behind the minima and widths.
  const std::string stream = Encode(building, 8).substr(0, 11);
  BuildingZ decoded;
  ASSERT_TRUE(DecodeExactly(stream, &decoded));
  ASSERT_EQ(decoded.polygons()[0]->points().size(), 2u);
  EXPECT_EQ(decoded.polygons()[0]->points()[1].x, 1.0);
  EXPECT_EQ(decoded.polygons()[0]->points()[1].y, 0.0);
  EXPECT_EQ(decoded.polygons()[0]->z(), 0.0);
  EXPECT_TRUE(decoded.polygons()[0]->triangle_indices().empty());
}

TEST(BuildingZStream, IsReadSafelyWithAnyBitsFlipped) {
  std::mt19937 random(kStartingNumber);
  int failures = 0;
  for (int round = 0; round < 5000; ++round) {
    BuildingZ building;
    FillRandomBuilding(&random, 4, 8, &building);
    std::string stream = Encode(building, 8);
    for (int flips = 1 + static_cast<int>(random() % 8); flips > 0; --flips) {
      char& byte = stream[random() % stream.size()];
      byte = static_cast<char>(byte ^ (1 << (random() % 8)));
    }
    BuildingZ decoded;
    failures += DecodeDamaged(stream, &decoded) ? 0 : 1;
  }
  // Both ends of the road were reached.
  EXPECT_GT(failures, 0);
  EXPECT_LT(failures, 5000);
}

TEST(BuildingZStream, IsReadSafelyFromBytesThatAreNone) {
  std::mt19937 random(kStartingNumber);
  int polygons = 0;
  for (int round = 0; round < 5000; ++round) {
    std::string stream("\x5A\x42\x01\x00", 4);
    for (std::size_t size = random() % 100; size > 0; --size) {
      stream.push_back(static_cast<char>(random()));
    }
    BuildingZ decoded;
    DecodeDamaged(stream, &decoded);
    polygons += static_cast<int>(decoded.polygons().size());
  }
  EXPECT_GT(polygons, 0);
}

// Streams that are put together field by field.
class HandMadeStream : public testing::Test {
 protected:
  HandMadeStream() {
    out_.WriteBits(16986, 16);
    out_.WriteBits(1, 16);
    out_.WriteInt(0, 6);
  }
  bool Decode(std::size_t budget = AllocationBudget::kUnlimited) {
    out_.Flush();
    decoder_.mutable_budget()->set_bytes(budget);
    decoder_.Init(out_.buffer(), out_.buffer_size());
    return decoder_.DecodeBuildingZ(&building_);
  }
  const PolygonZ& polygon(std::size_t i) const { return *building_.polygons()[i]; }

  BinaryEncoder out_;
  BuildingZDecoder decoder_;
  BuildingZ building_;
};

TEST_F(HandMadeStream, MayHaveWiderFieldsThanItsNumbersNeed) {
  out_.WriteVarUInt(1, 4);
  out_.WriteVarUInt(1, 4);
  out_.WriteVarInt(-5, 4);
  out_.WriteVarInt(7, 4);
  out_.WriteBits(31, 5);
  out_.WriteBits(30, 5);
  out_.WriteBits(2, 31);
  out_.WriteBits(1, 30);
  out_.WriteVarInt(-9, 4);
  out_.WriteVarUInt(0, 4);
  out_.WriteVarUInt(2, 4);
  out_.WriteBits(31, 5);
  out_.WriteBits(3, 31);
  out_.WriteBits(4, 31);
  ASSERT_TRUE(Decode());
  EXPECT_EQ(polygon(0).points()[0].x, -3.0);
  EXPECT_EQ(polygon(0).points()[0].y, 8.0);
  EXPECT_EQ(polygon(0).z(), -9.0);
  EXPECT_EQ(polygon(0).triangle_indices(), (std::vector<int>{3, 4}));
}

TEST_F(HandMadeStream, MayHaveFieldsOfNoBits) {
  out_.WriteVarUInt(1, 4);
  out_.WriteVarUInt(3, 4);
  out_.WriteVarInt(-5, 4);
  out_.WriteVarInt(7, 4);
  out_.WriteBits(0, 5);
  out_.WriteBits(0, 5);
  out_.WriteVarInt(1, 4);
  out_.WriteVarUInt(1, 4);
  out_.WriteVarUInt(0, 4);
  out_.WriteVarUInt(3, 4);
  out_.WriteBits(0, 5);
  ASSERT_TRUE(Decode());
  EXPECT_EQ(polygon(0).points()[2].x, -5.0);
  EXPECT_EQ(polygon(0).points()[2].y, 7.0);
  EXPECT_EQ(polygon(0).contour_sizes(), (std::vector<int>{0}));
  EXPECT_EQ(polygon(0).triangle_indices(), (std::vector<int>{0, 0, 0}));
}

TEST_F(HandMadeStream, WrapsASumThatAnIntCannotHold) {
  out_.WriteVarUInt(1, 4);
  out_.WriteVarUInt(1, 4);
  out_.WriteVarInt((1 << 30) - 1, 4);
  out_.WriteVarInt(-(1 << 30), 4);
  out_.WriteBits(31, 5);
  out_.WriteBits(31, 5);
  out_.WriteBits(0x7FFFFFFF, 31);
  out_.WriteBits(0x7FFFFFFF, 31);
  ASSERT_TRUE(Decode());
  EXPECT_EQ(polygon(0).points()[0].x, -1073741826.0);
  EXPECT_EQ(polygon(0).points()[0].y, 1073741823.0);
}

TEST_F(HandMadeStream, MayBeFollowedByAnything) {
  out_.WriteVarUInt(1, 4);
  out_.WriteVarUInt(0, 4);
  out_.WriteVarInt(3, 4);
  out_.WriteVarUInt(0, 4);
  out_.WriteVarUInt(0, 4);
  for (int i = 0; i < 100; ++i) {
    out_.WriteBits(-1, 32);
  }
  ASSERT_TRUE(Decode());
  EXPECT_EQ(building_.polygons().size(), 1u);
  EXPECT_EQ(polygon(0).z(), 3.0);
}

TEST_F(HandMadeStream, OfTwoToTheThirtyOnePolygonsHasNone) {
  out_.WriteVarUInt(static_cast<int>(0x80000000u), 4);
  EXPECT_TRUE(Decode());
  EXPECT_TRUE(building_.polygons().empty());
}

TEST_F(HandMadeStream, ThrowsALengthErrorForTwoToTheThirtyOnePoints) {
  out_.WriteVarUInt(1, 4);
  out_.WriteVarUInt(static_cast<int>(0x80000000u), 4);
  EXPECT_THROW(Decode(), std::length_error);
}

TEST_F(HandMadeStream, ThrowsForAPointCountBeyondTheBudget) {
  out_.WriteVarUInt(1, 4);
  out_.WriteVarUInt(1 << 20, 4);
  EXPECT_THROW(Decode(std::size_t{1} << 20), std::bad_alloc);
  // What was read before stays.
  EXPECT_EQ(building_.polygons().size(), 1u);
}

TEST_F(HandMadeStream, ThrowsForAContourCountBeyondTheBudget) {
  out_.WriteVarUInt(1, 4);
  out_.WriteVarUInt(0, 4);
  out_.WriteVarInt(0, 4);
  out_.WriteVarUInt(1 << 20, 4);
  EXPECT_THROW(Decode(std::size_t{1} << 20), std::bad_alloc);
}

TEST_F(HandMadeStream, ThrowsForATriangleIndexCountBeyondTheBudget) {
  out_.WriteVarUInt(1, 4);
  out_.WriteVarUInt(0, 4);
  out_.WriteVarInt(0, 4);
  out_.WriteVarUInt(0, 4);
  out_.WriteVarUInt(1 << 20, 4);
  EXPECT_THROW(Decode(std::size_t{1} << 20), std::bad_alloc);
}

TEST_F(HandMadeStream, ThrowsForAPolygonCountBeyondTheBudget) {
  out_.WriteVarUInt(1 << 20, 4);
  EXPECT_THROW(Decode(std::size_t{1} << 20), std::bad_alloc);
}

TEST_F(HandMadeStream, MayUseItsBudgetToTheLastByte) {
  out_.WriteVarUInt(1, 4);
  out_.WriteVarUInt(0, 4);
  out_.WriteVarInt(0, 4);
  out_.WriteVarUInt(2, 4);
  out_.WriteVarUInt(5, 4);
  out_.WriteVarUInt(6, 4);
  out_.WriteVarUInt(0, 4);
  EXPECT_TRUE(Decode(sizeof(PolygonZ) + sizeof(PolygonZ*) + 2 * sizeof(int)));
  EXPECT_EQ(decoder_.budget().bytes(), 0u);
}

}  // namespace
}  // namespace vortan
