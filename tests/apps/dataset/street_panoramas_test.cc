// SPDX-License-Identifier: Apache-2.0
#include "apps/dataset/street_panoramas.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <set>
#include <string>
#include <utility>

namespace pelorin {
namespace {

constexpr LatLng kOrigin{50.0, 8.0};

// A place in metres east and north of one origin.
LatLng At(double east_m, double north_m) {
  return {kOrigin.lat_deg + north_m / kMetresPerDegree,
          kOrigin.lng_deg + east_m / (kMetresPerDegree * std::cos(kOrigin.lat_deg * kPi / 180.0))};
}

Street StreetThrough(const std::vector<std::pair<double, double>>& points,
                     const std::string& name = "") {
  Street street;
  street.name = name;
  for (const auto& [east, north] : points) {
    street.points.push_back({At(east, north), NodeKey::OfPlace(At(east, north))});
  }
  return street;
}

std::unique_ptr<StreetPanoramas> Build(std::vector<Street> streets,
                                       StreetPanoramas::Options options = {}) {
  std::unique_ptr<StreetPanoramas> panoramas;
  EXPECT_EQ(StreetPanoramas::Build(std::move(streets), options, &panoramas),
            StreetPanoramas::Outcome::kBuilt);
  return panoramas;
}

std::map<std::string, PanoRecord> Records(const StreetPanoramas& panoramas) {
  std::map<std::string, PanoRecord> records;
  for (std::size_t i = 0; i < panoramas.size(); ++i) {
    PanoRecord record = panoramas.MakeRecord(i);
    records.emplace(record.id, record);
  }
  EXPECT_EQ(records.size(), panoramas.size()) << "ids are not unique";
  return records;
}

PanoRecord RecordNearest(const StreetPanoramas& panoramas, const LatLng& place) {
  PanoRecord best;
  double best_m = HUGE_VAL;
  for (std::size_t i = 0; i < panoramas.size(); ++i) {
    if (DistanceMetres(panoramas.PlaceOf(i), place) < best_m) {
      best = panoramas.MakeRecord(i);
      best_m = DistanceMetres(best.place, place);
    }
  }
  return best;
}

void ExpectLinksBothWays(const StreetPanoramas& panoramas) {
  const std::map<std::string, PanoRecord> records = Records(panoramas);
  for (const auto& [id, record] : records) {
    std::set<std::string> targets;
    for (const PanoLink& link : record.links) {
      EXPECT_TRUE(targets.insert(link.pano_id).second) << "two links to one panorama";
      EXPECT_NE(link.pano_id, id) << "a link to itself";
      ASSERT_EQ(records.count(link.pano_id), 1u);
      const std::vector<PanoLink>& back = records.at(link.pano_id).links;
      EXPECT_TRUE(std::any_of(back.begin(), back.end(),
                              [&id = id](const PanoLink& one) { return one.pano_id == id; }));
    }
  }
}

double YawDifference(double a, double b) {
  return std::fabs(std::remainder(a - b, 360.0));
}

TEST(StreetPanoramas, StandAtTheEndsAndEveryTenMetresBetween) {
  const std::unique_ptr<StreetPanoramas> panoramas = Build({StreetThrough({{0, 0}, {0, 100}})});
  ASSERT_EQ(panoramas->size(), 11u);
  ExpectLinksBothWays(*panoramas);
  for (int i = 0; i <= 10; ++i) {
    EXPECT_NEAR(DistanceMetres(RecordNearest(*panoramas, At(0, 10 * i)).place, At(0, 10 * i)), 0.0,
                0.01);
  }
}

TEST(StreetPanoramas, SpreadEvenlyWhereTheLengthIsNoMultiple) {
  const std::unique_ptr<StreetPanoramas> panoramas = Build({StreetThrough({{0, 0}, {0, 34}})});
  ASSERT_EQ(panoramas->size(), 4u);
  EXPECT_NEAR(DistanceMetres(RecordNearest(*panoramas, At(0, 11.33)).place, At(0, 0)), 34.0 / 3,
              0.01);
}

TEST(StreetPanoramas, HeadAlongTheStreetAndNotTowardsTheNextPoint) {
  // The corner lies between two panoramas, so that the line between them leaves the street.
  const std::unique_ptr<StreetPanoramas> panoramas =
      Build({StreetThrough({{0, 0}, {0, 15}, {15, 15}})});
  const PanoRecord before = RecordNearest(*panoramas, At(0, 10));
  ASSERT_EQ(before.links.size(), 2u);
  EXPECT_LT(YawDifference(before.pano_yaw_deg, 0.0), 0.01);
  for (const PanoLink& link : before.links) {
    const bool onward =
        DistanceMetres(At(15, 15), Records(*panoramas).at(link.pano_id).place) < 15.0;
    EXPECT_LT(YawDifference(link.yaw_deg, onward ? 0.0 : 180.0), 0.01);
  }
}

TEST(StreetPanoramas, OnACornerTheTwoLinksFollowTheTwoSides) {
  const std::unique_ptr<StreetPanoramas> panoramas =
      Build({StreetThrough({{0, 0}, {0, 20}, {20, 20}})});
  const PanoRecord corner = RecordNearest(*panoramas, At(0, 20));
  ASSERT_EQ(corner.links.size(), 2u);
  std::set<int> yaws;
  for (const PanoLink& link : corner.links) {
    yaws.insert(static_cast<int>(std::lround(link.yaw_deg)));
  }
  EXPECT_EQ(yaws, (std::set<int>{90, 180}));
  EXPECT_LT(YawDifference(corner.pano_yaw_deg, 45.0), 0.01);
}

TEST(StreetPanoramas, AJunctionLinksToEveryStreetInItsHeading) {
  const std::unique_ptr<StreetPanoramas> panoramas =
      Build({StreetThrough({{-50, 0}, {0, 0}, {50, 0}}, "Across"),
             StreetThrough({{0, 0}, {0, 50}}, "Up")});
  EXPECT_EQ(panoramas->statistics().junctions, 1u);
  const PanoRecord junction = RecordNearest(*panoramas, At(0, 0));
  EXPECT_NEAR(DistanceMetres(junction.place, At(0, 0)), 0.0, 0.01);
  std::set<int> yaws;
  for (const PanoLink& link : junction.links) {
    yaws.insert(static_cast<int>(std::lround(link.yaw_deg)) % 360);
  }
  EXPECT_EQ(yaws, (std::set<int>{0, 90, 270}));
  ExpectLinksBothWays(*panoramas);
}

TEST(StreetPanoramas, AJunctionHasTheNameOfTheMostImportantStreet) {
  Street small = StreetThrough({{0, 0}, {0, 50}}, "Lane");
  small.rank = 5;
  Street large = StreetThrough({{-50, 0}, {0, 0}, {50, 0}}, "Avenue");
  large.rank = 1;
  const std::unique_ptr<StreetPanoramas> panoramas = Build({small, large});
  EXPECT_EQ(RecordNearest(*panoramas, At(0, 0)).text, "Avenue");
}

TEST(StreetPanoramas, StreetsThatCrossWithoutASharedPointAreNotLinked) {
  const std::unique_ptr<StreetPanoramas> panoramas =
      Build({StreetThrough({{-50, 0}, {50, 0}}), StreetThrough({{0, -50}, {0, 50}})});
  EXPECT_EQ(panoramas->statistics().junctions, 0u);
  std::set<std::int32_t> scenes;
  for (std::size_t i = 0; i < panoramas->size(); ++i) {
    scenes.insert(panoramas->SceneOf(i));
  }
  EXPECT_EQ(scenes, (std::set<std::int32_t>{1, 2}));
}

TEST(StreetPanoramas, TheLargestPieceIsTheFirstScene) {
  const std::unique_ptr<StreetPanoramas> panoramas =
      Build({StreetThrough({{0, 0}, {0, 30}}), StreetThrough({{500, 0}, {500, 300}})});
  EXPECT_EQ(RecordNearest(*panoramas, At(500, 100)).scene, 1);
  EXPECT_EQ(RecordNearest(*panoramas, At(0, 10)).scene, 2);
}

TEST(StreetPanoramas, AStreetInPiecesIsOneStreet) {
  // No panorama at a joint where nothing else meets: the spacing runs through.
  const std::unique_ptr<StreetPanoramas> whole = Build({StreetThrough({{0, 0}, {0, 13}, {0, 60}})});
  const std::unique_ptr<StreetPanoramas> parts =
      Build({StreetThrough({{0, 13}, {0, 60}}), StreetThrough({{0, 0}, {0, 13}})});
  EXPECT_EQ(whole->size(), 7u);
  EXPECT_EQ(parts->size(), 7u);
}

TEST(StreetPanoramas, EachLinkHasTheColourOfItsStreet) {
  Street red = StreetThrough({{0, 0}, {0, 30}});
  red.road_argb = 0xFFFF0000;
  Street blue = StreetThrough({{0, 30}, {40, 30}, {60, 60}});
  blue.road_argb = 0xFF0000FF;
  Street other = StreetThrough({{0, 30}, {-40, 30}});
  const std::unique_ptr<StreetPanoramas> panoramas = Build({red, blue, other});
  std::set<std::uint32_t> colours;
  for (const PanoLink& link : RecordNearest(*panoramas, At(0, 30)).links) {
    colours.insert(link.road_argb);
  }
  EXPECT_EQ(colours, (std::set<std::uint32_t>{0xFFFF0000, 0xFF0000FF, 0xFFFFFFFF}));
  EXPECT_EQ(RecordNearest(*panoramas, At(0, 10)).links[0].road_argb, 0xFFFF0000u);
}

TEST(StreetPanoramas, ARingWithoutJunctionIsWalkableAllAround) {
  const std::unique_ptr<StreetPanoramas> panoramas =
      Build({StreetThrough({{0, 0}, {50, 0}, {50, 50}, {0, 50}, {0, 0}})});
  EXPECT_EQ(panoramas->size(), 20u);
  for (const auto& [id, record] : Records(*panoramas)) {
    EXPECT_EQ(record.links.size(), 2u);
  }
  ExpectLinksBothWays(*panoramas);
}

TEST(StreetPanoramas, ASmallLoopOnAStreetIsWalkable) {
  const std::unique_ptr<StreetPanoramas> panoramas = Build(
      {StreetThrough({{0, 0}, {0, 40}}), StreetThrough({{0, 40}, {3, 42}, {0, 44}, {0, 40}})});
  EXPECT_EQ(RecordNearest(*panoramas, At(0, 40)).links.size(), 3u);
  ExpectLinksBothWays(*panoramas);
}

TEST(StreetPanoramas, ALoopTooSmallToWalkIsLeftOut) {
  const std::unique_ptr<StreetPanoramas> panoramas = Build(
      {StreetThrough({{0, 0}, {0, 40}}), StreetThrough({{0, 40}, {.5, 40}, {.5, 40.5}, {0, 40}})});
  EXPECT_EQ(panoramas->statistics().tiny_loops, 1u);
  ExpectLinksBothWays(*panoramas);
}

TEST(StreetPanoramas, TwoShortWaysBetweenTwoJunctionsAreOneLink) {
  const std::unique_ptr<StreetPanoramas> panoramas =
      Build({StreetThrough({{0, -30}, {0, 0}, {2, 2}, {0, 4}, {0, 30}}),
             StreetThrough({{0, 0}, {-2, 2}, {0, 4}})});
  ExpectLinksBothWays(*panoramas);
}

TEST(StreetPanoramas, RepeatedStreetsAndPointsCountOnce) {
  const std::unique_ptr<StreetPanoramas> panoramas =
      Build({StreetThrough({{0, 0}, {0, 0}, {0, 50}, {0, 50}}), StreetThrough({{0, 0}, {0, 50}}),
             StreetThrough({{0, 50}, {0, 0}})});
  EXPECT_EQ(panoramas->size(), 6u);
  EXPECT_EQ(panoramas->statistics().repeated_steps, 2u);
  ExpectLinksBothWays(*panoramas);
}

TEST(StreetPanoramas, LinkedPointsOnOnePlaceAreOne) {
  Street street;
  const std::pair<double, std::int64_t> points[] = {{0, 1}, {20, 2}, {20, 3}, {40, 4}};
  for (const auto& [north, number] : points) {
    street.points.push_back({At(0, north), NodeKey::OfNumber(number)});
  }
  const std::unique_ptr<StreetPanoramas> panoramas = Build({street});
  EXPECT_EQ(panoramas->size(), 5u);
  ExpectLinksBothWays(*panoramas);
}

TEST(StreetPanoramas, PointsThatAreNoneAreSteppedOver) {
  Street street = StreetThrough({{0, 0}, {0, 50}});
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const LatLng& place : {LatLng{nan, 8.0}, LatLng{50.0, HUGE_VAL}, LatLng{500.0, 8.0}}) {
    street.points.insert(street.points.begin() + 1, {place, NodeKey::OfNumber(7)});
  }
  const std::unique_ptr<StreetPanoramas> panoramas = Build({street});
  EXPECT_EQ(panoramas->size(), 6u);
  EXPECT_EQ(panoramas->statistics().invalid_points, 3u);
}

TEST(StreetPanoramas, StreetsWithoutAStepMakeNothing) {
  EXPECT_EQ(Build({})->size(), 0u);
  EXPECT_EQ(Build({Street(), StreetThrough({{0, 0}}), StreetThrough({{5, 5}, {5, 5}})})->size(),
            0u);
}

TEST(StreetPanoramas, AStepTooLongForAStreetIsAGap) {
  const std::unique_ptr<StreetPanoramas> panoramas =
      Build({StreetThrough({{0, 0}, {0, 20}, {0, 20000}, {0, 20020}})});
  EXPECT_EQ(panoramas->statistics().gaps, 1u);
  EXPECT_EQ(panoramas->size(), 6u);
  EXPECT_EQ(RecordNearest(*panoramas, At(0, 20)).links.size(), 1u);
}

TEST(StreetPanoramas, AStreetRunsOnAcrossLongitude180) {
  Street street;
  street.points = {{{10.0, 179.9998}, NodeKey::OfNumber(1)},
                   {{10.0, -179.9998}, NodeKey::OfNumber(2)}};
  const std::unique_ptr<StreetPanoramas> panoramas = Build({street});
  EXPECT_EQ(panoramas->size(), 5u);
  for (std::size_t i = 0; i < panoramas->size(); ++i) {
    EXPECT_TRUE(IsValidLatLng(panoramas->PlaceOf(i)));
    EXPECT_GT(std::fabs(panoramas->PlaceOf(i).lng_deg), 179.999);
  }
}

TEST(StreetPanoramas, StoreysOnOnePlaceStayApartAndKnowEachOther) {
  const auto line = [](const std::vector<double>& norths, std::int32_t storey,
                       const std::string& id) {
    Street street;
    street.level = {id, storey, "Level " + id, id};
    for (const double north : norths) {
      street.points.push_back({At(0, north), NodeKey::OfPlace(At(0, north), storey)});
    }
    return street;
  };
  Street stair = line({0, 30}, 0, "0");
  stair.points[1].key = NodeKey::OfPlace(At(0, 30), 1);
  Street open = StreetThrough({{0, -40}, {0, 0}});
  const std::unique_ptr<StreetPanoramas> panoramas =
      Build({open, stair, line({0, 30, 60}, 1, "1")});
  int upper = 0;
  int lower = 0;
  for (const auto& [id, record] : Records(*panoramas)) {
    EXPECT_EQ(record.scene, 1);
    if (record.level_id.empty()) {
      EXPECT_TRUE(record.levels.empty());
      continue;
    }
    ++(record.level_id == "1" ? upper : lower);
    ASSERT_EQ(record.levels.size(), 2u);
    EXPECT_EQ(record.levels[0].level_id, "0");
    EXPECT_EQ(record.levels[1].level_id, "1");
    EXPECT_EQ(record.levels[record.level_id == "1" ? 1 : 0].pano_id, id);
    for (const PanoLevel& level : record.levels) {
      EXPECT_EQ(Records(*panoramas).at(level.pano_id).level_id, level.level_id);
    }
  }
  EXPECT_EQ(upper, 7);
  EXPECT_EQ(lower, 3);
}

TEST(StreetPanoramas, HouseNumbersRiseAlongTheStreet) {
  Street street = StreetThrough({{0, 0}, {0, 100}});
  street.first_number = 1;
  const std::unique_ptr<StreetPanoramas> panoramas = Build({street});
  EXPECT_EQ(RecordNearest(*panoramas, At(0, 0)).street_range, "1-2");
  EXPECT_EQ(RecordNearest(*panoramas, At(0, 50)).street_range, "9-10");
  EXPECT_EQ(RecordNearest(*panoramas, At(0, 100)).street_range, "17-18");
}

TEST(StreetPanoramas, IdsDoNotDependOnOtherStreets) {
  const Street street = StreetThrough({{0, 0}, {0, 100}});
  const std::map<std::string, PanoRecord> alone = Records(*Build({street}));
  const std::map<std::string, PanoRecord> together =
      Records(*Build({street, StreetThrough({{300, 0}, {400, 0}})}));
  for (const auto& [id, record] : alone) {
    ASSERT_EQ(together.count(id), 1u);
    EXPECT_EQ(together.at(id).place, record.place);
  }
}

TEST(StreetPanoramas, StopsWhenToldTo) {
  StreetPanoramas::Options options;
  options.on_progress = [](std::uint64_t, std::uint64_t) { return false; };
  std::unique_ptr<StreetPanoramas> panoramas;
  EXPECT_EQ(StreetPanoramas::Build({StreetThrough({{0, 0}, {0, 50}})}, options, &panoramas),
            StreetPanoramas::Outcome::kCancelled);
  EXPECT_EQ(panoramas, nullptr);
}

TEST(StreetPanoramas, RefusesMoreThanItMayHold) {
  StreetPanoramas::Options options;
  options.max_panoramas = 100;
  std::unique_ptr<StreetPanoramas> panoramas;
  EXPECT_EQ(StreetPanoramas::Build({StreetThrough({{0, 0}, {0, 5000}})}, options, &panoramas),
            StreetPanoramas::Outcome::kTooMany);
  EXPECT_EQ(panoramas, nullptr);
}

TEST(StreetPanoramas, JunctionsSeeNoFacades) {
  StreetPanoramas::Options options;
  options.depth_maps = true;
  const std::unique_ptr<StreetPanoramas> panoramas = Build(
      {StreetThrough({{-50, 0}, {0, 0}, {50, 0}}), StreetThrough({{0, 0}, {0, 50}})}, options);
  // The plane count stands behind the first byte.
  EXPECT_EQ(RecordNearest(*panoramas, At(0, 0)).depth_map[1], 2);
  EXPECT_EQ(RecordNearest(*panoramas, At(20, 0)).depth_map[1], 4);
}

}  // namespace
}  // namespace pelorin
