// SPDX-License-Identifier: Apache-2.0
#include "apps/geojson/geojson.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace pelorin {
namespace {

constexpr const char* kLine =
    R"({"type":"Feature","geometry":{"type":"LineString","coordinates":[[1,2],[3,4]]}})";

// As many values as a list of them and itself.
std::string Zeros(int count) {
  std::string list = "[0";
  for (int i = 1; i < count; ++i) {
    list += ",0";
  }
  return list + "]";
}

class GeoJson : public testing::Test {
 protected:
  bool Read(const std::string& text) {
    shapes_.clear();
    warnings_.clear();
    const GeoJsonHandlers handlers{
        [this](const GeoJsonShape& shape) { shapes_.push_back(shape.name); },
        [this](const std::string& line) { warnings_.push_back(line); }};
    return ReadGeoJson(text, handlers, &attribution_, &error_);
  }

  std::vector<std::string> shapes_;
  std::vector<std::string> warnings_;
  std::string attribution_;
  std::string error_;
};

TEST_F(GeoJson, TakesTheMembersOfACollectionInAnyOrder) {
  const std::string features = std::string(R"("features":[)") + kLine + "," + kLine + "]";
  for (const std::string& text :
       {R"({"type":"FeatureCollection","copyright":"me",)" + features + "}",
        R"({"copyright":"me",)" + features + R"(,"type":"FeatureCollection"})"}) {
    ASSERT_TRUE(Read(text)) << error_;
    EXPECT_EQ(shapes_, (std::vector<std::string>{"feature 1", "feature 2"}));
    EXPECT_EQ(attribution_, "me");
  }
}

TEST_F(GeoJson, WarnsOfEntriesThatAreNoObjects) {
  ASSERT_TRUE(Read(std::string(R"({"type":"FeatureCollection","features":[1,"a",null,[],{},)") +
                   kLine + "]}"));
  EXPECT_EQ(shapes_, std::vector<std::string>{"feature 1"});
  EXPECT_EQ(warnings_,
            std::vector<std::string>(5, "an entry of \"features\" is no GeoJSON object"));
}

TEST_F(GeoJson, WalksACollectionInsideACollection) {
  ASSERT_TRUE(Read(std::string(R"({"type":"FeatureCollection","features":[)") +
                   R"({"type":"FeatureCollection","features":[)" + kLine + "," + kLine + "]}," +
                   kLine + "]}"));
  EXPECT_EQ(shapes_, (std::vector<std::string>{"feature 1", "feature 2", "feature 3"}));
}

TEST_F(GeoJson, KnowsAPropertyCalledFeaturesForWhatItIs) {
  ASSERT_TRUE(Read(R"({"type":"Feature","properties":{"features":[1,2]},"geometry":null})"));
  EXPECT_EQ(shapes_, std::vector<std::string>{"feature 1"});
  EXPECT_TRUE(warnings_.empty());
}

TEST_F(GeoJson, RefusesFeaturesThatAreNoList) {
  EXPECT_FALSE(Read(R"({"type":"FeatureCollection","features":{"a":1}})"));
  EXPECT_EQ(error_, "JSON, but not GeoJSON");
}

// A few bytes of text are some hundred bytes in memory.
TEST_F(GeoJson, RefusesMoreValuesInOnePieceThanMemoryShouldHold) {
  const std::string values = Zeros(5000001);
  const char* const expected = "more than 5000000 values in one piece; cut it into parts";
  EXPECT_FALSE(Read(values));
  EXPECT_EQ(error_, expected);
  EXPECT_FALSE(Read(R"({"type":"FeatureCollection","features":[)" + values + "]}"));
  EXPECT_EQ(error_, expected);
}

TEST_F(GeoJson, CountsWhatIsInsideAndOutsideOfItsFeaturesApart) {
  const std::string zeros = Zeros(3000000);
  EXPECT_TRUE(Read(R"({"type":"FeatureCollection","a":)" + zeros + R"(,"features":[{"b":)" + zeros +
                   R"(},{"c":)" + zeros + "}]}"))
      << error_;
  EXPECT_FALSE(Read(R"({"type":"FeatureCollection","a":)" + zeros + R"(,"features":[1],"b":)" +
                    zeros + "}"));
}

TEST_F(GeoJson, LeavesAnObjectCalledFeaturesAlone) {
  EXPECT_TRUE(Read(R"({"type":"Point","features":{"type":"FeatureCollection","properties":[]}})"))
      << error_;
  EXPECT_TRUE(warnings_.empty());
}

TEST_F(GeoJson, NamesAGeometryBehindAFeatureByItself) {
  ASSERT_TRUE(Read(std::string(R"({"type":"FeatureCollection","features":[)") + kLine +
                   R"(,{"type":"Point","coordinates":[1,2]}]})"));
  EXPECT_EQ(shapes_, (std::vector<std::string>{"feature 1", "geometry"}));
}

TEST_F(GeoJson, TakesAnyNumberOfFeatures) {
  constexpr int kFeatures = 500000;  // Of 11 values each.
  std::string text = R"({"type":"FeatureCollection","features":[)";
  for (int i = 0; i < kFeatures; ++i) {
    text += std::string(i == 0 ? "" : ",") + kLine;
  }
  ASSERT_TRUE(Read(text + "]}")) << error_;
  EXPECT_EQ(shapes_.size(), std::size_t{kFeatures});
}

}  // namespace
}  // namespace pelorin
