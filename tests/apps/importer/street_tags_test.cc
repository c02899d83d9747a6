// SPDX-License-Identifier: Apache-2.0
#include "apps/importer/street_tags.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace pelorin {
namespace {

StreetTags Tagged(const std::string& highway) {
  StreetTags tags;
  tags.highway = highway;
  return tags;
}

TEST(StreetTags, TakeWhatPeopleWalkAlong) {
  for (const char* highway : {"primary", "secondary_link", "residential", "living_street",
                              "pedestrian", "service", "track", "path", "steps", "corridor", ""}) {
    EXPECT_TRUE(StreetFromTags(Tagged(highway)).has_value()) << highway;
  }
}

TEST(StreetTags, LeaveOutWhatNobodyWalksAlong) {
  for (const char* highway : {"motorway", "motorway_link", "trunk", "construction", "proposed",
                              "raceway", "platform", "bus_stop", "Residential", "no"}) {
    EXPECT_FALSE(StreetFromTags(Tagged(highway)).has_value()) << highway;
  }
}

TEST(StreetTags, LeaveOutAreasAndForbiddenWays) {
  StreetTags area = Tagged("pedestrian");
  area.area = "yes";
  EXPECT_FALSE(StreetFromTags(area).has_value());
  StreetTags closed = Tagged("service");
  closed.access = "private";
  EXPECT_FALSE(StreetFromTags(closed).has_value());
  closed.foot = "yes";
  EXPECT_TRUE(StreetFromTags(closed).has_value());
  StreetTags no_foot = Tagged("primary");
  no_foot.foot = "no";
  EXPECT_FALSE(StreetFromTags(no_foot).has_value());
}

TEST(StreetTags, LeaveOutPavementsBesideAStreetButKeepTheStreet) {
  StreetTags pavement = Tagged("footway");
  pavement.footway = "sidewalk";
  EXPECT_FALSE(StreetFromTags(pavement).has_value());
  StreetTags street = Tagged("secondary");
  street.foot = "use_sidepath";
  EXPECT_TRUE(StreetFromTags(street).has_value());
}

TEST(StreetTags, ClassesDifferInColourAndRank) {
  const Street primary = *StreetFromTags(Tagged("primary"));
  const Street path = *StreetFromTags(Tagged("path"));
  EXPECT_NE(primary.road_argb, path.road_argb);
  EXPECT_LT(primary.rank, path.rank);
}

std::string LevelOf(const std::string& highway, const std::string& level,
                    const std::string& indoor) {
  StreetTags tags = Tagged(highway);
  tags.level = level;
  tags.indoor = indoor;
  return StreetFromTags(tags)->level.id;
}

TEST(StreetTags, AStoreyIsReadWhereItSaysSomething) {
  EXPECT_EQ(LevelOf("footway", "1", ""), "1");
  EXPECT_EQ(LevelOf("footway", " -2 ", ""), "-2");
  EXPECT_EQ(LevelOf("footway", "0.5", ""), "0.5");
  EXPECT_EQ(LevelOf("footway", "1.0", ""), "1");
  EXPECT_EQ(LevelOf("residential", "0", ""), "");
  EXPECT_EQ(LevelOf("corridor", "0", ""), "0");
  EXPECT_EQ(LevelOf("footway", "0", "yes"), "0");
  EXPECT_EQ(LevelOf("footway", "-0", "yes"), "0");
}

TEST(StreetTags, OfSeveralStoreysTheFirstCounts) {
  EXPECT_EQ(LevelOf("steps", "1;2", ""), "1");
  EXPECT_EQ(LevelOf("steps", "-1;0", ""), "-1");
  EXPECT_EQ(LevelOf("steps", "1-3", ""), "1");
}

TEST(StreetTags, AStoreyThatIsNoneIsNotRead) {
  for (const char* level : {"", ";", "-", "ground", "nan", "inf", "1e9", "1 floor"}) {
    EXPECT_EQ(LevelOf("steps", level, "yes"), "") << level;
  }
}

TEST(StreetTags, NumbersHaveADotAndNothingAfterThem) {
  EXPECT_EQ(NumberFromText("51.25"), 51.25);
  EXPECT_EQ(NumberFromText(" +7.5\n"), 7.5);
  EXPECT_EQ(NumberFromText("-1e-3"), -0.001);
  EXPECT_FALSE(NumberFromText("51,25").has_value());
  EXPECT_FALSE(NumberFromText("51.25N").has_value());
  EXPECT_FALSE(NumberFromText("").has_value());
  EXPECT_FALSE(NumberFromText(" + ").has_value());
}

}  // namespace
}  // namespace pelorin
