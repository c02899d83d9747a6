// SPDX-License-Identifier: Apache-2.0
#include "apps/command/tour/street_camera.h"

#include <algorithm>
#include <limits>

#include "apps/command/stored_place.h"
#include "spatial/panorama/panorama_data.h"

namespace pelorin {
namespace command {
namespace {

using nimbara::Vec2;
using nimbara::spatial::ConstraintBuilder;
using nimbara::spatial::PanoramaData;

// The edge of the area is where the depth is 0 but for rounding: a hundredth of a millimetre.
constexpr double kOnTheEdge = -1e-12;
// Where a fillet ends the depth steps a little, so one push back may not be enough.
constexpr int kMostPushesBack = 4;

/// Radii are in planet radii and taken as stored units, so metres come out pi times as large.
double ScaleFor(double half_width_m) {
  return half_width_m / (PanoramaData(QString()).collision_radius * kMetresPerStoredUnit);
}

}  // namespace

StreetCamera::StreetCamera(const nimbara::spatial::PanoGraph& graph, double half_width_m)
    : width_scale_(ScaleFor(half_width_m)), streets_(graph) {}

StreetCamera::~StreetCamera() {
  streets_.DeleteConstraintBuilders();
}

void StreetCamera::StandAt(const QString& id) {
  if (id != streets_.active_pano_id) {
    streets_.SetActivePano(id, width_scale_, 0.0);
    NoteCorridors();
  }
}

StreetCamera::Hold StreetCamera::Push(const Vec2<double>& to, double heading) {
  streets_.SetView(to, heading);
  Hold hold;
  hold.held = to;
  hold.depth = streets_.GetCollisionDepth();
  hold.has_depth = hold.depth < std::numeric_limits<double>::max();
  if (!hold.has_depth) {
    return hold;
  }
  hold.turn_rad_per_s = streets_.CalculateHeadingRestoreDelta();
  for (int i = 0; i < kMostPushesBack && streets_.GetCollisionDepth() < kOnTheEdge; ++i) {
    hold.held = streets_.GetCollisionPoint();
    streets_.SetView(hold.held, heading);
  }
  return hold;
}

void StreetCamera::NoteCorridors() {
  for (const ConstraintBuilder* corridor : streets_.constraints) {
    if (!corridor->geometry_valid) {
      continue;
    }
    const QString& a = corridor->start_pano->pano_id;
    const QString& b = corridor->end_pano->pano_id;
    links_.insert(std::minmax(a, b));
    if (a == active() || b == active()) {
      corners_.insert(a);
      corners_.insert(b);
    }
  }
}

}  // namespace command
}  // namespace pelorin
