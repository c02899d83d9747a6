// SPDX-License-Identifier: Apache-2.0
#include "spatial/graph/constraint_builder.h"

#include <limits>
#include <mutex>

#include "spatial/graph/plane.h"

namespace nimbara {
namespace spatial {

ConstraintBuilder::ConstraintBuilder(const PanoGraph* guarded_graph)
    : graph(guarded_graph), link(nullptr, nullptr, nullptr) {}

ConstraintBuilder::~ConstraintBuilder() = default;

void ConstraintBuilder::SetLink(edge new_link) {
  if (new_link.get_property() == link.get_property()) {
    return;
  }
  has_link = true;
  geometry_valid = false;
  link = new_link;
  OnUpdate();
}

void ConstraintBuilder::EnsureLinkGeometryCalculated() {
  if (geometry_valid || link.m_source == nullptr || link.m_target == nullptr) {
    return;
  }
  std::lock_guard<SpinLock> hold(graph->lock);
  start_pano = graph->graph[link.m_source].data.get();
  end_pano = graph->graph[link.m_target].data.get();
  if (start_pano == nullptr || end_pano == nullptr) {
    return;
  }
  start = {start_pano->position.x, start_pano->position.y};
  end = {end_pano->position.x, end_pano->position.y};
  start_radius_ = start_pano->collision_radius;
  end_radius_ = end_pano->collision_radius;
  length = Length(Minus(end, start));
  direction = Normalised(Minus(end, start));
  geometry_valid = true;
}

void ConstraintBuilder::OnUpdate() {
  if (!has_link) {
    return;
  }
  EnsureLinkGeometryCalculated();
  if (!geometry_valid) {
    return;
  }
  const double projected = Dot(Minus(view_position, start), direction);
  const Vec2<double> along{direction.x * projected, direction.y * projected};
  t = Length(along) / length;
  if (Dot(direction, along) < 0.0) {
    t = -t;
  }
  if (t > 1.0) {
    width = end_radius_;
    UpdateFromPoint(end);
  } else if (t < 0.0) {
    width = start_radius_;
    UpdateFromPoint(start);
  } else {
    width = (1.0 - t) * start_radius_ + t * end_radius_;
    UpdateFromPoint({start.x + along.x, start.y + along.y});
  }
}

void ConstraintBuilder::UpdateFromPoint(const Vec2<double>& point) {
  closest_point = point;
  normal = Minus(point, view_position);
  distance = Length(normal);
  if (distance != 0.0) {
    normal = {normal.x / distance, normal.y / distance};
  }
}

double ConstraintBuilder::GetCollisionDepth() const {
  return geometry_valid ? width - distance : std::numeric_limits<double>::max();
}

double ConstraintBuilder::GetCollisionDepth(double scale, double offset) const {
  return geometry_valid ? (scale * width + offset) - distance : std::numeric_limits<double>::max();
}

Vec2<double> ConstraintBuilder::GetCollisionPoint() const {
  return Along(closest_point, normal, -width);
}

Vec2<double> ConstraintBuilder::GetCollisionPoint(double scale, double offset) const {
  return Along(closest_point, normal, -(scale * width + offset));
}

}  // namespace spatial
}  // namespace nimbara
