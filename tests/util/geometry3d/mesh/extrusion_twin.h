// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <cstddef>
#include <vector>

#include "util/geometry3d/mesh/building_z.h"
#include "util/geometry3d/mesh/vector.h"

namespace test_support {

/// The mesh of one polygon, wall by wall: each looks at its neighbours anew, and nothing but the
/// lists themselves is carried from one to the next.
class ExtrusionTwin {
 public:
  using Normal = geometry3d::Vector3<float>;

  ExtrusionTwin(const geometry3d::PolygonZ& polygon, double base_z, float threshold)
      : polygon_(polygon), size_(polygon.points().size()), threshold_(threshold) {
    for (const double z : {polygon.z(), base_z}) {
      for (const auto& point : polygon.points()) {
        points.emplace_back(point.x, point.y, z);
      }
    }
    normals.emplace_back(0.0f, 0.0f, 1.0f);
    for (const int index : polygon.triangle_indices()) {
      point_indices.push_back(index);
      normal_indices.push_back(0);
    }
    good = AddWalls();
  }

  bool good;
  std::vector<geometry3d::Vector3<double>> points;
  std::vector<Normal> normals;
  std::vector<int> point_indices;
  std::vector<int> normal_indices;
  std::vector<int> line_indices;

 private:
  // A contour of the polygon, with positions in it that wrap.
  struct Contour {
    std::size_t start;
    std::size_t size;
    std::size_t At(std::size_t i, std::size_t steps) const {
      return start + (i - start + steps) % size;
    }
  };

  bool AddWalls() {
    Contour contour{0, 0};
    std::size_t next_contour = 0;
    std::size_t first_normal = 0;
    for (std::size_t i = 0; i < size_; ++i) {
      if (i == contour.start + contour.size) {
        const std::vector<int>& sizes = polygon_.contour_sizes();
        if (next_contour == sizes.size() || sizes[next_contour] < 1) {
          return false;
        }
        contour = {i, static_cast<std::size_t>(sizes[next_contour])};
        if (i + contour.size > size_) {
          return false;
        }
        ++next_contour;
        first_normal = normals.size();
      }
      AddWall(contour, i, first_normal);
    }
    return true;
  }

  void AddWall(const Contour& contour, std::size_t i, std::size_t first_normal) {
    const std::size_t next = contour.At(i, 1);
    const Normal before = Across(contour.At(i, contour.size - 1), i);
    const Normal cur = Across(i, next);
    const Normal ahead = Across(next, contour.At(i, 2));
    const bool crease_here = threshold_ > Dot(before, cur);
    const bool crease_next = threshold_ > Dot(cur, ahead);
    std::size_t left = normals.size();
    if (crease_here) {
      normals.push_back(cur);
    } else if (i == contour.start) {
      normals.push_back((cur + before).Normalize());
    } else {
      left = normals.size() - 1;
    }
    std::size_t right = normals.size();
    if (crease_next && crease_here) {
      right = left;
    } else if (crease_next) {
      normals.push_back(cur);
    } else if (next != contour.start) {
      normals.push_back((ahead + cur).Normalize());
    } else {
      right = first_normal;
    }
    Append({i, size_ + i, size_ + next, i, size_ + next, next}, &point_indices);
    Append({left, left, right, left, right, right}, &normal_indices);
    Append({i, next, size_ + i, size_ + next}, &line_indices);
    if (crease_here) {
      Append({i, size_ + i}, &line_indices);
    }
  }

  static void Append(const std::vector<std::size_t>& from, std::vector<int>* to) {
    for (const std::size_t index : from) {
      to->push_back(static_cast<int>(index));
    }
  }

  Normal Across(std::size_t from, std::size_t to) const {
    const double dx = polygon_.points()[to].x - polygon_.points()[from].x;
    const double dy = polygon_.points()[to].y - polygon_.points()[from].y;
    const double length = std::sqrt(dx * dx + dy * dy);
    return length == 0.0
               ? Normal()
               : Normal(static_cast<float>(dy / length), static_cast<float>(-dx / length), 0.0f);
  }

  static float Dot(const Normal& a, const Normal& b) {
    const float x = a.x * b.x;
    const float y = a.y * b.y;
    return x + y;
  }

  const geometry3d::PolygonZ& polygon_;
  const std::size_t size_;
  const float threshold_;
};

}  // namespace test_support
