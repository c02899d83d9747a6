// SPDX-License-Identifier: Apache-2.0
#include "apps/command/tour/street_tour.h"

#include "apps/command/tour/camera_walk.h"
#include "apps/command/tour/corridor_shapes.h"
#include "apps/command/tour/street_scene.h"
#include "apps/command/tour/usage_reporter.h"

namespace pelorin {
namespace command {
namespace {

// The camera looks level, at a field of view as of a screen.
constexpr double kLevel = 0.0;
constexpr double kFieldOfView = kPi / 3.0;

}  // namespace

TourStreets TakeStreets(const nimbara::spatial::PanoGraph& graph,
                        const nimbara::spatial::PathPlanner::Path& path,
                        const StreetTourPlan& plan) {
  TourStreets streets;
  StreetScene scene(graph, &streets);
  WalkClock clock;
  UsageReporter usage(&clock, plan.service);
  CameraWalk::Watcher watcher;
  watcher.on_panorama = [&usage](const QString&) { usage.NewPanoramaEvent(true); };
  watcher.on_step = [&clock, &usage](const CameraStep& step, double heading) {
    clock.seconds = step.seconds;
    usage.NewViewEvent(heading, kLevel, kFieldOfView, true);
  };
  watcher.on_stop = [&scene, &path](int stop) {
    scene.Enter(stop, path[static_cast<std::size_t>(stop)]);
  };
  CameraWalk walk(graph, plan.half_width_m, watcher);
  if (plan.track.empty()) {
    walk.Walk(path);
  } else {
    walk.Replay(plan.track, plan.along);
  }
  streets.camera = walk.steps();
  streets.placed = walk.placed();
  CopyCorridors(graph, walk.camera(), &streets);
  streets.usage = usage.Finish();
  return streets;
}

}  // namespace command
}  // namespace pelorin
