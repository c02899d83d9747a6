// SPDX-License-Identifier: Apache-2.0
#include "spatial/graph/multi_constraint_builder.h"

#include <cmath>
#include <iterator>
#include <mutex>
#include <new>

#include "host/geodesy.h"
#include "host/text.h"
#include "spatial/graph/flat_azimuth.h"
#include "spatial/graph/heading_correction.h"
#include "spatial/graph/plane.h"
#include "spatial/panorama/pelorin_spatial_options.h"

namespace nimbara {
namespace spatial {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kNothingHolds = std::numeric_limits<double>::max();

Vec2<double> PlaceOf(const PanoramaData& pano) {
  return {pano.position.x, pano.position.y};
}

double SquaredDistance(const Vec2<double>& a, const Vec2<double>& b) {
  const Vec2<double> difference = Minus(a, b);
  return Dot(difference, difference);
}

}  // namespace

MultiConstraintBuilder::MultiConstraintBuilder(const PanoGraph& walked_graph)
    : graph(&walked_graph), best_constraint(constraints.begin()) {}

MultiConstraintBuilder::~MultiConstraintBuilder() = default;

void MultiConstraintBuilder::SetActivePano(const QString& id, double scale, double offset) {
  if (id == active_pano_id) {
    return;
  }
  std::lock_guard<SpinLock> hold(graph->lock);
  DeleteConstraintBuilders();
  active_pano_id = id;
  width_scale = scale;
  width_offset = offset;
  active_pano = graph->GetPanoramaData(active_pano_id);
  if (active_pano == nullptr) {
    collision_depth = kNothingHolds;
    return;
  }
  active_position = PlaceOf(*active_pano);
  FindCornersLocked();
  mmvector<edge> edges(HeapManager::GetTransientHeap());
  graph->GetLinks(active_pano_id, 2, &edges);
  for (const edge& link : edges) {
    CreateConstraint(link);
  }
  SetView(view_position, heading);
}

void MultiConstraintBuilder::SetView(const Vec2<double>& position, double view_heading) {
  view_position = position;
  heading = view_heading;
  if (active_pano == nullptr) {
    return;
  }
  std::lock_guard<SpinLock> hold(graph->lock);
  ConstraintBuilder::UpdateAll(constraints.data(), constraints.size(), view_position);
  if (!TakeBestConstraint()) {
    collision_depth = kNothingHolds;
    return;
  }
  AddFilletsLocked();
}

// A depth that is not a number must lose, so it is never asked whether it is not greater.
bool MultiConstraintBuilder::TakeBestConstraint() {
  best_constraint = constraints.end();
  double best = -std::numeric_limits<double>::max();
  for (auto it = constraints.begin(); it != constraints.end(); ++it) {
    if (!(*it)->geometry_valid) {
      continue;
    }
    const double depth = (*it)->GetCollisionDepth(width_scale, width_offset);
    if (depth > best) {
      best = depth;
      best_constraint = it;
    }
  }
  if (best_constraint == constraints.end()) {
    return false;
  }
  collision_depth = best;
  collision_normal = (*best_constraint)->normal;
  collision_point = (*best_constraint)->GetCollisionPoint(width_scale, width_offset);
  return true;
}

void MultiConstraintBuilder::AddFilletsLocked() {
  if (corners_as_of_ != graph->changes()) {
    FindCornersLocked();
  }
  for (Corner& corner : corners_) {
    AddFilletAt(&corner);
  }
}

// A graph has more views than changes, and its edges lie far apart in memory.
void MultiConstraintBuilder::FindCornersLocked() {
  corners_.clear();
  corners_as_of_ = graph->changes();
  void* active = nullptr;
  if (!graph->GetHandle(active_pano_id, &active)) {
    return;
  }
  if (const PanoramaData* current = graph->graph[active].data.get()) {
    active_pano = current;
    corners_.push_back(Corner(current));
  }
  for (auto edges = boost::out_edges(active, graph->graph); edges.first != edges.second;
       ++edges.first) {
    if (const PanoramaData* neighbour = graph->graph[edges.first->m_target].data.get()) {
      corners_.push_back(Corner(neighbour));
    }
  }
}

void MultiConstraintBuilder::AddCollisionFillet(const PanoramaData* pano) {
  Corner corner(pano);
  AddFilletAt(&corner);
}

void MultiConstraintBuilder::AddFilletAt(Corner* corner) {
  const PanoramaData* pano = corner->pano;
  if (pano == nullptr || pano->links.size() < 2 || !fillets_enabled) {
    return;
  }
  const Vec2<double> place = PlaceOf(*pano);
  const double half_width = width_scale * pano->collision_radius + width_offset;
  const double reach =
      static_cast<double>(PelorinSpatialOptions::s_settings_.fillet_width_mult.Get()) * half_width;
  if (SquaredDistance(view_position, place) > reach * reach) {
    return;
  }
  const double azimuth = FlatAzimuth(pano->position, {view_position.x, view_position.y, 0.0});
  CollisionCorner& shape = corner->shape;
  if (!corner->HoldsView(azimuth) || !(shape.place == place) || shape.half_width != half_width ||
      shape.reach != reach) {
    shape.place = place;
    shape.half_width = half_width;
    shape.reach = reach;
    FindWedge(azimuth, corner);
  }
  if (!corner->has_fillet) {
    return;
  }
  const Vec2<double> outward = Minus(view_position, corner->fillet.centre);
  const double depth = Length(outward) - corner->fillet.radius;
  if (depth > collision_depth) {
    collision_depth = depth;
    collision_normal = Normalised(outward);
    collision_point = Along(corner->fillet.centre, collision_normal, corner->fillet.radius);
  }
}

// Bearings that are no numbers leave a wedge that holds no view, and is looked for each time.
void MultiConstraintBuilder::FindWedge(double azimuth, Corner* corner) const {
  corner->has_fillet = false;
  std::lock_guard<SpinLock> hold(graph->lock);
  const NearestLinks nearest = FindNearestLinksLocked(*corner->pano, azimuth);
  corner->is_wedge_known = nearest.before != nullptr;
  if (!corner->is_wedge_known) {
    return;
  }
  corner->before_azimuth = nearest.before->first;
  corner->after_azimuth = nearest.after->first;
  corner->is_across_south = nearest.are_ends;
  const QString& before = nearest.before->second;
  const QString& after = nearest.after->second;
  if (before.isEmpty() || after.isEmpty() || before == after) {
    return;
  }
  const PanoramaData* before_pano = graph->GetPanoramaData(before);
  const PanoramaData* after_pano = graph->GetPanoramaData(after);
  if (before_pano == nullptr || after_pano == nullptr) {
    return;
  }
  CollisionCorner& shape = corner->shape;
  shape.before = Normalised(Minus(PlaceOf(*before_pano), shape.place));
  shape.after = Normalised(Minus(PlaceOf(*after_pano), shape.place));
  corner->has_fillet = MakeCollisionFillet(shape, &corner->fillet);
}

bool MultiConstraintBuilder::Corner::HoldsView(double azimuth) const {
  const bool is_behind_before = azimuth > before_azimuth;
  const bool is_up_to_after = azimuth <= after_azimuth;
  return is_wedge_known && (is_across_south ? is_behind_before || is_up_to_after
                                            : is_behind_before && is_up_to_after);
}

// Beyond the last bearing and before the first, which lie on both sides of south, the two ends of
// the list are the nearest.
MultiConstraintBuilder::NearestLinks
MultiConstraintBuilder::FindNearestLinksLocked(const PanoramaData& pano, double azimuth) const {
  graph->UpdateConnectionLookupMap(pano.pano_id);
  const auto& lookup = pano.connection_lookup;
  NearestLinks nearest;
  if (lookup.empty()) {
    return nearest;
  }
  const auto next = lookup.lower_bound(azimuth);
  nearest.are_ends = next == lookup.begin() || next == lookup.end();
  nearest.before = nearest.are_ends ? &*lookup.rbegin() : &*std::prev(next);
  nearest.after = nearest.are_ends ? &*lookup.begin() : &*next;
  return nearest;
}

void MultiConstraintBuilder::GetNearestAngleLinks(const PanoramaData* pano, QString* before,
                                                  QString* after) const {
  *before = QString();
  *after = QString();
  if (pano == nullptr) {
    return;
  }
  std::lock_guard<SpinLock> hold(graph->lock);
  const NearestLinks nearest = FindNearestLinksLocked(
      *pano, FlatAzimuth(pano->position, {view_position.x, view_position.y, 0.0}));
  if (nearest.before != nullptr) {
    *before = nearest.before->second;
    *after = nearest.after->second;
  }
}

double MultiConstraintBuilder::CalculateHeadingRestoreDelta() const {
  const ConstraintBuilder* best = Best();
  if (best == nullptr) {
    return 0.0;
  }
  const double street =
      static_cast<double>(ComputeFlatMapCompassHeading(best->start, best->end)) * (kPi / 180.0);
  double delta = BroughtIntoHalfTurns(street - heading);
  if (std::abs(delta) > kPi / 2.0) {
    delta = BroughtIntoHalfTurns(street + kPi - heading);
  }
  return LimitedHeadingCorrection(delta);
}

Vec2<double> MultiConstraintBuilder::CalculateClosestPositionOnLink() const {
  const ConstraintBuilder* best = Best();
  return best == nullptr ? view_position : best->closest_point;
}

const QString& MultiConstraintBuilder::GetBestPano() const {
  const ConstraintBuilder* best = Best();
  if (best == nullptr) {
    return QStringNull();
  }
  const bool source_is_nearer =
      SquaredDistance(view_position, best->start) < SquaredDistance(view_position, best->end);
  std::lock_guard<SpinLock> hold(graph->lock);
  return graph->graph[source_is_nearer ? best->link.m_source : best->link.m_target].id;
}

void MultiConstraintBuilder::CreateConstraint(edge link) {
  auto* constraint = new (HeapManager::GetDynamicHeap()) ConstraintBuilder(graph);
  constraint->SetLink(link);
  constraints.push_back(constraint);
  best_constraint = constraints.end();
}

// Clearing the list would keep its block, and shrinking would give up the room inside the object.
void MultiConstraintBuilder::DeleteConstraintBuilders() {
  for (ConstraintBuilder* constraint : constraints) {
    delete constraint;
  }
  constraints.~Constraints();
  new (&constraints) Constraints();
  best_constraint = constraints.end();
}

const ConstraintBuilder* MultiConstraintBuilder::Best() const {
  return best_constraint == constraints.end() ? nullptr : *best_constraint;
}

}  // namespace spatial
}  // namespace nimbara
