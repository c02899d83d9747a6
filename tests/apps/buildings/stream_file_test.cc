// SPDX-License-Identifier: Apache-2.0
#include "apps/buildings/stream_file.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/util/geometry3d/mesh/building_samples.h"
#include "vortan/diorama/building_z_coder.h"

namespace pelorin {
namespace {

using geometry3d::BuildingZ;
using geometry3d::PolygonZ;

class BuildingStreamFile : public testing::Test {
 protected:
  BuildingStreamFile() {
    test_support::FillTower(12, building_.AddNewPolygon());
    test_support::FillHouse(building_.AddNewPolygon());
  }
  PolygonZ& polygon(std::size_t i) { return *building_.polygons()[i]; }
  std::string Stream() const {
    vortan::BuildingZEncoder encoder;
    EXPECT_TRUE(encoder.EncodeBuildingZ(building_));
    return std::string(encoder.buffer(), static_cast<std::size_t>(encoder.buffer_size()));
  }
  // What is said about a stream; "" where it is taken.
  std::string ErrorOf(const std::string& bytes) {
    BuildingZ read;
    std::string error;
    return ReadBuildingStream(bytes, &read, &facts_, &error) ? "" : error;
  }

  BuildingZ building_;
  StreamFacts facts_;
};

TEST_F(BuildingStreamFile, IsKnownByItsFirstBytes) {
  EXPECT_TRUE(IsBuildingStream(Stream()));
  EXPECT_TRUE(IsBuildingStream("ZB"));
  EXPECT_FALSE(IsBuildingStream("Z"));
  EXPECT_FALSE(IsBuildingStream("{}"));
}

TEST_F(BuildingStreamFile, IsRead) {
  BuildingZ read;
  std::string error;
  ASSERT_TRUE(ReadBuildingStream(Stream(), &read, &facts_, &error)) << error;
  EXPECT_EQ(read.polygons().size(), 2u);
  EXPECT_EQ(facts_.point_bits, 8);
  EXPECT_EQ(facts_.bytes_behind_end, 0u);
}

TEST_F(BuildingStreamFile, IsRefusedWhereverItIsCut) {
  const std::string stream = Stream();
  for (std::size_t size = 0; size < stream.size(); ++size) {
    EXPECT_NE(ErrorOf(stream.substr(0, size)), "") << size;
  }
  EXPECT_EQ(ErrorOf(stream.substr(0, stream.size() - 1)),
            "cut: it goes on behind its " + std::to_string(stream.size() - 1) + " bytes");
}

TEST_F(BuildingStreamFile, CountsWhatLiesBehindItsEnd) {
  EXPECT_EQ(ErrorOf(Stream() + "more"), "");
  EXPECT_EQ(facts_.bytes_behind_end, 4u);
}

TEST_F(BuildingStreamFile, IsRefusedForAnotherVersion) {
  std::string stream = Stream();
  stream[2] = 9;
  EXPECT_EQ(ErrorOf(stream), "no building stream of version 1");
}

TEST_F(BuildingStreamFile, IsRefusedWhereCountsWantMoreThanAGigabyte) {
  vortan::BinaryEncoder out;
  out.WriteBits(16986, 16);
  out.WriteBits(1, 16);
  out.WriteInt(8, 6);
  out.WriteVarUInt(1, 4);
  out.WriteVarUInt(0x7FFFFFFF, 4);
  out.Flush();
  EXPECT_EQ(ErrorOf(std::string(out.buffer(), static_cast<std::size_t>(out.buffer_size()))),
            "damaged: its counts want more than a gigabyte");
}

TEST_F(BuildingStreamFile, IsRefusedForPolygonsThatCannotBeExtruded) {
  const std::vector<int> whole = polygon(1).triangle_indices();
  *polygon(1).mutable_contour_sizes() = {3};
  EXPECT_EQ(ErrorOf(Stream()), "damaged: polygon 1 has contours that do not cover its points");
  *polygon(1).mutable_contour_sizes() = {4, 0};
  EXPECT_EQ(ErrorOf(Stream()), "damaged: polygon 1 has a contour without points");
  *polygon(1).mutable_contour_sizes() = {4};
  *polygon(1).mutable_triangle_indices() = {0, 1};
  EXPECT_EQ(ErrorOf(Stream()), "damaged: polygon 1 has no whole triangles");
  *polygon(1).mutable_triangle_indices() = {0, 1, 4};
  EXPECT_EQ(ErrorOf(Stream()), "damaged: polygon 1 has a triangle without its points");
  *polygon(1).mutable_triangle_indices() = whole;
  EXPECT_EQ(ErrorOf(Stream()), "");
  polygon(0).mutable_points()->resize(2);
  EXPECT_EQ(ErrorOf(Stream()), "damaged: polygon 0 has fewer than 3 points");
}

}  // namespace
}  // namespace pelorin
