// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "util/geometry3d/mesh/building_z.h"

namespace test_support {

/// A square house of side 1 and height 10, two triangles.
inline void FillHouse(geometry3d::PolygonZ* polygon) {
  using Place = geometry3d::Vector2<double>;
  *polygon->mutable_points() = {Place(0.0, 0.0), Place(1.0, 0.0), Place(1.0, 1.0), Place(0.0, 1.0)};
  *polygon->mutable_contour_sizes() = {4};
  *polygon->mutable_triangle_indices() = {0, 1, 2, 0, 2, 3};
  polygon->set_z(10.0);
}

/// A round tower: a regular polygon of `sides` points about the origin, a fan of triangles.
inline void FillTower(int sides, geometry3d::PolygonZ* polygon) {
  polygon->Clear();
  const double step = 2.0 * std::acos(-1.0) / sides;
  for (int i = 0; i < sides; ++i) {
    polygon->mutable_points()->push_back(
        geometry3d::Vector2<double>(5.0 * std::cos(step * i), 5.0 * std::sin(step * i)));
    if (i >= 2) {
      polygon->mutable_triangle_indices()->insert(polygon->mutable_triangle_indices()->end(),
                                                  {0, i - 1, i});
    }
  }
  *polygon->mutable_contour_sizes() = {sides};
  polygon->set_z(20.0);
}

/// A building of up to `max_polygons` records of any content whose coordinates and heights are
/// multiples of 2^-point_bits and fit a stream: contours and triangles need not fit the points.
inline void FillRandomBuilding(std::mt19937* random, int max_polygons, int point_bits,
                               geometry3d::BuildingZ* building) {
  const auto below = [random](int limit) {
    return std::uniform_int_distribution<int>(0, limit - 1)(*random);
  };
  // Small numbers and huge ones about as often.
  const auto number = [&below](int max_bits) { return below(1 << (1 + below(max_bits))); };
  const double step = std::pow(2.0, -point_bits);
  for (int polygons = below(max_polygons + 1); polygons > 0; --polygons) {
    geometry3d::PolygonZ* const polygon = building->AddNewPolygon();
    const int spread = 1 + below(29);
    for (int points = below(40); points > 0; --points) {
      const double x = step * (number(spread) - (1 << (spread - 1)));
      const double y = step * (number(spread) - (1 << (spread - 1)));
      polygon->mutable_points()->push_back(geometry3d::Vector2<double>(x, y));
    }
    polygon->set_z(step * (number(29) - (1 << 28)));
    for (int contours = below(4); contours > 0; --contours) {
      polygon->mutable_contour_sizes()->push_back(number(30));
    }
    const int index_bits = 1 + below(30);
    for (int indices = below(60); indices > 0; --indices) {
      polygon->mutable_triangle_indices()->push_back(number(index_bits));
    }
  }
}

}  // namespace test_support
