// SPDX-License-Identifier: Apache-2.0
#include "util/geometry3d/mesh/building_z_shape.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "base/logging.h"

namespace geometry3d {
namespace {

using Normal = Vector3<float>;

constexpr double kDefaultBaseZ = 0.0;
constexpr float kDefaultCreaseThreshold = 0.8f;

// Room for `count` more. Growth stays geometric, which `reserve` alone would not keep for a
// building of many small polygons.
template <typename T>
void MakeRoom(std::vector<T>* values, std::size_t count) {
  const std::size_t wanted = values->size() + count;
  if (wanted > values->capacity()) {
    values->reserve(std::max(wanted, 2 * values->capacity()));
  }
}

// An index of a damaged record may be any number: the sum wraps.
int Shifted(int base, int index) {
  return static_cast<int>(static_cast<unsigned>(base) + static_cast<unsigned>(index));
}

// To the right of the way from `a` to `b`; zero where there is no way.
Normal WallNormal(const Vector2<double>& a, const Vector2<double>& b) {
  const double dx = b.x - a.x;
  const double dy = b.y - a.y;
  const double length = std::sqrt(dx * dx + dy * dy);
  if (length == 0.0) {
    return Normal(0.0f, 0.0f, 0.0f);
  }
  return Normal(static_cast<float>(dy / length), static_cast<float>(-dx / length), 0.0f);
}

Normal HalfWay(const Normal& a, const Normal& b) {
  return Normal(a.x + b.x, a.y + b.y, 0.0f).Normalize();
}

// In `float`, as the threshold is: the same product in `double` decides otherwise at the edge.
bool IsCrease(float threshold, const Normal& a, const Normal& b) {
  return threshold > a.x * b.x + a.y * b.y;
}

int CopyMaterial(const Material& material, Shape* shape) {
  const int index = static_cast<int>(shape->materials().size());
  shape->AddNewMaterial()->CopyFrom(material);
  return index;
}

// Extrudes one polygon into a shape.
class Extruder {
 public:
  Extruder(const PolygonZ& polygon, float crease_threshold, Shape* shape)
      : points_(polygon.points()), count_(static_cast<int>(polygon.points().size())),
        polygon_(polygon), crease_threshold_(crease_threshold),
        shape_points_(*shape->mutable_points()), normals_(*shape->mutable_normals()) {}

  void AddRings(double base_z) {
    MakeRoom(&shape_points_, 2 * points_.size());
    top_ = static_cast<int>(shape_points_.size());
    AddRing(polygon_.z());
    bottom_ = static_cast<int>(shape_points_.size());
    AddRing(base_z);
  }

  void AddRoof(IndexSet* triangles) {
    const int up_normal = AddNormal(Normal(0.0f, 0.0f, 1.0f));
    const std::vector<int>& indices = polygon_.triangle_indices();
    // The roof and six indices for each wall.
    const std::size_t room = indices.size() + 6 * points_.size();
    triangles->mutable_point_indices()->reserve(room);
    triangles->mutable_normal_indices()->reserve(room);
    for (const int index : indices) {
      triangles->mutable_point_indices()->push_back(Shifted(top_, index));
      triangles->mutable_normal_indices()->push_back(up_normal);
    }
  }

  // False where the contours do not cover the points. `lines` may be null.
  bool AddWalls(IndexSet* triangles, IndexSet* lines) {
    const std::vector<int>& sizes = polygon_.contour_sizes();
    MakeRoom(&normals_, points_.size());
    if (lines != nullptr) {
      // Top and bottom of each wall; verticals come on top.
      lines->mutable_point_indices()->reserve(6 * points_.size());
    }
    std::size_t contour = 0;
    for (int start = 0; start < count_; ++contour) {
      if (contour == sizes.size() || sizes[contour] <= 0 || sizes[contour] > count_ - start) {
        PELORIN_LOG_ERROR() << "PolygonZ contour size mismatch";
        return false;
      }
      AddContour(start, sizes[contour], triangles, lines);
      start += sizes[contour];
    }
    return true;
  }

 private:
  void AddRing(double z) {
    for (const Vector2<double>& point : points_) {
      shape_points_.push_back(Vector3<double>(point.x, point.y, z));
    }
  }

  int AddNormal(const Normal& normal) {
    normals_.push_back(normal);
    return LastNormal();
  }
  int LastNormal() const { return static_cast<int>(normals_.size()) - 1; }

  const Vector2<double>& PointAt(int i) const { return points_[static_cast<std::size_t>(i)]; }

  // The walls of the `size` points from `start` on, 1 or more, which close on `start`.
  void AddContour(int start, int size, IndexSet* triangles, IndexSet* lines) {
    const int end = start + size;
    const auto following = [start, end](int i) { return i + 1 == end ? start : i + 1; };
    const int first_normal = LastNormal() + 1;
    Normal before = WallNormal(PointAt(end - 1), PointAt(start));
    Normal cur = WallNormal(PointAt(start), PointAt(following(start)));
    bool crease_here = IsCrease(crease_threshold_, before, cur);
    for (int i = start; i < end; ++i) {
      const int next = following(i);
      const Normal ahead = WallNormal(PointAt(next), PointAt(following(next)));
      const bool crease_next = IsCrease(crease_threshold_, cur, ahead);

      int left;
      if (crease_here) {
        left = AddNormal(cur);
      } else if (i != start) {
        // What the wall before ended with.
        left = LastNormal();
      } else {
        left = AddNormal(HalfWay(cur, before));
      }
      int right;
      if (crease_next) {
        right = crease_here ? left : AddNormal(cur);
      } else if (next != start) {
        right = AddNormal(HalfWay(ahead, cur));
      } else {
        right = first_normal;
      }
      AddQuad(i, next, left, right, triangles);
      if (lines != nullptr) {
        AddLines(i, next, crease_here, lines);
      }
      before = cur;
      cur = ahead;
      crease_here = crease_next;
    }
  }

  void AddQuad(int i, int next, int left, int right, IndexSet* triangles) const {
    const int points[] = {top_ + i, bottom_ + i,    bottom_ + next,
                          top_ + i, bottom_ + next, top_ + next};
    const int normals[] = {left, left, right, left, right, right};
    std::vector<int>& point_indices = *triangles->mutable_point_indices();
    point_indices.insert(point_indices.end(), std::begin(points), std::end(points));
    std::vector<int>& normal_indices = *triangles->mutable_normal_indices();
    normal_indices.insert(normal_indices.end(), std::begin(normals), std::end(normals));
  }

  void AddLines(int i, int next, bool crease_here, IndexSet* lines) const {
    const int points[] = {top_ + i,       top_ + next, bottom_ + i,
                          bottom_ + next, top_ + i,    bottom_ + i};
    std::vector<int>& indices = *lines->mutable_point_indices();
    indices.insert(indices.end(), points, points + (crease_here ? 6 : 4));
  }

  const std::vector<Vector2<double>>& points_;
  const int count_;
  const PolygonZ& polygon_;
  const float crease_threshold_;
  std::vector<Vector3<double>>& shape_points_;
  std::vector<Normal>& normals_;
  // Where the rings begin among the shape's points.
  int top_ = 0;
  int bottom_ = 0;
};

bool CanBeExtruded(const PolygonZ& polygon) {
  const std::size_t indices = polygon.triangle_indices().size();
  return polygon.points().size() >= 3 && !polygon.contour_sizes().empty() && indices >= 3 &&
         indices % 3 == 0;
}

}  // namespace

bool BuildingZShape::CreateShape(const BuildingZ& building, const Material* material,
                                 const Material* crease_material, double base_z,
                                 bool add_crease_edges, float crease_threshold, Shape* shape) {
  PELORIN_CHECK(shape);
  if (shape == nullptr) {
    return false;
  }
  const int material_index = material != nullptr ? CopyMaterial(*material, shape) : -1;
  int crease_material_index = -1;
  if (crease_material != nullptr) {
    PELORIN_CHECK(add_crease_edges);
    crease_material_index = CopyMaterial(*crease_material, shape);
  }
  const std::vector<PolygonZ*>& polygons = building.polygons();
  for (std::size_t n = 0; n < polygons.size(); ++n) {
    const PolygonZ* const polygon = polygons[n];
    PELORIN_CHECK(polygon);
    if (polygon == nullptr) {
      continue;
    }
    if (polygon->triangle_indices().empty()) {
      PELORIN_LOG_ERROR() << "Polygon " << n << " has not been tessellated.";
      return false;
    }
    if (!CanBeExtruded(*polygon)) {
      continue;
    }
    Extruder extruder(*polygon, crease_threshold, shape);
    extruder.AddRings(base_z);
    IndexSet* const triangles = shape->AddNewIndexSet();
    triangles->set_material_index(material_index);
    IndexSet* lines = nullptr;
    if (add_crease_edges) {
      lines = shape->AddNewIndexSet();
      lines->set_format(IndexSet::kLines);
      lines->set_material_index(crease_material_index);
    }
    extruder.AddRoof(triangles);
    if (!extruder.AddWalls(triangles, lines)) {
      return false;
    }
  }
  return true;
}

bool BuildingZShape::CreateShapeWithDefaults(const BuildingZ& building, Shape* shape) {
  Material material;
  material.set_diffuse_color(Vector3<float>(0.68f, 0.66f, 0.68f));
  Material crease_material;
  crease_material.set_diffuse_color(Vector3<float>(1.0f, 0.86f, 0.68f));
  return CreateShape(building, &material, &crease_material, kDefaultBaseZ, true,
                     kDefaultCreaseThreshold, shape);
}

}  // namespace geometry3d
