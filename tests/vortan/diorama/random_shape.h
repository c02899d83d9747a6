// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <random>
#include <vector>

#include "util/geometry3d/mesh/shape.h"

namespace test_support {

/// Makes shapes of every kind: all formats, delimiters at odd places, several index sets that share
/// entries, pools that are empty or hold entries that nothing refers to, and values from tiny to so
/// far apart that they just fit 30 bits.
class RandomShape {
 public:
  explicit RandomShape(unsigned start) : random_(start) {}

  /// Entries that no index names, of the types that have them, come at random.
  void Fill(geometry3d::Shape* shape) {
    const double spread = Pick({0.0, 1e-4, 1.0, 1000.0, 1000000.0});
    const double center = Pick({0.0, 0.0, -1.0, 5e5});
    shape->mutable_points()->resize(Below(40));
    for (auto& point : *shape->mutable_points()) {
      point = {center + spread * Unit(), center + spread * Unit(), spread * Unit()};
    }
    shape->mutable_normals()->resize(Below(3) * Below(20));
    for (auto& normal : *shape->mutable_normals()) {
      normal = {static_cast<float>(Unit()), static_cast<float>(Unit()),
                Below(2) != 0 ? 1.0f : -0.0f};
    }
    shape->mutable_tex_coords()->resize(Below(3) * Below(20));
    for (auto& tex_coord : *shape->mutable_tex_coords()) {
      tex_coord = {static_cast<float>(Unit()), static_cast<float>(Unit() * spread)};
    }
    for (std::size_t i = Below(5); i > 0; --i) {
      geometry3d::IndexSet* const set = shape->AddNewIndexSet();
      set->set_format(static_cast<int>(Below(6)));
      set->set_material_index(static_cast<int>(Below(4)) - 1);
      const std::size_t size = Below(2) * Below(60);
      Indices(shape->points().size(), size, set->mutable_point_indices());
      Indices(shape->normals().size(), size, set->mutable_normal_indices());
      Indices(shape->tex_coords().size(), size, set->mutable_tex_coord_indices());
    }
  }

  std::size_t Below(std::size_t bound) { return random_() % bound; }

 private:
  double Unit() { return static_cast<double>(random_()) / 4294967295.0 * 2 - 1; }
  double Pick(const std::vector<double>& choices) { return choices[Below(choices.size())]; }
  // Some indices are drawn from few entries and some go on in order, as those of strips do.
  void Indices(std::size_t entries, std::size_t size, std::vector<int>* indices) {
    if (entries == 0) {
      return;
    }
    std::size_t next = Below(entries);
    for (std::size_t i = 0; i < size; ++i) {
      next = Below(3) == 0 ? Below(entries) : (next + 1) % entries;
      indices->push_back(Below(8) == 0 ? -1 : static_cast<int>(next));
    }
  }

  std::mt19937 random_;
};

}  // namespace test_support
