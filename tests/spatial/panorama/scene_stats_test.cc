// SPDX-License-Identifier: Apache-2.0
#include "spatial/panorama/scene_stats.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace nimbara {
namespace spatial {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kDefaultFov = 1.0471975511965976;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

std::string Events(int viewpoints, int fovs, int panoramas) {
  SceneStats stats;
  stats.num_viewpoints = viewpoints;
  stats.num_fovs = fovs;
  stats.num_panoramas = panoramas;
  return stats.FormatEvents().toStdString();
}

TEST(SceneStats, StartsWithoutCountsAt60Degrees) {
  const SceneStats stats;
  EXPECT_EQ(stats.num_viewpoints, 0);
  EXPECT_EQ(stats.num_panoramas, 0);
  EXPECT_EQ(stats.num_fovs, 0);
  EXPECT_EQ(stats.last_tilt, 0.0);
  EXPECT_EQ(stats.last_heading, 0.0);
  EXPECT_EQ(stats.last_fov, kDefaultFov);
}

TEST(SceneStats, WritesEachKindWithItsCode) {
  EXPECT_EQ(Events(3, 0, 0), "0;3");
  EXPECT_EQ(Events(0, 5, 0), "1;5");
  EXPECT_EQ(Events(0, 0, 7), "2;7");
}

TEST(SceneStats, WritesAllKindsInTheirFixedOrder) {
  EXPECT_EQ(Events(3, 0, 1), "0;3;2;1");
  EXPECT_EQ(Events(11, 12, 13), "0;11;1;12;2;13");
}

TEST(SceneStats, WritesNothingWithoutCounts) {
  EXPECT_EQ(Events(0, 0, 0), "");
}

TEST(SceneStats, CountsAFovThatDoubledOrHalved) {
  const SceneStats stats;
  EXPECT_TRUE(stats.IsNewFov(2.0 * kDefaultFov));
  EXPECT_TRUE(stats.IsNewFov(kPi * 2.0 / 3.0));
  EXPECT_FALSE(stats.IsNewFov(std::nextafter(2.0 * kDefaultFov, 0.0)));
  EXPECT_TRUE(stats.IsNewFov(kDefaultFov / 2.0));
  EXPECT_TRUE(stats.IsNewFov(kPi / 6.0));
  EXPECT_FALSE(stats.IsNewFov(std::nextafter(kDefaultFov / 2.0, 1.0)));
  EXPECT_FALSE(stats.IsNewFov(kDefaultFov));
}

TEST(SceneStats, CountsAViewThatMovedByMoreThanHalfTheFov) {
  const SceneStats stats;
  EXPECT_TRUE(stats.IsNewViewpoint(0.51, 0.0, 1.0));
  EXPECT_FALSE(stats.IsNewViewpoint(0.49, 0.0, 1.0));
  EXPECT_TRUE(stats.IsNewViewpoint(0.0, -0.51, 1.0));
  EXPECT_FALSE(stats.IsNewViewpoint(2.0 * kPi, 0.0, 1.0));
}

TEST(SceneStats, MeasuresHeadingsOnTheSphere) {
  SceneStats stats;
  stats.last_tilt = 1.5;  // Nearly straight up, a half turn is a small step.
  EXPECT_FALSE(stats.IsNewViewpoint(kPi, 1.5, 1.0));
  EXPECT_TRUE(stats.IsNewViewpoint(kPi, 1.5, 0.25));
}

TEST(SceneStats, FindsNoMoveBetweenEqualDirections) {
  // Among these are directions whose cosine rounds to more than 1.
  std::mt19937 random(20261121);
  std::uniform_real_distribution<double> angle(-kPi, kPi);
  int beyond = 0;
  for (int i = 0; i < 10000; ++i) {
    SceneStats stats;
    stats.last_heading = angle(random);
    stats.last_tilt = angle(random) / 2.0;
    const double s = std::sin(stats.last_tilt);
    const double c = std::cos(stats.last_tilt);
    beyond += s * s + c * c > 1.0 ? 1 : 0;
    ASSERT_FALSE(stats.IsNewViewpoint(stats.last_heading, stats.last_tilt, 1e-3));
  }
  EXPECT_GT(beyond, 0);
}

TEST(SceneStats, CountsNothingForAFirstViewAtTheStart) {
  SceneStats stats;
  stats.NewViewEvent(0.0, 0.0, kDefaultFov);
  EXPECT_EQ(stats.FormatEvents(), "");
}

TEST(SceneStats, CountsOneViewTwiceWhereBothAreNew) {
  SceneStats stats;
  stats.NewViewEvent(1.0, 0.0, 0.5);
  EXPECT_EQ(stats.FormatEvents(), "0;1;1;1");
}

TEST(SceneStats, TestsTheViewpointWithTheNewFov) {
  SceneStats narrow;
  narrow.NewViewEvent(0.3, 0.0, 0.5);  // More than half of 0.5, less than half of 60 degrees.
  EXPECT_EQ(narrow.num_viewpoints, 1);
  SceneStats wide;
  wide.NewViewEvent(0.6, 0.0, 2.2);  // Less than half of 2.2, more than half of 60 degrees.
  EXPECT_EQ(wide.num_viewpoints, 0);
  EXPECT_EQ(wide.num_fovs, 1);
}

TEST(SceneStats, TestsTheViewpointWithAFovThatDoesNotCount) {
  SceneStats stats;
  stats.NewViewEvent(0.4, 0.0, 0.6);
  EXPECT_EQ(stats.num_fovs, 0);
  EXPECT_EQ(stats.num_viewpoints, 1);
}

TEST(SceneStats, KeepsOnlyWhatCounted) {
  SceneStats stats;
  stats.NewViewEvent(0.1, 0.2, 0.6);
  EXPECT_EQ(stats.last_heading, 0.0);
  EXPECT_EQ(stats.last_tilt, 0.0);
  EXPECT_EQ(stats.last_fov, kDefaultFov);
  stats.NewViewEvent(0.1, 0.2, 0.5);
  EXPECT_EQ(stats.last_fov, 0.5);
  EXPECT_EQ(stats.last_heading, 0.0);
  stats.NewViewEvent(0.1, 0.3, 0.5);
  EXPECT_EQ(stats.last_heading, 0.1);
  EXPECT_EQ(stats.last_tilt, 0.3);
}

TEST(SceneStats, AddsASlowDriftUp) {
  SceneStats stats;
  for (int i = 1; i <= 100; ++i) {
    stats.NewViewEvent(0.01 * i, 0.0, kDefaultFov);
  }
  EXPECT_EQ(stats.num_viewpoints, 1);
  EXPECT_NEAR(stats.last_heading, 0.53, 1e-9);
}

TEST(SceneStats, TakesNoNumbersThatAreNone) {
  SceneStats stats;
  stats.NewViewEvent(kNaN, 0.0, 1.0);
  stats.NewViewEvent(0.0, kNaN, 1.0);
  stats.NewViewEvent(3.0, 0.0, kNaN);
  EXPECT_EQ(stats.FormatEvents(), "");
  EXPECT_EQ(stats.last_fov, kDefaultFov);
  EXPECT_EQ(stats.last_heading, 0.0);
}

TEST(SceneStats, TakesTheSlightestTurnOfANegativeFov) {
  const SceneStats stats;
  EXPECT_TRUE(stats.IsNewViewpoint(0.0, 0.0, -1.0));
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
