// SPDX-License-Identifier: Apache-2.0
#include "apps/dataset/pano_record.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <set>
#include <string>

namespace pelorin {
namespace {

TEST(PanoRecord, AnIdHasTwentyTwoCharactersOfTheUrlAlphabet) {
  EXPECT_TRUE(IsPanoId("abcdefghijklmnopqrst-_"));
  EXPECT_FALSE(IsPanoId("abcdefghijklmnopqrst-"));
  EXPECT_FALSE(IsPanoId("abcdefghijklmnopqrst-_x"));
  EXPECT_FALSE(IsPanoId("abcdefghijklmnopqrst+_"));
  EXPECT_FALSE(IsPanoId(""));
}

TEST(PanoRecord, AnIdFromASeedIsTheSameEverywhere) {
  // The first 16 bytes of the seed's SHA-256, known from elsewhere: ba7816bf 8f01cfea 414140de
  // 5dae2223.
  EXPECT_EQ(PanoIdFromSeed("abc"), "ungWv48Bz-pBQUDeXa4iIw");
}

TEST(PanoRecord, DifferentSeedsGiveDifferentIds) {
  std::set<std::string> ids;
  for (int i = 0; i < 10000; ++i) {
    ids.insert(PanoIdFromSeed(std::to_string(i)));
  }
  EXPECT_EQ(ids.size(), 10000u);
}

TEST(PanoRecord, ADegreeOfLatitudeMeasures111195Metres) {
  EXPECT_NEAR(DistanceMetres({10.0, 20.0}, {11.0, 20.0}), 111195.1, 0.1);
  EXPECT_NEAR(DistanceMetres({60.0, 20.0}, {60.0, 20.001}), 55.5975, 0.001);
  EXPECT_EQ(DistanceMetres({10.0, 20.0}, {10.0, 20.0}), 0.0);
}

TEST(PanoRecord, DistancesRunAcrossLongitude180) {
  EXPECT_NEAR(DistanceMetres({0.0, 179.9995}, {0.0, -179.9995}), 111.195, 0.001);
}

TEST(PanoRecord, BearingsRunClockwiseFromNorth) {
  EXPECT_NEAR(BearingDegrees({50.0, 10.0}, {50.001, 10.0}), 0.0, 1e-9);
  EXPECT_NEAR(BearingDegrees({0.0, 10.0}, {0.0, 10.001}), 90.0, 1e-9);
  EXPECT_NEAR(BearingDegrees({50.0, 10.0}, {49.999, 10.0}), 180.0, 1e-9);
  EXPECT_NEAR(BearingDegrees({0.0, 10.0}, {0.0, 9.999}), 270.0, 1e-9);
  EXPECT_NEAR(BearingDegrees({0.0, 179.999}, {0.0, -179.999}), 90.0, 1e-9);
}

TEST(PanoRecord, APlaceAlongABearingLiesAtThatDistance) {
  for (const double bearing : {0.0, 33.0, 90.0, 181.0, 359.0}) {
    const LatLng start{59.5, 179.9999};
    const LatLng end = PlaceAlong(start, bearing, 250.0);
    EXPECT_TRUE(IsValidLatLng(end));
    EXPECT_NEAR(DistanceMetres(start, end), 250.0, 1e-6);
    EXPECT_NEAR(std::remainder(BearingDegrees(start, end) - bearing, 360.0), 0.0, 1e-6);
  }
}

TEST(PanoRecord, NormalizedDegreesNeverReachTheFullTurn) {
  EXPECT_EQ(NormalizedDegrees(360.0), 0.0);
  EXPECT_EQ(NormalizedDegrees(-90.0), 270.0);
  EXPECT_EQ(NormalizedDegrees(725.0), 5.0);
  EXPECT_EQ(NormalizedDegrees(-1e-300), 0.0);
  EXPECT_FALSE(std::signbit(NormalizedDegrees(-0.0)));
  EXPECT_EQ(NormalizedDegrees(std::numeric_limits<double>::quiet_NaN()), 0.0);
  EXPECT_EQ(NormalizedDegrees(std::numeric_limits<double>::infinity()), 0.0);
}

TEST(PanoRecord, APlaceThatIsNoNumberIsNotValid) {
  EXPECT_TRUE(IsValidLatLng({90.0, -180.0}));
  EXPECT_FALSE(IsValidLatLng({90.1, 0.0}));
  EXPECT_FALSE(IsValidLatLng({0.0, 180.1}));
  EXPECT_FALSE(IsValidLatLng({std::numeric_limits<double>::quiet_NaN(), 0.0}));
  EXPECT_FALSE(IsValidLatLng({0.0, std::numeric_limits<double>::infinity()}));
}

TEST(PanoRecord, SoundTextStaysAsItIs) {
  const std::string text = "K\xC3\xB6nigsstra\xC3\x9F"
                           "e \xE2\x82\xAC \xF0\x9F\x9A\xB6\tand\n";
  EXPECT_EQ(XmlSafeText(text), text);
}

TEST(PanoRecord, WhatXmlCannotCarryIsReplaced) {
  const std::string mark = "\xEF\xBF\xBD";
  EXPECT_EQ(XmlSafeText(std::string("a\0b", 3)), "a" + mark + "b");
  EXPECT_EQ(XmlSafeText("a\x1B"), "a" + mark);
  EXPECT_EQ(XmlSafeText("\xFF"), mark);
  EXPECT_EQ(XmlSafeText("\xC0\xAF"), mark + mark);             // Longer than it needs to be.
  EXPECT_EQ(XmlSafeText("\xED\xA0\x80"), mark + mark + mark);  // Half of a pair.
  EXPECT_EQ(XmlSafeText("\xE2\x82"), mark + mark);             // Cut off.
  EXPECT_EQ(XmlSafeText("\xEF\xBF\xBE"), mark + mark + mark);  // U+FFFE.
  EXPECT_EQ(XmlSafeText("\xF4\x90\x80\x80"), mark + mark + mark + mark);
}

}  // namespace
}  // namespace pelorin
