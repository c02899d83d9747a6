// SPDX-License-Identifier: Apache-2.0
#include "apps/command/tour/corridor_shapes.h"

#include <cmath>
#include <mutex>

#include "apps/command/stored_place.h"
#include "spatial/graph/collision_fillet.h"
#include "spatial/graph/plane.h"
#include "spatial/panorama/pelorin_spatial_options.h"

namespace pelorin {
namespace command {
namespace {

using nimbara::Vec2;
using nimbara::spatial::CollisionCorner;
using nimbara::spatial::CollisionFillet;
using nimbara::spatial::PanoGraph;
using nimbara::spatial::PanoramaData;
using nimbara::spatial::PelorinSpatialOptions;

constexpr int kPartsOfHalfCircle = 8;
constexpr int kPartsOfArc = 10;

Vec2<double> OnCircle(const Vec2<double>& centre, double radius, double angle) {
  return {centre.x + radius * std::cos(angle), centre.y + radius * std::sin(angle)};
}

/// Appends the points from `first` through `first` + `sweep`, ends included; angles from the x
/// axis.
void AppendArc(const Vec2<double>& centre, double radius, double first, double sweep, int parts,
               std::vector<LatLng>* line) {
  for (int i = 0; i <= parts; ++i) {
    line->push_back(PlaceFromFlat(OnCircle(centre, radius, first + sweep * i / parts)));
  }
}

/// The part of the circle that faces the corner. It begins and ends square to the two links, where
/// the circle touches the edges of their corridors.
std::vector<LatLng> ArcOf(const CollisionFillet& fillet, const CollisionCorner& corner) {
  const double first = std::atan2(corner.before.x, -corner.before.y);
  const double last = std::atan2(-corner.after.x, corner.after.y);
  std::vector<LatLng> arc;
  AppendArc(fillet.centre, fillet.radius, first,
            nimbara::spatial::BroughtIntoHalfTurns(last - first), kPartsOfArc, &arc);
  return arc;
}

Vec2<double> TowardsUnit(const Vec2<double>& from, const PanoramaData& to) {
  return nimbara::spatial::Normalised(nimbara::spatial::Minus(FlatFrom(to.position), from));
}

std::string NameOf(const PanoramaData& pano) {
  return (pano.address.isEmpty() ? pano.text : pano.address).toStdString();
}

}  // namespace

std::vector<TourFillet> FilletsAt(const PanoGraph& graph, const QString& id, double width_scale) {
  const std::lock_guard<nimbara::SpinLock> hold(graph.lock);
  std::vector<TourFillet> fillets;
  const PanoramaData* const pano = graph.GetPanoramaData(id);
  if (pano == nullptr || pano->links.size() < 2) {
    return fillets;
  }
  graph.UpdateConnectionLookupMap(id);
  const auto& links = pano->connection_lookup;
  CollisionCorner corner;
  corner.place = FlatFrom(pano->position);
  corner.half_width = width_scale * pano->collision_radius;
  corner.reach = static_cast<double>(PelorinSpatialOptions::s_settings_.fillet_width_mult.Get()) *
                 corner.half_width;
  for (auto before = links.begin(); before != links.end(); ++before) {
    const auto next = std::next(before);
    const auto after = next == links.end() ? links.begin() : next;
    const PanoramaData* const before_pano = graph.GetPanoramaData(before->second);
    const PanoramaData* const after_pano = graph.GetPanoramaData(after->second);
    if (before_pano == nullptr || after_pano == nullptr || before_pano == after_pano) {
      continue;
    }
    corner.before = TowardsUnit(corner.place, *before_pano);
    corner.after = TowardsUnit(corner.place, *after_pano);
    CollisionFillet fillet;
    if (nimbara::spatial::MakeCollisionFillet(corner, &fillet)) {
      fillets.push_back({PlaceFromFlat(corner.place), NameOf(*pano),
                         fillet.radius * kMetresPerStoredUnit, ArcOf(fillet, corner)});
    }
  }
  return fillets;
}

void CopyCorridors(const PanoGraph& graph, const StreetCamera& camera, TourStreets* streets) {
  const std::lock_guard<nimbara::SpinLock> hold(graph.lock);
  const double metres = camera.width_scale() * kMetresPerStoredUnit;
  for (const auto& [a_id, b_id] : camera.links()) {
    const PanoramaData* const a = graph.GetPanoramaData(a_id);
    const PanoramaData* const b = graph.GetPanoramaData(b_id);
    if (a != nullptr && b != nullptr) {
      streets->corridors.push_back({PlaceFromStored(a->position), PlaceFromStored(b->position),
                                    a->collision_radius * metres, b->collision_radius * metres,
                                    (a->text.isEmpty() ? b->text : a->text).toStdString()});
    }
  }
  for (const QString& id : camera.corners()) {
    for (TourFillet& fillet : FilletsAt(graph, id, camera.width_scale())) {
      streets->fillets.push_back(std::move(fillet));
    }
  }
}

std::vector<LatLng> OutlineOf(const TourCorridor& corridor) {
  const Vec2<double> a = FlatFrom(corridor.a);
  const Vec2<double> b = FlatFrom(corridor.b);
  const double along = std::atan2(b.y - a.y, b.x - a.x);
  std::vector<LatLng> line;
  AppendArc(b, corridor.half_width_b_m / kMetresPerStoredUnit, along - kPi / 2.0, kPi,
            kPartsOfHalfCircle, &line);
  AppendArc(a, corridor.half_width_a_m / kMetresPerStoredUnit, along + kPi / 2.0, kPi,
            kPartsOfHalfCircle, &line);
  line.push_back(line.front());
  return line;
}

}  // namespace command
}  // namespace pelorin
