// SPDX-License-Identifier: Apache-2.0
#include "apps/buildings/footprints.h"

#include <gtest/gtest.h>

#include <string>

namespace pelorin {
namespace {

std::string Feature(const std::string& properties) {
  return R"({"type":"Feature","id":"way/7","properties":{)" + properties +
         R"(},"geometry":{"type":"Polygon","coordinates":[[[13,52],[13.1,52],[13.1,52.1],[13,52]]]}})";
}

class FootprintReader : public testing::Test {
 protected:
  bool Read(const std::string& text) {
    return ReadFootprints(text, FootprintOptions(), &found_, &error_);
  }
  double HeightOf(const std::string& properties) {
    EXPECT_TRUE(Read(Feature(properties))) << error_;
    return found_.footprints.at(0).height_m;
  }
  std::string Warning() const { return found_.warnings.empty() ? "" : found_.warnings[0]; }

  Footprints found_;
  std::string error_;
};

TEST_F(FootprintReader, TakesLongitudeFirstAndDropsTheClosingPlace) {
  ASSERT_TRUE(Read(Feature("")));
  ASSERT_EQ(found_.footprints.size(), 1u);
  ASSERT_EQ(found_.footprints[0].rings.size(), 1u);
  ASSERT_EQ(found_.footprints[0].rings[0].size(), 3u);
  EXPECT_EQ(found_.footprints[0].rings[0][1], (LatLng{52.0, 13.1}));
  EXPECT_EQ(found_.footprints[0].name, "way/7");
}

TEST_F(FootprintReader, TakesTheHeightBeforeTheStoreys) {
  EXPECT_EQ(HeightOf(R"("height":"13.5","building:levels":"2")"), 13.5);
  EXPECT_EQ(found_.from_height, 1u);
}

TEST_F(FootprintReader, TakesAHeightThatIsANumber) {
  EXPECT_EQ(HeightOf(R"("height":31)"), 31.0);
}

TEST_F(FootprintReader, TakesTheStoreysWhereNoHeightIsTold) {
  EXPECT_EQ(HeightOf(R"("building:levels":"5")"), 15.0);
  EXPECT_EQ(found_.from_levels, 1u);
}

TEST_F(FootprintReader, TakesTheDefaultWhereNothingIsTold) {
  EXPECT_EQ(HeightOf(""), 6.0);
  EXPECT_EQ(found_.from_default, 1u);
  EXPECT_EQ(found_.warning_count, 0u);
}

TEST_F(FootprintReader, WarnsOfAHeightThatIsNone) {
  EXPECT_EQ(HeightOf(R"("height":"tall","building:levels":"2")"), 6.0);
  EXPECT_EQ(Warning(), "way/7: \"tall\" is no height and is passed over");
  EXPECT_EQ(found_.from_levels, 1u);
}

TEST_F(FootprintReader, WarnsOfStoreysThatAreNone) {
  EXPECT_EQ(HeightOf(R"("building:levels":"-2")"), 6.0);
  EXPECT_EQ(Warning(), "way/7: \"-2\" is no number of storeys and is passed over");
}

TEST_F(FootprintReader, TakesNoStoreysForAHonestAnswer) {
  EXPECT_EQ(HeightOf(R"("building:levels":"0")"), 6.0);
  EXPECT_EQ(found_.warning_count, 0u);
}

TEST_F(FootprintReader, CountsPartsThatBeginAboveTheGround) {
  HeightOf(R"("min_height":"3","height":"9")");
  EXPECT_EQ(found_.above_ground, 1u);
}

TEST_F(FootprintReader, KeepsHoles) {
  ASSERT_TRUE(Read(R"({"type":"Polygon","coordinates":[[[0,0],[4,0],[4,4],[0,4],[0,0]],
                                                       [[1,1],[2,1],[2,2],[1,1]]]})"));
  ASSERT_EQ(found_.footprints.at(0).rings.size(), 2u);
  EXPECT_EQ(found_.footprints[0].rings[1].size(), 3u);
}

TEST_F(FootprintReader, MakesAFootprintOfEachPolygonOfAMultiPolygon) {
  ASSERT_TRUE(Read(R"({"type":"MultiPolygon","coordinates":[[[[0,0],[4,0],[4,4]]],
                                                            [[[6,6],[7,6],[7,7]]]]})"));
  EXPECT_EQ(found_.footprints.size(), 2u);
}

TEST_F(FootprintReader, WalksCollectionsAndCountsWhatIsNoPolygon) {
  ASSERT_TRUE(Read(R"({"type":"FeatureCollection","copyright":"the people","features":[)" +
                   Feature("") +
                   R"(,{"type":"Feature","geometry":{"type":"Point","coordinates":[1,2]}},
                       {"type":"Feature","geometry":null},
                       {"type":"GeometryCollection","geometries":[)" +
                   R"({"type":"LineString","coordinates":[[1,2],[3,4]]}]}]})"));
  EXPECT_EQ(found_.footprints.size(), 1u);
  EXPECT_EQ(found_.other_features, 3u);
  EXPECT_EQ(found_.attribution, "the people");
}

TEST_F(FootprintReader, LeavesOutAPolygonWithAPlaceThatIsNone) {
  ASSERT_TRUE(Read(R"({"type":"Polygon","coordinates":[[[0,0],["a",0],[4,4]]]})"));
  EXPECT_TRUE(found_.footprints.empty());
  EXPECT_EQ(Warning(),
            "geometry: a polygon with a position that is no pair of numbers is left out");
}

TEST_F(FootprintReader, LeavesOutAPolygonOffThePlanet) {
  ASSERT_TRUE(Read(R"({"type":"Polygon","coordinates":[[[0,0],[0,91],[4,4]]]})"));
  EXPECT_TRUE(found_.footprints.empty());
  EXPECT_EQ(found_.warning_count, 1u);
}

TEST_F(FootprintReader, LeavesOutAnOutlineOfTwoPlaces) {
  ASSERT_TRUE(
      Read(R"({"type":"Polygon","coordinates":[[[0,0],[1,1],[0,0]],[[0,0],[1,0],[1,1]]]})"));
  EXPECT_TRUE(found_.footprints.empty());
  EXPECT_EQ(Warning(), "geometry: an outline of fewer than 3 places is left out");
}

TEST_F(FootprintReader, LeavesOutAPolygonOfNothing) {
  for (const char* polygon : {R"({"type":"Polygon"})", R"({"type":"Polygon","coordinates":[]})",
                              R"({"type":"Polygon","coordinates":7})"}) {
    ASSERT_TRUE(Read(polygon)) << polygon;
    EXPECT_TRUE(found_.footprints.empty()) << polygon;
    EXPECT_EQ(found_.warning_count, 1u) << polygon;
  }
}

TEST_F(FootprintReader, TellsWhereATextIsNotJson) {
  found_.from_height = 9;
  EXPECT_FALSE(Read("{\"type\":\n\"Polygon\",]"));
  EXPECT_EQ(error_, "line 2, byte 20: not JSON, or damaged");
  EXPECT_EQ(found_.from_height, 9u);
}

TEST_F(FootprintReader, RefusesJsonThatIsNotGeoJson) {
  for (const char* text : {"7", "[]", "{}", R"({"type":"FeatureCollection"})"}) {
    EXPECT_FALSE(Read(text)) << text;
    EXPECT_EQ(error_, "JSON, but not GeoJSON") << text;
  }
}

TEST_F(FootprintReader, TakesEveryPrefixOfATextSafely) {
  const std::string text = Feature(R"("height":"13.5")");
  for (std::size_t size = 0; size < text.size(); ++size) {
    EXPECT_FALSE(Read(text.substr(0, size))) << size;
  }
}

TEST_F(FootprintReader, WalksOnlySoDeep) {
  std::string text;
  for (int i = 0; i < 100000; ++i) {
    text += R"({"type":"GeometryCollection","geometries":[)";
  }
  for (int i = 0; i < 100000; ++i) {
    text += "]}";
  }
  ASSERT_TRUE(Read(text));
  EXPECT_EQ(Warning(), "collections nested deeper than 32 are left out");
}

TEST(ParseHeight, ReadsMetresAndFeet) {
  double metres = 0.0;
  EXPECT_TRUE(ParseHeight(" 12.5 ", &metres));
  EXPECT_EQ(metres, 12.5);
  EXPECT_TRUE(ParseHeight("12.5 m", &metres));
  EXPECT_EQ(metres, 12.5);
  EXPECT_TRUE(ParseHeight("10ft", &metres));
  EXPECT_DOUBLE_EQ(metres, 3.048);
  EXPECT_TRUE(ParseHeight("10'", &metres));
  EXPECT_DOUBLE_EQ(metres, 3.048);
}

TEST(ParseHeight, RefusesWhatIsNoHeightAndLeavesTheNumberAlone) {
  double metres = -1.0;
  for (const char* text : {"", " ", "m", "0", "-3", "nan", "inf", "1e9", "12 km", "12,5", "3 4"}) {
    EXPECT_FALSE(ParseHeight(text, &metres)) << text;
  }
  EXPECT_EQ(metres, -1.0);
}

TEST_F(FootprintReader, KnowsThePartsOfBuildings) {
  const auto is_part = [this](const std::string& properties) {
    EXPECT_TRUE(Read(Feature(properties))) << error_;
    return found_.footprints.at(0).is_part;
  };
  EXPECT_TRUE(is_part(R"("building:part":"yes")"));
  EXPECT_TRUE(is_part(R"("building:part":"roof","height":3)"));
  EXPECT_FALSE(is_part(R"("building:part":"no")"));
  EXPECT_FALSE(is_part(R"("building":"yes")"));
  // The outline of one that is a part of nothing.
  EXPECT_FALSE(is_part(R"("building":"yes","building:part":"yes")"));
}

}  // namespace
}  // namespace pelorin
