// SPDX-License-Identifier: Apache-2.0
#include "apps/service/plk_request.h"

#include <gtest/gtest.h>

namespace pelorin {
namespace {

using Parameters = std::multimap<std::string, std::string>;
using Kind = PlkRequest::Kind;

PlkRequest Parse(const Parameters& parameters) {
  PlkRequest request;
  std::string error;
  EXPECT_TRUE(ParsePlkRequest(parameters, &request, &error)) << error;
  return request;
}

TEST(PlkRequest, AsksById) {
  const PlkRequest request = Parse({{"output", "xml"},
                                    {"panoid", "abc"},
                                    {"pl_client", "x"},
                                    {"dm", "1"},
                                    {"pm", "1"},
                                    {"v", "4"}});
  EXPECT_EQ(request.kind, Kind::kById);
  EXPECT_EQ(request.pano_id, "abc");
  EXPECT_TRUE(request.depth_map);
  EXPECT_TRUE(request.pano_map);
}

TEST(PlkRequest, AsksByPosition) {
  const PlkRequest request = Parse({{"output", "xml"},
                                    {"ll", "-1.500000000000000000,179.250000000000000000"},
                                    {"radius", "30"},
                                    {"level_id", "L1"}});
  EXPECT_EQ(request.kind, Kind::kByPosition);
  EXPECT_EQ(request.place.lat_deg, -1.5);
  EXPECT_EQ(request.place.lng_deg, 179.25);
  EXPECT_EQ(request.radius_m, 30.0);
  EXPECT_EQ(request.level_id, "L1");
  EXPECT_FALSE(request.depth_map);
  EXPECT_FALSE(request.pano_map);
}

TEST(PlkRequest, WithoutARadiusMeansFiftyMetresAndWithoutALevelAny) {
  const PlkRequest request = Parse({{"output", "xml"}, {"ll", "0,0"}, {"level_id", ""}});
  EXPECT_EQ(request.radius_m, 50.0);
  EXPECT_FALSE(request.level_id.has_value());
}

TEST(PlkRequest, WithARadiusOfZeroMeansZero) {
  EXPECT_EQ(Parse({{"output", "xml"}, {"ll", "0,0"}, {"radius", "0"}}).radius_m, 0.0);
}

TEST(PlkRequest, AsksByTile) {
  const PlkRequest request =
      Parse({{"output", "metatile"}, {"x", "3"}, {"y", "4"}, {"zoom", "16"}});
  EXPECT_EQ(request.kind, Kind::kByTile);
  EXPECT_EQ(request.x, 3);
  EXPECT_EQ(request.y, 4);
  EXPECT_EQ(request.zoom, 16);
}

TEST(PlkRequest, TakesTheLastTileOfTheDeepestZoom) {
  const PlkRequest request =
      Parse({{"output", "metatile"}, {"x", "1073741823"}, {"y", "0"}, {"zoom", "30"}});
  EXPECT_EQ(request.x, 1073741823);
}

TEST(PlkRequest, ReportsUse) {
  EXPECT_EQ(Parse({{"output", "plrep"}, {"ed", "67:0;3"}}).kind, Kind::kUsageReport);
}

TEST(PlkRequest, CountsTheFirstOfTwoOfAName) {
  EXPECT_EQ(Parse({{"output", "xml"}, {"panoid", "a"}, {"panoid", "b"}}).pano_id, "a");
}

struct BadRequest {
  const char* name;
  Parameters parameters;
  const char* message;
};

class BadPlkRequests : public testing::TestWithParam<BadRequest> {};

TEST_P(BadPlkRequests, AreRefusedWithOneLineAndNoTrace) {
  PlkRequest request;
  request.pano_id = "before";
  std::string error;
  EXPECT_FALSE(ParsePlkRequest(GetParam().parameters, &request, &error));
  EXPECT_NE(error.find(GetParam().message), std::string::npos) << error;
  EXPECT_EQ(error.find('\n'), std::string::npos);
  EXPECT_EQ(request.pano_id, "before");
}

INSTANTIATE_TEST_SUITE_P(
    Table, BadPlkRequests,
    testing::Values(
        BadRequest{"NoOutput", {}, "\"output\""},
        BadRequest{"UnknownOutput", {{"output", "json"}, {"panoid", "a"}}, "\"output\""},
        BadRequest{"NeitherIdNorPlace", {{"output", "xml"}}, "either"},
        BadRequest{"IdAndPlace", {{"output", "xml"}, {"panoid", "a"}, {"ll", "0,0"}}, "either"},
        BadRequest{"EmptyId", {{"output", "xml"}, {"panoid", ""}}, "\"panoid\""},
        BadRequest{"OneNumber", {{"output", "xml"}, {"ll", "1"}}, "\"ll\""},
        BadRequest{"EmptyPlace", {{"output", "xml"}, {"ll", ""}}, "\"ll\""},
        BadRequest{"ThreeNumbers", {{"output", "xml"}, {"ll", "1,2,3"}}, "\"ll\""},
        BadRequest{"NoNumber", {{"output", "xml"}, {"ll", "a,b"}}, "\"ll\""},
        BadRequest{"NotANumber", {{"output", "xml"}, {"ll", "nan,0"}}, "\"ll\""},
        BadRequest{"Infinite", {{"output", "xml"}, {"ll", "0,inf"}}, "\"ll\""},
        BadRequest{"PastThePole", {{"output", "xml"}, {"ll", "90.001,0"}}, "\"ll\""},
        BadRequest{"PastTheDateLine", {{"output", "xml"}, {"ll", "0,-180.5"}}, "\"ll\""},
        BadRequest{"Overflow", {{"output", "xml"}, {"ll", "1e999,0"}}, "\"ll\""},
        BadRequest{"BlankInPlace", {{"output", "xml"}, {"ll", "1, 2"}}, "\"ll\""},
        BadRequest{
            "NegativeRadius", {{"output", "xml"}, {"ll", "0,0"}, {"radius", "-1"}}, "\"radius\""},
        BadRequest{
            "RadiusWithUnit", {{"output", "xml"}, {"ll", "0,0"}, {"radius", "5m"}}, "\"radius\""},
        BadRequest{"EmptyRadius", {{"output", "xml"}, {"ll", "0,0"}, {"radius", ""}}, "\"radius\""},
        BadRequest{
            "InfiniteRadius", {{"output", "xml"}, {"ll", "0,0"}, {"radius", "inf"}}, "\"radius\""},
        BadRequest{"OddSwitch", {{"output", "xml"}, {"panoid", "a"}, {"dm", "yes"}}, "\"dm\""},
        BadRequest{"OddSecondSwitch", {{"output", "xml"}, {"panoid", "a"}, {"pm", "2"}}, "\"pm\""},
        BadRequest{"NoZoom", {{"output", "metatile"}, {"x", "0"}, {"y", "0"}}, "\"zoom\""},
        BadRequest{"ZoomTooDeep",
                   {{"output", "metatile"}, {"x", "0"}, {"y", "0"}, {"zoom", "31"}},
                   "\"zoom\""},
        BadRequest{"NegativeZoom",
                   {{"output", "metatile"}, {"x", "0"}, {"y", "0"}, {"zoom", "-1"}},
                   "\"zoom\""},
        BadRequest{"NoColumn", {{"output", "metatile"}, {"y", "0"}, {"zoom", "1"}}, "\"x\""},
        BadRequest{"ColumnPastTheEnd",
                   {{"output", "metatile"}, {"x", "2"}, {"y", "0"}, {"zoom", "1"}},
                   "from 0 to 1"},
        BadRequest{"RowPastTheEnd",
                   {{"output", "metatile"}, {"x", "0"}, {"y", "4"}, {"zoom", "2"}},
                   "from 0 to 3"},
        BadRequest{"FractionalRow",
                   {{"output", "metatile"}, {"x", "0"}, {"y", "0.5"}, {"zoom", "1"}},
                   "\"y\""},
        BadRequest{"HugeColumn",
                   {{"output", "metatile"}, {"x", "99999999999"}, {"y", "0"}, {"zoom", "1"}},
                   "\"x\""},
        BadRequest{"NoEvents", {{"output", "plrep"}}, "\"ed\""}),
    [](const testing::TestParamInfo<BadRequest>& table_row) {
      return std::string(table_row.param.name);
    });

}  // namespace
}  // namespace pelorin
