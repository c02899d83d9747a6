// SPDX-License-Identifier: Apache-2.0
#include "spatial/graph/constraint_builder.h"

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
  if (IsReady()) {
    Project();
    TakeNearest();
  }
}

// Which of three points is the nearest hangs on a root and a division. A processor guesses, and
// where it guessed wrong it throws away what it had begun of the links behind. So all roots come
// first, and the choices find them done.
void ConstraintBuilder::UpdateAll(ConstraintBuilder* const* builders, std::size_t count,
                                  const Vec2<double>& view) {
  for (std::size_t i = 0; i < count; ++i) {
    builders[i]->view_position = view;
    if (builders[i]->IsReady()) {
      builders[i]->Project();
    }
  }
  for (std::size_t i = 0; i < count; ++i) {
    if (builders[i]->has_link && builders[i]->geometry_valid) {
      builders[i]->TakeNearest();
    }
  }
}

bool ConstraintBuilder::IsReady() {
  if (has_link && !geometry_valid) {
    EnsureLinkGeometryCalculated();
  }
  return has_link && geometry_valid;
}

inline void ConstraintBuilder::Project() {
  const double projected = Dot(Minus(view_position, start), direction);
  along_ = {direction.x * projected, direction.y * projected};
  t = Length(along_) / length;
  if (Dot(direction, along_) < 0.0) {
    t = -t;
  }
}

inline void ConstraintBuilder::TakeNearest() {
  if (t > 1.0) {
    width = end_radius_;
    UpdateFromPoint(end);
  } else if (t < 0.0) {
    width = start_radius_;
    UpdateFromPoint(start);
  } else {
    width = (1.0 - t) * start_radius_ + t * end_radius_;
    UpdateFromPoint({start.x + along_.x, start.y + along_.y});
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

Vec2<double> ConstraintBuilder::GetCollisionPoint() const {
  return Along(closest_point, normal, -width);
}

Vec2<double> ConstraintBuilder::GetCollisionPoint(double scale, double offset) const {
  return Along(closest_point, normal, -(scale * width + offset));
}

}  // namespace spatial
}  // namespace nimbara
