// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <functional>
#include <vector>

#include "apps/command/tour/street_camera.h"
#include "apps/command/tour/tour_streets.h"
#include "apps/command/tour/track_file.h"
#include "spatial/graph/pano_graph.h"
#include "spatial/graph/path_planner.h"

namespace pelorin {
namespace command {

/// Goes a way as a viewer's camera does: a hand that is none too steady pushes it on, the corridor
/// holds it and turns it back along the street, and the panorama nearest along the street becomes
/// the active one. The walk has a clock of its own and nothing in it is left to chance; but where
/// two links lie equally deep the library takes the one that it made first, and that order depends
/// on addresses, so walks over two equal graphs can differ by a step to the side.
///
/// For one thread. The graph outlives it and is not cleared meanwhile; records that it reads it
/// reads under the graph's lock. Call `Walk` or `Replay`, once.
///
/// ```
/// CameraWalk walk(graph, 3.0, {});
/// walk.Walk(path);
/// Use(walk.steps());
/// ```
class CameraWalk {
 public:
  using Path = nimbara::spatial::PathPlanner::Path;

  /// What a viewer does besides walking. Each runs on the walking thread, without the graph's lock,
  /// and may be empty.
  struct Watcher {
    /// A panorama becomes the active one; the first one too.
    std::function<void(const QString& id)> on_panorama;
    /// The camera has made a step; its heading is in radians.
    std::function<void(const CameraStep& step, double heading)> on_step;
    /// The camera has come to the stop with this index, or is put there; 0 is where it begins.
    std::function<void(int stop)> on_stop;
  };

  /// `half_width_m` as in `StreetCamera`.
  CameraWalk(const nimbara::spatial::PanoGraph& graph, double half_width_m, Watcher watcher);

  /// From stop to stop along a way whose panoramas are loaded and linked one to the next. Where the
  /// camera comes no farther it is put at its next stop.
  void Walk(const Path& path);

  /// Sends each point of a track through the corridor model, in its order and at its time. `along`
  /// names the active panorama for each point (`PanoramasAlong`), empty where none is in reach and
  /// nothing holds.
  void Replay(const std::vector<TrackPoint>& track, const std::vector<QString>& along);

  const std::vector<CameraStep>& steps() const { return steps_; }
  /// How often the camera was put at a stop.
  int placed() const { return placed_; }
  const StreetCamera& camera() const { return camera_; }

 private:
  void GoTo(int stop, const nimbara::Vec2<double>& target);
  bool HasReached(const nimbara::Vec2<double>& from, const nimbara::Vec2<double>& target) const;
  void Steer(const nimbara::Vec2<double>& target);
  void Push(const nimbara::Vec2<double>& to);
  void StandAt(const QString& id);
  void Reach(int stop);
  nimbara::Vec2<double> PlaceOf(const QString& id) const;

  const nimbara::spatial::PanoGraph& graph_;
  const Watcher watcher_;
  StreetCamera camera_;
  const double half_width_m_;

  nimbara::Vec2<double> place_;  // Where it stands.
  double heading_ = 0.0;         // Radians in the stored plane.
  double turn_ = 0.0;            // Of the last step, radians a second.
  double seconds_ = 0.0;
  int stop_ = 0;
  std::vector<CameraStep> steps_;
  int placed_ = 0;
};

/// Which panorama is the active one at each point of a track: the nearest within `reach_m` metres,
/// but the one before for as long as no other is 2 metres nearer, since recorded places waver.
/// Empty where none is in reach.
std::vector<QString> PanoramasAlong(const nimbara::spatial::PanoGraph& graph,
                                    const std::vector<TrackPoint>& track, double reach_m);

}  // namespace command
}  // namespace pelorin
