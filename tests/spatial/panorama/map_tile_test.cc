// SPDX-License-Identifier: Apache-2.0
#include "spatial/panorama/map_tile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <ostream>
#include <random>
#include <vector>

#include "host/units.h"

namespace nimbara {
namespace spatial {

void PrintTo(const MapTile& tile, std::ostream* out) {
  *out << tile.x << "/" << tile.y << "/" << tile.zoom;
}

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();

std::vector<MapTile> Surrounding(double lat, double lng, int zoom, double radius) {
  mmvector<MapTile> tiles;
  MapTile::CollectSurroundingTiles(lat, lng, zoom, radius, &tiles);
  return {tiles.begin(), tiles.end()};
}

// The radius in metres whose ring lies `degrees` away.
double RadiusOf(double degrees) {
  return degrees / 180.0 / Units::s_inv_planet_radius;
}

double FractionalX(double lat, double lng, int zoom) {
  double x = 0.0;
  double y = 0.0;
  MapTile::DeriveTileParams(lat, lng, zoom, &x, &y);
  return x;
}

double FractionalY(double lat, double lng, int zoom) {
  double x = 0.0;
  double y = 0.0;
  MapTile::DeriveTileParams(lat, lng, zoom, &x, &y);
  return y;
}

TEST(MapTile, TheOriginIsTheMiddleOfThePyramid) {
  EXPECT_EQ(MapTile(0.0, 0.0, 16), MapTile::At(32768, 32768, 16));
}

TEST(MapTile, TakesWholeDegreesForDegrees) {
  EXPECT_EQ(MapTile(0, 0, 16), MapTile::At(32768, 32768, 16));
  EXPECT_EQ(MapTile(0, 0, 0), MapTile::At(0, 0, 0));
  EXPECT_EQ(MapTile(85.5, -180, 16), MapTile(85, -180, 16));
  EXPECT_EQ(MapTile(0, 180, 16).x, 65536);
  EXPECT_FALSE(MapTile(0, 180, 16).IsValid());
}

TEST(MapTile, LatitudesBeyondTheEdgeCountAsTheEdge) {
  EXPECT_EQ(MapTile(85.5, -180.0, 16), MapTile(85.0, -180.0, 16));
  EXPECT_EQ(MapTile(-85.5, -180.0, 16), MapTile(-85.0, -180.0, 16));
  EXPECT_EQ(FractionalY(90.0, 0.0, 16), FractionalY(85.0, 0.0, 16));
  EXPECT_EQ(FractionalY(-90.0, 0.0, 16), FractionalY(-85.0, 0.0, 16));
  EXPECT_EQ(FractionalY(kInfinity, 0.0, 16), FractionalY(85.0, 0.0, 16));
}

TEST(MapTile, RowsGrowSouthwardsAndColumnsEastwards) {
  EXPECT_LT(MapTile(10.0, 0.0, 16).y, MapTile(-10.0, 0.0, 16).y);
  EXPECT_LT(MapTile(0.0, -10.0, 16).x, MapTile(0.0, 10.0, 16).x);
}

TEST(MapTile, LevelZeroHasNoHalfToAdd) {
  EXPECT_EQ(MapTile(0.0, 0.0, 0), MapTile::At(0, 0, 0));
  EXPECT_EQ(FractionalX(0.0, 0.0, 0), 0.0);
  EXPECT_EQ(FractionalX(0.0, 180.0, 0), 0.5);
  EXPECT_EQ(FractionalX(0.0, 180.0, 1), 2.0);
}

TEST(MapTile, LongitudesDoNotWrapAtTheEasternEdge) {
  const MapTile tile(0.0, 180.0, 16);
  EXPECT_EQ(tile.x, 65536);
  EXPECT_FALSE(tile.IsValid());
}

TEST(MapTile, TruncatesTowardsZeroSoThatAPointJustOutsideFallsInside) {
  EXPECT_LT(FractionalX(0.0, -180.001, 16), 0.0);
  EXPECT_EQ(MapTile(0.0, -180.001, 16).x, 0);
  EXPECT_TRUE(MapTile(0.0, -180.001, 16).IsValid());
  EXPECT_EQ(MapTile(0.0, -180.0 - 1.5 * 360.0 / 65536.0, 16).x, -1);
}

TEST(MapTile, FollowsTheMercatorFormula) {
  // A quarter of the pyramid lies north of latitude 66.51, where ln(r) is half of 2 pi.
  const double quarter_lat = 180.0 / M_PI * std::asin(std::tanh(M_PI / 2.0));
  EXPECT_NEAR(FractionalY(quarter_lat, 0.0, 16), 16384.0, 1e-6);
  EXPECT_NEAR(FractionalY(-quarter_lat, 0.0, 16), 49152.0, 1e-6);
  EXPECT_EQ(FractionalX(0.0, 90.0, 16), 49152.0);
}

TEST(MapTile, ContainsThePointItWasBuiltFrom) {
  const unsigned seed = 20240117;
  RecordProperty("seed", static_cast<int>(seed));
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> lat(-89.0, 89.0);
  std::uniform_real_distribution<double> lng(-179.0, 179.0);
  for (int i = 0; i < 1000; ++i) {
    const double point_lat = lat(random);
    const double point_lng = lng(random);
    const int zoom = i % 31;
    EXPECT_TRUE(MapTile(point_lat, point_lng, zoom).Contains(point_lat, point_lng))
        << point_lat << "," << point_lng << " zoom " << zoom << " seed " << seed;
  }
  EXPECT_FALSE(MapTile(48.0, 2.0, 16).Contains(48.0, 2.1));
}

TEST(MapTile, IsEqualOnlyInAllThreeFields) {
  EXPECT_EQ(MapTile::At(1, 2, 3), MapTile::At(1, 2, 3));
  EXPECT_NE(MapTile::At(1, 2, 3), MapTile::At(0, 2, 3));
  EXPECT_NE(MapTile::At(1, 2, 3), MapTile::At(1, 0, 3));
  EXPECT_NE(MapTile::At(1, 2, 3), MapTile::At(1, 2, 4));
}

TEST(MapTile, IsValidInsideItsLevelAlone) {
  EXPECT_TRUE(MapTile::At(3, 3, 2).IsValid());
  EXPECT_FALSE(MapTile::At(4, 3, 2).IsValid());
  EXPECT_FALSE(MapTile::At(3, 4, 2).IsValid());
  EXPECT_FALSE(MapTile::At(-1, 0, 2).IsValid());
  EXPECT_FALSE(MapTile::At(0, -1, 2).IsValid());
  EXPECT_FALSE(MapTile::At(0, 0, -1).IsValid());
  EXPECT_TRUE(MapTile::At((1 << 30) - 1, 0, 30).IsValid());
  EXPECT_FALSE(MapTile::At(0, 0, 31).IsValid());
  EXPECT_FALSE(MapTile::At(0, 0, 32).IsValid());
  EXPECT_FALSE(MapTile::At(0, 0, std::numeric_limits<int>::max()).IsValid());
  EXPECT_FALSE(MapTile::At(0, 0, std::numeric_limits<int>::min()).IsValid());
}

TEST(MapTile, NumbersThatNoTileCanHoldGiveNoValidTile) {
  for (const double bad : {kNotANumber, kInfinity, -kInfinity, 1e300, -1e300}) {
    EXPECT_FALSE(MapTile(0.0, bad, 16).IsValid()) << bad;
  }
  EXPECT_FALSE(MapTile(kNotANumber, 0.0, 16).IsValid());
  for (const int zoom : {-1, 31, 32, 64, -2147483647}) {
    EXPECT_FALSE(MapTile(0.0, 0.0, zoom).IsValid()) << zoom;
    EXPECT_TRUE(std::isnan(FractionalX(0.0, 0.0, zoom))) << zoom;
    EXPECT_TRUE(std::isnan(FractionalY(0.0, 0.0, zoom))) << zoom;
  }
}

TEST(MapTile, SurroundingsWithoutARadiusAreTheCentreAlone) {
  const std::vector<MapTile> centre{MapTile(48.0, 2.0, 16)};
  EXPECT_EQ(Surrounding(48.0, 2.0, 16, 0.0), centre);
  EXPECT_EQ(Surrounding(48.0, 2.0, 16, -5.0), centre);
  EXPECT_EQ(Surrounding(48.0, 2.0, 16, kNotANumber), centre);
}

TEST(MapTile, SurroundingsThatStayInTheCentreAddNothing) {
  EXPECT_EQ(Surrounding(0.001, 0.001, 16, 1.0), (std::vector<MapTile>{MapTile(0.001, 0.001, 16)}));
}

TEST(MapTile, SurroundingsOfAnInvalidCentreAreNone) {
  EXPECT_TRUE(Surrounding(0.0, 180.0, 16, 50.0).empty());
  EXPECT_TRUE(Surrounding(0.0, 0.0, 31, 50.0).empty());
  EXPECT_TRUE(Surrounding(kNotANumber, 0.0, 16, 50.0).empty());
}

TEST(MapTile, SurroundingsWithoutAPlaceForThemAreNotCollected) {
  MapTile::CollectSurroundingTiles(0.0, 0.0, 16, 50.0, nullptr);
  EXPECT_EQ(Surrounding(0.0, 0.0, 16, 50.0).size(), 6u);
}

TEST(MapTile, SurroundingsAreAppendedToWhatIsThere) {
  mmvector<MapTile> tiles;
  tiles.push_back(MapTile::At(7, 7, 7));
  MapTile::CollectSurroundingTiles(0.0, 0.0, 16, 0.0, &tiles);
  ASSERT_EQ(tiles.size(), 2u);
  EXPECT_EQ(tiles[0], MapTile::At(7, 7, 7));
}

// Zoom 16 tiles are 0.0055 degrees wide at the equator; a ring of 0.008 degrees reaches at least
// one tile out in every direction, the diagonals 0.0057 degrees along each axis.
TEST(MapTile, SurroundingsRunFromSouthWestToNorthEastRowByRow) {
  const double middle = 180.0 / 65536.0;  // Half a tile: the middle of tile (32768, 32767).
  const std::vector<MapTile> tiles = Surrounding(middle, middle, 16, RadiusOf(0.008));
  ASSERT_EQ(tiles.size(), 9u);
  const MapTile c = tiles[0];
  EXPECT_EQ(c, MapTile::At(32768, 32767, 16));
  EXPECT_EQ(tiles[1], MapTile::At(c.x - 1, c.y + 1, 16));
  EXPECT_EQ(tiles[2], MapTile::At(c.x, c.y + 1, 16));
  EXPECT_EQ(tiles[3], MapTile::At(c.x + 1, c.y + 1, 16));
  EXPECT_EQ(tiles[4], MapTile::At(c.x - 1, c.y, 16));
  EXPECT_EQ(tiles[5], MapTile::At(c.x + 1, c.y, 16));
  EXPECT_EQ(tiles[6], MapTile::At(c.x - 1, c.y - 1, 16));
  EXPECT_EQ(tiles[7], MapTile::At(c.x, c.y - 1, 16));
  EXPECT_EQ(tiles[8], MapTile::At(c.x + 1, c.y - 1, 16));
}

TEST(MapTile, TheRingLiesPiTimesFartherOutThanTheRadiusSays) {
  // 300 m are 0.0027 degrees, which stays in a tile from its middle; the ring is at 0.0085.
  const double middle = 180.0 / 65536.0;
  EXPECT_EQ(Surrounding(middle, middle, 16, 300.0).size(), 9u);
  EXPECT_EQ(Surrounding(middle, middle, 16, 300.0 / M_PI).size(), 1u);
}

TEST(MapTile, SurroundingsKeepDuplicatesAndLeaveOutOnlyTheCentre) {
  // Near the eastern edge of a tile, half a tile up: the three eastern points share the neighbour.
  const double tile_deg = 360.0 / 65536.0;
  const std::vector<MapTile> tiles =
      Surrounding(0.5 * tile_deg, 0.9 * tile_deg, 16, RadiusOf(0.2 * tile_deg));
  const MapTile east = MapTile::At(32769, 32767, 16);
  EXPECT_EQ(tiles, (std::vector<MapTile>{MapTile::At(32768, 32767, 16), east, east, east}));
}

TEST(MapTile, LongitudesOfTheRingWrapAtTheDateLine) {
  const std::vector<MapTile> tiles = Surrounding(0.1, 179.999, 16, RadiusOf(0.01));
  const auto wrapped = [](const MapTile& tile) { return tile.x <= 1; };
  EXPECT_EQ(std::count_if(tiles.begin(), tiles.end(), wrapped), 3);
}

TEST(MapTile, LatitudesOfTheRingWrapOverThePole) {
  // North of latitude 89 by 2 degrees lies, for this ring, latitude -89.
  const std::vector<MapTile> tiles = Surrounding(89.0, 0.0, 4, RadiusOf(2.0));
  EXPECT_NE(std::find(tiles.begin(), tiles.end(), MapTile(-89.0, 0.0, 4)), tiles.end());
}

TEST(MapTile, AtThePoleItselfTheWestAndEastPointsWrapToo) {
  const std::vector<MapTile> tiles = Surrounding(90.0, 0.0, 16, RadiusOf(0.02));
  const MapTile west(-90.0, -0.02, 16);
  EXPECT_NE(std::find(tiles.begin(), tiles.end(), west), tiles.end());
}

TEST(MapTile, RadiiBeyondTheGlobeGiveNeighboursThatAreNotTestedForValidity) {
  const std::vector<MapTile> tiles = Surrounding(0.0, 0.0, 16, 40e6);
  ASSERT_FALSE(tiles.empty());
  EXPECT_TRUE(tiles[0].IsValid());
  const auto invalid = [](const MapTile& tile) { return !tile.IsValid(); };
  EXPECT_TRUE(std::any_of(tiles.begin(), tiles.end(), invalid));
  EXPECT_LE(Surrounding(0.0, 0.0, 16, kInfinity).size(), 9u);
  EXPECT_LE(Surrounding(0.0, 0.0, 16, 1e300).size(), 9u);
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
