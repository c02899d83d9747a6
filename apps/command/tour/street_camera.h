// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <set>
#include <utility>

#include "host/values.h"
#include "spatial/graph/multi_constraint_builder.h"
#include "spatial/graph/pano_graph.h"

namespace pelorin {
namespace command {

/// A camera that the corridors of the streets hold. It stands at a panorama, is pushed somewhere,
/// and comes to stand there if that lies inside, else on the edge of the walkable area.
///
/// Positions and headings are the library's (stored plane; radians clockwise from north in it).
/// For one thread; keeps a pointer to a graph that outlives it and is not cleared meanwhile.
///
/// ```
/// StreetCamera camera(graph, 3.0);
/// camera.StandAt(id);
/// const StreetCamera::Hold hold = camera.Push(where, heading);
/// ```
class StreetCamera {
 public:
  using Link = std::pair<QString, QString>;

  struct Hold {
    nimbara::Vec2<double> held;   ///< Where the camera stands now.
    bool has_depth = false;       ///< Some corridor holds it.
    double depth = 0.0;           ///< Of the push, in stored units; negative outside.
    double turn_rad_per_s = 0.0;  ///< Back along the street; right positive.
  };

  /// Corridors are `half_width_m` metres wide to each side, from north to south, around panoramas
  /// of the default collision radius; above 0.
  StreetCamera(const nimbara::spatial::PanoGraph& graph, double half_width_m);
  ~StreetCamera();
  StreetCamera(const StreetCamera&) = delete;
  StreetCamera& operator=(const StreetCamera&) = delete;

  /// Makes a panorama the active one: the corridors around it hold from now on. An empty id and one
  /// without a record let go of all.
  void StandAt(const QString& id);
  const QString& active() const { return streets_.active_pano_id; }

  /// Pushes the camera. Where nothing holds it, it goes where it is pushed.
  Hold Push(const nimbara::Vec2<double>& to, double heading);

  /// The panorama nearest along the street on which the camera now stands, which a viewer makes the
  /// active one; empty if nothing holds it.
  QString BestPano() const { return streets_.GetBestPano(); }

  /// The links whose corridors have been around it so far, each once and the lesser id first.
  const std::set<Link>& links() const { return links_; }
  /// The panoramas at which a fillet could have held it.
  const std::set<QString>& corners() const { return corners_; }
  /// Half width of a corridor for each collision radius of its panorama.
  double width_scale() const { return width_scale_; }

 private:
  void NoteCorridors();

  const double width_scale_;
  nimbara::spatial::MultiConstraintBuilder streets_;
  std::set<Link> links_;
  std::set<QString> corners_;
};

}  // namespace command
}  // namespace pelorin
