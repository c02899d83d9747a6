// SPDX-License-Identifier: Apache-2.0
#include "apps/buildings/building_maker.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace pelorin {
namespace {

using geometry3d::BuildingZ;
using geometry3d::PolygonZ;

// The house's share from west to east, as a part of it.
Footprint PartOf(const Footprint& house, double from, double to) {
  Footprint part = house;
  part.is_part = true;
  const double west = house.rings[0][0].lng_deg;
  const double width = house.rings[0][1].lng_deg - west;
  for (LatLng& place : part.rings[0]) {
    place.lng_deg = west + width * (place.lng_deg > west ? to : from);
  }
  return part;
}

// A house of about ten metres by ten with a corner at `corner`.
Footprint House(const LatLng& corner, double height) {
  const double north = 10.0 / kMetresPerDegree;
  const double east = north / std::cos(corner.lat_deg * kPi / 180.0);
  Footprint footprint;
  footprint.name = "house";
  footprint.rings = {{corner,
                      {corner.lat_deg, corner.lng_deg + east},
                      {corner.lat_deg + north, corner.lng_deg + east},
                      {corner.lat_deg + north, corner.lng_deg}}};
  footprint.height_m = height;
  return footprint;
}

class BuildingMaker : public testing::Test {
 protected:
  BuildingResult Make() { return MakeBuilding(options_, &footprints_, &building_); }
  const PolygonZ& polygon(std::size_t i) const { return *building_.polygons().at(i); }

  BuildingOptions options_;
  Footprints footprints_;
  BuildingZ building_;
};

TEST_F(BuildingMaker, PutsAHouseAroundTheOriginInMetres) {
  footprints_.footprints.push_back(House({52.0, 13.0}, 12.3));
  const BuildingResult result = Make();
  EXPECT_EQ(result.polygons, 1u);
  EXPECT_EQ(result.points, 4u);
  EXPECT_EQ(result.triangles, 2u);
  EXPECT_NEAR(result.origin.lat_deg, 52.0 + 5.0 / kMetresPerDegree, 1e-12);
  for (const auto& point : polygon(0).points()) {
    EXPECT_NEAR(std::fabs(point.x), 5.0, 0.01);
    EXPECT_NEAR(std::fabs(point.y), 5.0, 0.01);
  }
  EXPECT_EQ(polygon(0).z(), 12.30078125);
}

TEST_F(BuildingMaker, TakesTheOriginThatIsGiven) {
  footprints_.footprints.push_back(House({0.0, 0.0}, 3.0));
  options_.origin = LatLng{0.0, 0.001};
  Make();
  double west = 0.0;
  for (const auto& point : polygon(0).points()) {
    west = std::min(west, point.x);
  }
  EXPECT_NEAR(west, -0.001 * kMetresPerDegree, 0.01);
}

TEST_F(BuildingMaker, KeepsNeighboursAcrossTheMeridianOf180Together) {
  footprints_.footprints.push_back(House({0.0, 179.9999}, 3.0));
  footprints_.footprints.push_back(House({0.0, -179.9999}, 3.0));
  const BuildingResult result = Make();
  EXPECT_EQ(result.polygons, 2u);
  EXPECT_NEAR(std::fabs(result.origin.lng_deg), 180.0, 0.001);
  EXPECT_LT(std::fabs(polygon(0).points()[0].x), 40.0);
  EXPECT_LT(std::fabs(polygon(1).points()[0].x), 40.0);
}

TEST_F(BuildingMaker, LeavesOutWhatIsTooFarAway) {
  footprints_.footprints.push_back(House({0.0, 0.0}, 3.0));
  footprints_.footprints.push_back(House({20.0, 0.0}, 3.0));
  options_.origin = LatLng{0.0, 0.0};
  const BuildingResult result = Make();
  EXPECT_EQ(result.polygons, 1u);
  EXPECT_EQ(result.left_out, 1u);
  EXPECT_EQ(footprints_.warnings.at(0), "house: left out: it is more than 1000 km from the origin");
}

TEST_F(BuildingMaker, GivesALowBuildingAtLeastAStep) {
  footprints_.footprints.push_back(House({0.0, 0.0}, 0.001));
  Make();
  EXPECT_EQ(polygon(0).z(), 1.0 / 256.0);
}

TEST_F(BuildingMaker, LetsThePartsThatCoverAnOutlineStandForIt) {
  const Footprint house = House({52.0, 13.0}, 20.0);
  const Footprint neighbour = House({52.0, 13.001}, 7.0);
  footprints_.footprints = {PartOf(house, 0.0, 0.6), house, neighbour, PartOf(house, 0.62, 1.0)};
  footprints_.footprints[0].height_m = 5.0;
  footprints_.footprints[3].height_m = 9.0;
  const BuildingResult result = Make();
  EXPECT_EQ(result.replaced, 1u);
  ASSERT_EQ(result.polygons, 3u);
  EXPECT_EQ(polygon(0).z(), 5.0);
  EXPECT_EQ(polygon(1).z(), 7.0);
  EXPECT_EQ(polygon(2).z(), 9.0);
}

TEST_F(BuildingMaker, KeepsAnOutlineWhosePartsAreTooThinToBeMade) {
  const Footprint house = House({52.0, 13.0}, 20.0);
  footprints_.footprints = {house};
  for (int i = 0; i < 100; ++i) {
    footprints_.footprints.push_back(PartOf(house, i / 100.0, (i + 1) / 100.0));
  }
  options_.point_bits = -1;
  const BuildingResult result = Make();
  EXPECT_EQ(result.replaced, 0u);
  EXPECT_GT(result.left_out, 0u);
}

TEST_F(BuildingMaker, KeepsAnOutlineWithPartsInASmallShareOfIt) {
  const Footprint house = House({52.0, 13.0}, 20.0);
  // The same part thrice covers no more than once.
  footprints_.footprints = {house, PartOf(house, 0.2, 0.6), PartOf(house, 0.2, 0.6),
                            PartOf(house, 0.2, 0.6)};
  const BuildingResult result = Make();
  EXPECT_EQ(result.replaced, 0u);
  EXPECT_EQ(result.polygons, 4u);
}

TEST_F(BuildingMaker, KeepsPartsWithoutAnOutlineAndOutlinesInEachOther) {
  const Footprint house = House({52.0, 13.0}, 20.0);
  footprints_.footprints = {house, house, PartOf(House({52.0, 13.001}, 3.0), 0.0, 1.0),
                            PartOf(House({52.0, 13.001}, 9.0), 0.0, 1.0)};
  const BuildingResult result = Make();
  EXPECT_EQ(result.replaced, 0u);
  EXPECT_EQ(result.polygons, 4u);
}

TEST_F(BuildingMaker, TellsHowFarItIs) {
  footprints_.footprints.assign(3, House({0.0, 0.0}, 3.0));
  std::vector<std::uint64_t> told;
  options_.on_progress = [&told](std::uint64_t done, std::uint64_t total) {
    EXPECT_EQ(total, 3u);
    told.push_back(done);
  };
  Make();
  EXPECT_EQ(told, (std::vector<std::uint64_t>{0, 1, 2}));
}

TEST_F(BuildingMaker, MakesNothingOfNoFootprints) {
  const BuildingResult result = Make();
  EXPECT_EQ(result.polygons, 0u);
  EXPECT_TRUE(building_.polygons().empty());
}

// 209 outlines and parts of a real town quarter, none of which may be lost.
TEST_F(BuildingMaker, MakesAllHousesOfARealQuarter) {
  const std::string path =
      std::string(PELORIN_SHARED_DATA) + "/buildings/berlin-neukoelln-buildings.geojson";
  if (!std::filesystem::exists(path)) {
    GTEST_SKIP() << "the shared data is not there";
  }
  std::ifstream file(path, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  std::string error;
  ASSERT_TRUE(ReadFootprints(text, FootprintOptions(), &footprints_, &error)) << error;
  EXPECT_EQ(footprints_.footprints.size(), 209u);
  EXPECT_EQ(footprints_.from_height, 25u);
  const BuildingResult result = Make();
  EXPECT_EQ(result.left_out, 0u);
  EXPECT_EQ(result.repaired, 0u);
  EXPECT_GT(result.replaced, 0u);
  EXPECT_EQ(result.polygons + result.replaced, 209u);
  for (const PolygonZ* const made : building_.polygons()) {
    int sum = 0;
    for (const int size : made->contour_sizes()) {
      sum += size;
    }
    EXPECT_EQ(static_cast<std::size_t>(sum), made->points().size());
  }
}

}  // namespace
}  // namespace pelorin
