// SPDX-License-Identifier: Apache-2.0
#include "apps/command/tour/camera_walk.h"

#include <algorithm>
#include <cmath>
#include <mutex>
#include <utility>

#include "apps/command/stored_place.h"
#include "spatial/graph/plane.h"

namespace pelorin {
namespace command {
namespace {

using nimbara::Vec2;
using nimbara::spatial::BroughtIntoHalfTurns;
using nimbara::spatial::PanoGraph;
using nimbara::spatial::PanoramaData;

// A brisk pace, looked at four times a second: a metre for each step.
constexpr double kMetresPerSecond = 4.0;
constexpr double kSecondsPerStep = 0.25;
constexpr double kMetresPerStep = kMetresPerSecond * kSecondsPerStep;
constexpr double kArriveMetres = 1.5;
// The hand: how fast it turns the camera, and how it wavers about the way.
constexpr double kHandTurnPerSecond = 80.0 * kPi / 180.0;
constexpr double kHandSway = 32.0 * kPi / 180.0;
constexpr double kHandSwaySeconds = 11.0;
// Detours of the sway and of corners included; who needs more has come to a halt.
constexpr double kStepsPerStep = 6.0;
constexpr int kStepsBesides = 60;
// Only a panorama that is so much nearer takes over from the one before.
constexpr double kNearerMetres = 2.0;

double GroundMetres(const Vec2<double>& a, const Vec2<double>& b) {
  return DistanceMetres(PlaceFromFlat(a), PlaceFromFlat(b));
}

}  // namespace

CameraWalk::CameraWalk(const PanoGraph& graph, double half_width_m, Watcher watcher)
    : graph_(graph), watcher_(std::move(watcher)), camera_(graph, half_width_m),
      half_width_m_(half_width_m) {}

void CameraWalk::Walk(const Path& path) {
  if (path.empty()) {
    return;
  }
  place_ = PlaceOf(path[0]);
  heading_ = path.size() > 1 ? FlatHeading(place_, PlaceOf(path[1])) : 0.0;
  StandAt(path[0]);
  Push(place_);
  Reach(0);
  for (int stop = 1; stop < static_cast<int>(path.size()); ++stop) {
    const QString& id = path[static_cast<std::size_t>(stop)];
    GoTo(stop, PlaceOf(id));
  }
}

/// The stop is reached before the next step is made, so the last one stands at the goal.
void CameraWalk::GoTo(int stop, const Vec2<double>& target) {
  const Vec2<double> from = place_;
  const int most =
      kStepsBesides +
      static_cast<int>(std::min(kStepsPerStep * GroundMetres(from, target) / kMetresPerStep, 1e6));
  for (int i = 0; !HasReached(from, target); ++i) {
    if (i == most) {
      ++placed_;
      place_ = target;
      break;
    }
    Steer(target);
    seconds_ += kSecondsPerStep;
    const double metres = std::min(kMetresPerStep, GroundMetres(place_, target));
    Push(FlatStep(place_, heading_, metres));
    if (const QString best = camera_.BestPano(); !best.isEmpty()) {
      StandAt(best);
    }
  }
  Reach(stop);
}

bool CameraWalk::HasReached(const Vec2<double>& from, const Vec2<double>& target) const {
  const double left = GroundMetres(place_, target);
  const bool is_past = nimbara::spatial::Dot(nimbara::spatial::Minus(target, from),
                                             nimbara::spatial::Minus(place_, target)) > 0.0;
  return left <= kArriveMetres || (is_past && left <= half_width_m_ + kArriveMetres);
}

void CameraWalk::Steer(const Vec2<double>& target) {
  const double sway = kHandSway * std::sin(2.0 * kPi * seconds_ / kHandSwaySeconds);
  const double wish = BroughtIntoHalfTurns(FlatHeading(place_, target) + sway - heading_);
  const double most = kHandTurnPerSecond * kSecondsPerStep;
  heading_ =
      BroughtIntoHalfTurns(heading_ + std::clamp(wish, -most, most) + turn_ * kSecondsPerStep);
}

void CameraWalk::Push(const Vec2<double>& to) {
  const StreetCamera::Hold hold = camera_.Push(to, heading_);
  place_ = hold.held;
  turn_ = hold.turn_rad_per_s;
  CameraStep step;
  step.seconds = seconds_;
  step.stop = stop_;
  step.pushed = PlaceFromFlat(to);
  step.held = PlaceFromFlat(hold.held);
  step.has_depth = hold.has_depth;
  step.depth_m = hold.has_depth ? hold.depth * kMetresPerStoredUnit : 0.0;
  step.heading_deg = CompassDegrees(hold.held, heading_);
  step.turn_deg_per_s = turn_ * 180.0 / kPi;
  steps_.push_back(step);
  if (watcher_.on_step) {
    watcher_.on_step(step, heading_);
  }
}

void CameraWalk::StandAt(const QString& id) {
  if (id == camera_.active()) {
    return;
  }
  camera_.StandAt(id);
  if (watcher_.on_panorama && !id.isEmpty()) {
    watcher_.on_panorama(id);
  }
}

void CameraWalk::Reach(int stop) {
  stop_ = stop;
  if (watcher_.on_stop) {
    watcher_.on_stop(stop);
  }
}

/// A record that has gone leaves the camera where it is.
Vec2<double> CameraWalk::PlaceOf(const QString& id) const {
  const std::lock_guard<nimbara::SpinLock> hold(graph_.lock);
  const PanoramaData* const record = graph_.GetPanoramaData(id);
  return record == nullptr ? place_ : FlatFrom(record->position);
}

void CameraWalk::Replay(const std::vector<TrackPoint>& track, const std::vector<QString>& along) {
  int next_stop = 0;
  for (std::size_t i = 0; i < track.size(); ++i) {
    const Vec2<double> at = FlatFrom(track[i].place);
    if (i + 1 < track.size() && !(track[i + 1].place == track[i].place)) {
      heading_ = FlatHeading(at, FlatFrom(track[i + 1].place));
    }
    seconds_ = track[i].seconds;
    const bool is_new = along[i] != camera_.active();
    StandAt(along[i]);
    if (is_new && !along[i].isEmpty()) {
      Reach(next_stop++);
    }
    Push(at);
  }
}

std::vector<QString> PanoramasAlong(const PanoGraph& graph, const std::vector<TrackPoint>& track,
                                    double reach_m) {
  const std::lock_guard<nimbara::SpinLock> hold(graph.lock);
  const auto metres_to = [&graph](const QString& id, const LatLng& place) {
    const PanoramaData* const record = graph.GetPanoramaData(id);
    return record == nullptr ? HUGE_VAL : DistanceMetres(PlaceFromStored(record->position), place);
  };
  std::vector<QString> along;
  QString active;
  for (const TrackPoint& point : track) {
    const QString nearest = graph.GetClosestPanoToPoint(StoredFrom(point.place));
    const double to_nearest = metres_to(nearest, point.place);
    const double to_active = metres_to(active, point.place);
    if (to_nearest <= reach_m && !(to_active <= to_nearest + kNearerMetres)) {
      active = nearest;
    } else if (!(to_active <= reach_m)) {
      active = QString();
    }
    along.push_back(active);
  }
  return along;
}

}  // namespace command
}  // namespace pelorin
