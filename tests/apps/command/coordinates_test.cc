// SPDX-License-Identifier: Apache-2.0
#include "apps/command/coordinates.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <limits>

namespace pelorin {
namespace command {
namespace {

TEST(Coordinates, ReadLatitudeFirst) {
  LatLng place;
  ASSERT_TRUE(ParseLatLng("43.7339,7.4219", "--from", &place).ok());
  EXPECT_EQ(place.lat_deg, 43.7339);
  EXPECT_EQ(place.lng_deg, 7.4219);
}

TEST(Coordinates, TakeSignsBlanksAndExponents) {
  LatLng place;
  ASSERT_TRUE(ParseLatLng(" -33.5 , +1.5e2 ", "--from", &place).ok());
  EXPECT_EQ(place.lat_deg, -33.5);
  EXPECT_EQ(place.lng_deg, 150.0);
}

TEST(Coordinates, TakeTheEndsOfTheirRanges) {
  LatLng place;
  EXPECT_TRUE(ParseLatLng("90,180", "--from", &place).ok());
  EXPECT_TRUE(ParseLatLng("-90,-180", "--from", &place).ok());
}

TEST(Coordinates, RefuseWhatIsNoPlaceAndLeaveTheOutputAlone) {
  for (const char* text :
       {"",      ",",     "1",         "1,",         ",1",      "1,2,3",  "a,b",
        "1;2",   "1 2",   "nan,1",     "1,inf",      "1e999,0", "0x10,1", "1.5x,2",
        "+-1,2", "--1,2", "90.0001,0", "0,180.0001", "-91,0",   "0,-181"}) {
    LatLng place{12.0, 34.0};
    const Outcome outcome = ParseLatLng(text, "--from", &place);
    EXPECT_EQ(outcome.code(), ExitCode::kWrongUsage) << text;
    EXPECT_EQ(outcome.Line().rfind("--from: ", 0), 0u) << outcome.Line();
    EXPECT_EQ(place.lat_deg, 12.0) << text;
    EXPECT_EQ(place.lng_deg, 34.0) << text;
  }
}

TEST(Coordinates, ExplainADecimalComma) {
  LatLng place;
  EXPECT_NE(ParseLatLng("43,7,7,4", "--to", &place).Line().find("with a dot"), std::string::npos);
}

TEST(Coordinates, SayWhichAngleIsOutOfRange) {
  LatLng place;
  EXPECT_NE(ParseLatLng("95,7", "--to", &place).Line().find("latitude 95"), std::string::npos);
  EXPECT_NE(ParseLatLng("5,187", "--to", &place).Line().find("longitude 187"), std::string::npos);
}

TEST(Coordinates, UseADotInEveryLocale) {
  const std::string before = std::setlocale(LC_ALL, nullptr);
  // Machines without this locale run the test in the present one, where it must hold as well.
  std::setlocale(LC_ALL, "de_DE.UTF-8");
  LatLng place;
  EXPECT_TRUE(ParseLatLng("1.5,2.5", "--from", &place).ok());
  EXPECT_EQ(LatLngText(place), "1.5000000,2.5000000");
  std::setlocale(LC_ALL, before.c_str());
}

TEST(Coordinates, AreWrittenAsTheyAreRead) {
  LatLng place;
  ASSERT_TRUE(ParseLatLng(LatLngText({-12.3456789, 179.9999999}), "", &place).ok());
  EXPECT_NEAR(place.lat_deg, -12.3456789, 1e-7);
  EXPECT_NEAR(place.lng_deg, 179.9999999, 1e-7);
}

TEST(Coordinates, WriteNoNumberThatIsNone) {
  EXPECT_EQ(DegreesText(std::nan("")), "?");
  EXPECT_EQ(DegreesText(-std::numeric_limits<double>::infinity()), "?");
  EXPECT_EQ(DegreesText(std::numeric_limits<double>::max()).size(), 309u + 8u);
}

TEST(TileAddress, ReadsColumnRowZoom) {
  TileAddress tile;
  ASSERT_TRUE(ParseTile("34123, 23900,16", "--tile", &tile).ok());
  EXPECT_EQ(tile.x, 34123);
  EXPECT_EQ(tile.y, 23900);
  EXPECT_EQ(tile.zoom, 16);
}

TEST(TileAddress, TakesTheLastTileOfTheDeepestLevel) {
  TileAddress tile;
  EXPECT_TRUE(ParseTile("1073741823,1073741823,30", "--tile", &tile).ok());
}

TEST(TileAddress, RefusesTilesThatDoNotExist) {
  for (const char* text : {"", "1,2", "1,2,3,4", "4,0,2", "0,4,2", "-1,0,2", "0,-1,2", "0,0,-1",
                           "0,0,31", "1.5,0,2", "99999999999,0,2", "x,y,z"}) {
    TileAddress tile{7, 8, 9};
    EXPECT_EQ(ParseTile(text, "--tile", &tile).code(), ExitCode::kWrongUsage) << text;
    EXPECT_EQ(tile.x, 7) << text;
    EXPECT_EQ(tile.zoom, 9) << text;
  }
}

}  // namespace
}  // namespace command
}  // namespace pelorin
