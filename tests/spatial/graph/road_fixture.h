// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "host/loculus/line_string.h"
#include "host/loculus/overlay_surface.h"
#include "host/loculus/photo_overlay.h"
#include "host/text.h"
#include "spatial/graph/cartesian.h"
#include "spatial/graph/pano_road.h"
#include "spatial/panorama/pelorin_spatial_options.h"
#include "tests/spatial/graph/graph_fixture.h"

namespace nimbara {
namespace spatial {

/// A level surface that ends somewhere: rays meet it where they pass one altitude (planet radii)
/// west of one longitude (stored). It notes the rays it is asked for.
class StepSurface final : public loculus::OverlaySurface {
 public:
  StepSurface(double surface_altitude, double end_x) : altitude(surface_altitude), end(end_x) {}

  Vec3<double> GetOrigin() const override { return origin; }
  Vec3<double> GetUpVector() const override { return up; }
  bool TestRay(const Vec3<double>& start, const Vec3<double>& direction,
               Vec3<double>* hit) const override {
    starts.push_back(start);
    directions.push_back(direction);
    const Vec3<double> below = StoredFromCartesian(start);
    if (!(below.x < end)) {
      return false;
    }
    *hit = CartesianFromStored({below.x, below.y, altitude});
    return true;
  }

  const double altitude;
  const double end;
  Vec3<double> origin{0.0, 0.0, -1.0};
  Vec3<double> up{0.0, 0.0, -1.0};
  mutable std::vector<Vec3<double>> starts;
  mutable std::vector<Vec3<double>> directions;
};

/// A graph with streets, and the settings of roads, which are back at their defaults before and
/// after each test.
class RoadFixture : public GraphFixture {
 protected:
  RoadFixture() { options.ResetToDefault(); }
  ~RoadFixture() override { options.ResetToDefault(); }

  /// The stored position so many metres east and north of longitude 0, latitude 0.
  static Vec3<double> At(double east_m, double north_m) {
    constexpr double kPi = 3.14159265358979323846;
    return {Radii(east_m) / kPi, Radii(north_m) / kPi, 0.0};
  }
  /// The chain's ids, front to back, blank by blank.
  static std::string IdsOf(const PanoRoad& road) {
    QStringList ids;
    for (const PanoramaData* pano : road.panos) {
      ids.append(pano->pano_id);
    }
    return ids.join(' ').toStdString();
  }
  static loculus::LineString* LineOf(const PanoRoad& road) {
    return road.geometry ? loculus::As<loculus::LineString>(road.geometry->geometry()) : nullptr;
  }
  static void GiveOverlay(PanoramaData* pano, loculus::OverlaySurface* surface = nullptr) {
    pano->overlay = new loculus::PhotoOverlay(loculus::KmlId(), QStringNull());
    pano->overlay->SetSurface(surface);
  }

  PelorinSpatialOptions& options = PelorinSpatialOptions::s_settings_;
};

}  // namespace spatial
}  // namespace nimbara
