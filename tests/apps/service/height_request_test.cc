// SPDX-License-Identifier: Apache-2.0
#include "apps/service/height_request.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "host/geodesy.h"

namespace pelorin {
namespace {

std::vector<LatLng> Places(const std::string& text) {
  std::vector<LatLng> places;
  std::string error;
  EXPECT_TRUE(ParsePlaces("locations", text, &places, &error)) << error;
  return places;
}

std::string Refused(const std::string& text) {
  std::vector<LatLng> places = {{1, 2}};
  std::string error;
  EXPECT_FALSE(ParsePlaces("locations", text, &places, &error)) << text;
  EXPECT_EQ(places, (std::vector<LatLng>{{1, 2}})) << "left as they were";
  return error;
}

TEST(HeightRequest, ReadsAListOfPlaces) {
  EXPECT_EQ(Places("43.7,7.25"), (std::vector<LatLng>{{43.7, 7.25}}));
  EXPECT_EQ(Places("-90,180|90,-180|0,0"), (std::vector<LatLng>{{-90, 180}, {90, -180}, {0, 0}}));
}

TEST(HeightRequest, ReadsThePublishedPolyline) {
  const std::vector<LatLng> expected = {{38.5, -120.2}, {40.7, -120.95}, {43.252, -126.453}};
  EXPECT_EQ(Places("enc:_p~iF~ps|U_ulLnnqC_mqNvxq`@"), expected);
  EXPECT_EQ(Places("_p~iF~ps|U_ulLnnqC_mqNvxq`@"), expected);
}

TEST(HeightRequest, ReadsWhatTheHostOfTheLibraryWrites) {
  std::mt19937 draw(12);
  std::vector<nimbara::Vec3<double>> points;
  std::vector<LatLng> expected;
  for (int i = 0; i < 500; ++i) {
    const double lat = (static_cast<int>(draw() % 18000001) - 9000000) / 1e5;
    const double lng = (static_cast<int>(draw() % 36000001) - 18000000) / 1e5;
    expected.push_back({lat, lng});
    points.push_back({lng / 180.0, lat / 180.0, 0.0});
  }
  std::string text;
  nimbara::geometry::EncodePolylineString(points.data(), 500, &text);
  EXPECT_EQ(Places("enc:" + text), expected);
}

TEST(HeightRequest, RefusesWhatNamesNoPlaces) {
  EXPECT_EQ(Refused("1,2|3"), "place number 2 of locations is not lat,lng in degrees");
  EXPECT_NE(Refused("").find("missing"), std::string::npos);
  for (const char* const text :
       {"91,0", "0,181", "1,2|", "|1,2", "1,2,3", "nan,0", "1 ,2", "+1,2", "enc:", "enc:_p~iF",
        "enc:_p~", "_", "enc:\x7f\x7f", "abc def", "enc:~~~~~~~~~~~~~~~~", "enc:\xc3\xa9"}) {
    Refused(text);
  }
}

TEST(HeightRequest, RefusesAPolylineThatLeavesThePlanet) {
  EXPECT_NE(Refused("enc:_p~iF~ps|U_p~iF?_p~iF?").find("planet"), std::string::npos);
}

TEST(HeightRequest, RefusesMorePlacesThanItTakes) {
  std::string list = "0,0";
  for (std::size_t i = 1; i < HeightRequest::kMaxPlaces; ++i)
    list += "|0,0";
  EXPECT_EQ(Places(list).size(), HeightRequest::kMaxPlaces);
  EXPECT_NE(Refused(list + "|0,0").find("10000"), std::string::npos);
}

TEST(HeightRequest, ReadsDamagedPolylinesWithoutHarm) {
  std::mt19937 draw(13);
  for (int round = 0; round < 5000; ++round) {
    std::string text = "enc:_p~iF~ps|U_ulLnnqC_mqNvxq`@";
    for (int flips = 0; flips < 3; ++flips)
      text[4 + draw() % (text.size() - 4)] = static_cast<char>(draw() & 0xFF);
    std::vector<LatLng> places;
    std::string error;
    if (ParsePlaces("locations", text, &places, &error)) {
      for (const LatLng& place : places)
        EXPECT_TRUE(IsValidLatLng(place));
    }
  }
}

TEST(HeightRequest, PlacesAlongAPathStandAtEvenDistances) {
  const std::vector<LatLng> along = PlacesAlongPath({{0, 0}, {0, 1}, {0, 4}}, 5);
  ASSERT_EQ(along.size(), 5u);
  for (int i = 0; i < 5; ++i)
    EXPECT_NEAR(along[static_cast<std::size_t>(i)].lng_deg, i, 1e-9);
  EXPECT_EQ(along.back(), (LatLng{0, 4}));
}

TEST(HeightRequest, PathGoesTheShortWayRound) {
  const std::vector<LatLng> along = PlacesAlongPath({{0, 179}, {0, -179}}, 3);
  EXPECT_NEAR(std::fabs(along[1].lng_deg), 180.0, 1e-9);
}

TEST(HeightRequest, PathOfOnePlaceIsThatPlace) {
  EXPECT_EQ(PlacesAlongPath({{3, 4}}, 3), (std::vector<LatLng>{{3, 4}, {3, 4}, {3, 4}}));
  EXPECT_EQ(PlacesAlongPath({{3, 4}, {5, 6}}, 1), (std::vector<LatLng>{{3, 4}}));
  EXPECT_EQ(PlacesAlongPath({{3, 4}, {3, 4}}, 2), (std::vector<LatLng>{{3, 4}, {3, 4}}));
}

TEST(HeightRequest, TakesSamplesAndInterpolation) {
  HeightRequest request;
  std::string error;
  ASSERT_TRUE(ParseHeightRequest(
      {{"locations", "0,0|0,2"}, {"samples", "3"}, {"interpolation", "nearest"}, {"x", "y"}},
      &request, &error))
      << error;
  EXPECT_EQ(request.places.size(), 3u);
  EXPECT_EQ(request.query.interpolation, HeightInterpolation::kNearest);
}

TEST(HeightRequest, TakesAPathWithItsSamples) {
  HeightRequest request;
  std::string error;
  ASSERT_TRUE(ParseHeightRequest({{"path", "0,0|0,1|0,4"}, {"samples", "5"}}, &request, &error))
      << error;
  EXPECT_EQ(request.places, PlacesAlongPath({{0, 0}, {0, 1}, {0, 4}}, 5));
  ASSERT_TRUE(ParseHeightRequest({{"path", "enc:_p~iF~ps|U_ulLnnqC"}, {"samples", "10000"}},
                                 &request, &error))
      << error;
  EXPECT_EQ(request.places.size(), 10000u);
  EXPECT_EQ(request.places.back(), (LatLng{40.7, -120.95}));
}

TEST(HeightRequest, SaysWhatIsWrongWithAPath) {
  using Parameters = std::multimap<std::string, std::string>;
  for (const auto& [parameters, line] : std::vector<std::pair<Parameters, std::string>>{
           {{{"path", "0,0|0,1"}}, "a path needs samples, the number of places along it"},
           {{{"path", "0,0|0,1"}, {"locations", "0,0"}, {"samples", "2"}},
            "locations and path are both given"},
           {{{"path", "0,0|0,x"}, {"samples", "2"}},
            "place number 2 of path is not lat,lng in degrees"},
           {{{"path", "~"}, {"samples", "2"}}, "path is no encoded polyline"},
           {{{"path", "0,0|0,1"}, {"samples", "10001"}}, "samples is not a number from 1 to 10000"},
           {{{"path", ""}, {"samples", "2"}},
            "locations is missing: lat,lng|lat,lng or an encoded polyline"}}) {
    HeightRequest request;
    std::string error;
    EXPECT_FALSE(ParseHeightRequest(parameters, &request, &error)) << line;
    EXPECT_EQ(error, line);
    EXPECT_TRUE(request.places.empty());
  }
}

TEST(HeightRequest, KnowsThreeInterpolationsByName) {
  ASSERT_EQ(InterpolationNames(), (std::vector<std::string>{"nearest", "bilinear", "cubic"}));
  HeightInterpolation interpolation = HeightInterpolation::kNearest;
  std::string error;
  EXPECT_TRUE(ParseInterpolation("cubic", &interpolation, &error));
  EXPECT_EQ(interpolation, HeightInterpolation::kCubic);
  EXPECT_FALSE(ParseInterpolation("Bilinear", &interpolation, &error));
  EXPECT_EQ(interpolation, HeightInterpolation::kCubic) << "as it was";
  EXPECT_EQ(error, "interpolation is none of nearest, bilinear and cubic");
  EXPECT_TRUE(ParseInterpolation("nearest", &interpolation, &error));
  EXPECT_EQ(interpolation, HeightInterpolation::kNearest);
  EXPECT_TRUE(ParseInterpolation("", &interpolation, &error));
  EXPECT_EQ(interpolation, HeightInterpolation::kBilinear);
}

TEST(HeightRequest, RefusesParametersThatMakeNoSense) {
  using Parameters = std::multimap<std::string, std::string>;
  for (const Parameters& parameters :
       {Parameters{}, Parameters{{"locations", "0,0"}, {"samples", "0"}},
        Parameters{{"locations", "0,0"}, {"samples", "10001"}},
        Parameters{{"locations", "0,0"}, {"samples", "two"}},
        Parameters{{"locations", "0,0"}, {"interpolation", "bicubic"}}}) {
    HeightRequest request;
    std::string error;
    EXPECT_FALSE(ParseHeightRequest(parameters, &request, &error));
    EXPECT_FALSE(error.empty());
    EXPECT_TRUE(request.places.empty());
  }
}

TEST(HeightRequest, ReadsParametersOutOfJson) {
  std::multimap<std::string, std::string> parameters;
  std::string error;
  ASSERT_TRUE(ReadJsonParameters(
      R"({"locations":[{"latitude":1.5,"longitude":-2},{"latitude":3,"longitude":4}],"samples":7})",
      &parameters, &error))
      << error;
  EXPECT_EQ(parameters.find("locations")->second, "1.5,-2|3,4");
  EXPECT_EQ(parameters.find("samples")->second, "7");
  ASSERT_TRUE(ReadJsonParameters(R"({"locations":"1,2"})", &parameters, &error));
  EXPECT_EQ(parameters.find("locations")->second, "1,2");
  ASSERT_TRUE(
      ReadJsonParameters(R"({"path":[{"latitude":1,"longitude":2}]})", &parameters, &error));
  EXPECT_EQ(parameters.find("path")->second, "1,2");
}

TEST(HeightRequest, RefusesABodyThatIsNone) {
  for (const char* const body : {"", "{", "[]", "5", R"({"locations":[1]})",
                                 R"({"locations":[{"latitude":"x","longitude":1}]})"}) {
    std::multimap<std::string, std::string> parameters;
    std::string error;
    EXPECT_FALSE(ReadJsonParameters(body, &parameters, &error)) << body;
    EXPECT_FALSE(error.empty());
  }
}

}  // namespace
}  // namespace pelorin
