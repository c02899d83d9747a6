// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <iterator>
#include <random>

#include "tests/support/log_recorder.h"
#include "tests/util/geometry3d/mesh/extrusion_twin.h"
#include "util/geometry3d/mesh/building_z_shape.h"

namespace geometry3d {
namespace {

using test_support::ExtrusionTwin;

// Points on a small grid, so that walls often repeat a point, go straight on, turn at a right angle
// or go back, in contours that now and then do not fit the points.
void FillOnGrid(std::mt19937* random, PolygonZ* polygon) {
  const auto below = [random](unsigned limit) { return static_cast<int>((*random)() % limit); };
  for (int contours = 1 + below(3); contours > 0; --contours) {
    const int size = 1 + below(7);
    for (int i = 0; i < size; ++i) {
      polygon->mutable_points()->emplace_back(below(5), below(5));
    }
    polygon->mutable_contour_sizes()->push_back(below(20) == 0 ? below(9) : size);
  }
  while (polygon->points().size() < 3) {
    polygon->mutable_points()->emplace_back(below(5), below(5));
    ++polygon->mutable_contour_sizes()->back();
  }
  *polygon->mutable_triangle_indices() = {0, 1, 2};
  polygon->set_z(below(10));
}

TEST(BuildingExtrusion, IsWhatTheWallsGiveOneByOne) {
  std::mt19937 random(20261121);
  const float thresholds[] = {-2.0f, -1.0f, -0.5f, 0.0f, 0.5f, 0.70710677f, 0.8f, 1.0f, 2.0f};
  int good = 0;
  constexpr int kRounds = 5000;
  for (int round = 0; round < kRounds; ++round) {
    const test_support::LogRecorder log;
    BuildingZ building;
    PolygonZ* const polygon = building.AddNewPolygon();
    FillOnGrid(&random, polygon);
    const float threshold = thresholds[random() % std::size(thresholds)];
    const ExtrusionTwin twin(*polygon, -3.0, threshold);
    Shape shape;
    ASSERT_EQ(
        BuildingZShape::CreateShape(building, nullptr, nullptr, -3.0, true, threshold, &shape),
        twin.good);
    ASSERT_EQ(log.lines().size(), twin.good ? 0u : 1u) << round;
    ASSERT_EQ(shape.points(), twin.points) << round;
    ASSERT_EQ(shape.normals(), twin.normals) << round;
    ASSERT_EQ(shape.index_sets().size(), 2u);
    ASSERT_EQ(shape.index_sets()[0]->point_indices(), twin.point_indices) << round;
    ASSERT_EQ(shape.index_sets()[0]->normal_indices(), twin.normal_indices) << round;
    ASSERT_EQ(shape.index_sets()[1]->point_indices(), twin.line_indices) << round;
    good += twin.good ? 1 : 0;
  }
  // Both ends are met often.
  EXPECT_GT(good, kRounds / 2);
  EXPECT_LT(good, kRounds - kRounds / 50);
}

}  // namespace
}  // namespace geometry3d
