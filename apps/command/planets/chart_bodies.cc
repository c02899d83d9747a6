// SPDX-License-Identifier: Apache-2.0
#include "apps/command/planets/chart_bodies.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

#include "host/values.h"
#include "spatial/orbit/orbit_utils.h"

namespace pelorin {
namespace command {
namespace {

using nimbara::Vec3;

constexpr int kOrbitPoints = 360;
/// Points of a way in one round of the fastest body, and in a whole way at most.
constexpr double kWayPointsPerRound = 60.0;
constexpr double kMostWayPoints = 20000.0;

struct Look {
  const char* name;
  const char* colour;
  double dot_px;
};

constexpr Look kLooks[] = {{"sun", "#ffd75e", 8},       {"mercury", "#b9b0a6", 3.5},
                           {"venus", "#edcf8e", 5},     {"earth", "#5fb0f2", 5},
                           {"mars", "#e0674a", 4},      {"jupiter", "#dba876", 7},
                           {"saturn", "#e8d59a", 6.5},  {"uranus", "#93dce0", 5.5},
                           {"neptune", "#5b7cf0", 5.5}, {"moon", "#cfd3da", 3.5}};

double Length(const Vec3<double>& v) {
  return std::hypot(v.x, v.y, v.z);
}

Vec3<double> Less(const Vec3<double>& a, const Vec3<double>& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}

double Reach(const ChartBody& body) {
  double reach = 0.0;
  for (const auto* points : {&body.way, &body.orbit}) {
    for (const Vec3<double>& point : *points) {
      reach = std::max(reach, Length(point));
    }
  }
  return reach;
}

// The whole ellipse as its elements are at the date, around the parent where that is at the date.
std::vector<Vec3<double>> OrbitOf(const std::string& name, const PlanetsRequest& request,
                                  const Sky& sky) {
  const double julian_date = request.dates.back();
  nimbara::spatial::OrbitalParameters record = sky.RecordOf(name);
  const std::string parent = record.parent_name.toStdString();
  const Vec3<double> origin = sky.PlaceOf(parent, request.relative_to, julian_date).at_au;
  std::vector<Vec3<double>> points;
  const double anomaly = record.mean_anomaly;
  for (int i = 0; i <= kOrbitPoints; ++i) {
    record.mean_anomaly = anomaly + i * (6.283185307179586 / kOrbitPoints);
    const Vec3<double> at = nimbara::spatial::OrbitUtils::CalcRelativePosition(
        nimbara::DateTime::FromJulianDate(julian_date), record);
    points.push_back(
        {origin.x + SceneToAu(at.x), origin.y + SceneToAu(at.y), origin.z + SceneToAu(at.z)});
  }
  return points;
}

// All dates of the chart with so many between them that no body cuts its corners. Where that would
// be too many the dates stand for themselves.
std::vector<double> WayDates(const std::vector<std::string>& names, const PlanetsRequest& request,
                             const Sky& sky) {
  double fastest = 0.0;
  for (const std::string& name : names) {
    fastest = std::max(fastest, std::fabs(sky.RecordOf(name).mean_anomaly_rate));
  }
  const double step = 6.283185307179586 / fastest / kWayPointsPerRound;
  std::vector<double> way;
  for (std::size_t i = 1; i < request.dates.size(); ++i) {
    const double from = request.dates[i - 1];
    const double days = request.dates[i] - from;
    const double parts = std::ceil(std::fabs(days) / step);
    if (static_cast<double>(way.size()) + parts > kMostWayPoints) {
      return request.dates;
    }
    for (double part = 0.0; part < parts; part += 1.0) {
      way.push_back(from + days * (part / parts));
    }
  }
  way.push_back(request.dates.back());
  return way;
}

// Around a parent that moves through the chart an orbit holds for one date only.
bool HasOrbit(const std::string& name, const PlanetsRequest& request, const Sky& sky) {
  const std::string parent = sky.RecordOf(name).parent_name.toStdString();
  return !parent.empty() && (parent == request.relative_to || request.dates.size() == 1);
}

}  // namespace

std::vector<ChartBody> ChartBodies(const PlanetsRequest& request, const Sky& sky) {
  std::vector<Look> looks;
  std::vector<std::string> names;
  for (const Look& look : kLooks) {
    const bool asked_for =
        std::find(request.bodies.begin(), request.bodies.end(), look.name) != request.bodies.end();
    if (asked_for || request.relative_to == look.name) {
      looks.push_back(look);
      names.push_back(look.name);
    }
  }
  const std::vector<double> way_dates = WayDates(names, request, sky);
  std::vector<ChartBody> bodies;
  for (const Look& look : looks) {
    ChartBody body;
    body.name = look.name;
    body.colour = look.colour;
    body.dot_px = look.dot_px;
    for (const double date : request.dates) {
      body.track.push_back(sky.PlaceOf(body.name, request.relative_to, date).at_au);
    }
    for (const double date : way_dates) {
      body.way.push_back(sky.PlaceOf(body.name, request.relative_to, date).at_au);
    }
    body.place = sky.PlaceOf(body.name, request.relative_to, request.dates.back());
    if (HasOrbit(body.name, request, sky)) {
      body.orbit = OrbitOf(body.name, request, sky);
    }
    body.reach_au = Reach(body);
    bodies.push_back(std::move(body));
  }
  return bodies;
}

std::vector<ChartBody> SeenFrom(std::vector<ChartBody> bodies, const std::string& name) {
  const auto centre = std::find_if(bodies.begin(), bodies.end(),
                                   [&name](const ChartBody& body) { return body.name == name; });
  if (centre == bodies.end()) {
    return bodies;
  }
  const std::vector<Vec3<double>> track = centre->track;
  const std::vector<Vec3<double>> way = centre->way;
  for (ChartBody& body : bodies) {
    std::transform(body.track.begin(), body.track.end(), track.begin(), body.track.begin(), Less);
    std::transform(body.way.begin(), body.way.end(), way.begin(), body.way.begin(), Less);
    for (Vec3<double>& point : body.orbit) {
      point = Less(point, track.back());
    }
    body.reach_au = Reach(body);
  }
  return bodies;
}

}  // namespace command
}  // namespace pelorin
