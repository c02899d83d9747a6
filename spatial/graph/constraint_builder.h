// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <limits>

#include "base/export.h"
#include "host/memory.h"
#include "host/values.h"
#include "spatial/graph/pano_graph.h"

namespace nimbara {
namespace spatial {

/// The corridor around one link of the graph: how far a view lies inside it, where its edge is, and
/// which way leads back. The corridor follows the link, as wide as the collision radii of its two
/// ends, linearly in between, and ends in a half circle at each.
///
/// ```
/// ConstraintBuilder corridor(&graph);
/// corridor.SetLink(link);
/// corridor.view_position = {lng / 180, lat / 180};
/// corridor.OnUpdate();
/// if (corridor.GetCollisionDepth() < 0) camera = corridor.GetCollisionPoint();
/// ```
///
/// Units: positions and lengths are in the plane of stored coordinates (degrees / 180). Radii are
/// taken over as the records have them, in planet radii, without conversion, so a collision radius
/// of 12 m makes a corridor that is pi times as wide.
///
/// A link one of whose ends has no record yet counts for nothing (`geometry_valid`); each update
/// tries again. Ends and radii are read once, when both records are there: a record that is
/// replaced later changes nothing here.
///
/// Keeps a plain pointer to a graph that must outlive it, and a link that dies with
/// `PanoGraph::Clear`: drop it before. Used from one thread; takes the graph's lock only while the
/// records are being looked for. Copies are independent of each other.
class PELORIN_EXPORT ConstraintBuilder : public MemoryObject {
 public:
  /// No link yet. `guarded_graph` is not null.
  explicit ConstraintBuilder(const PanoGraph* guarded_graph);
  ConstraintBuilder(const ConstraintBuilder& other) = default;
  ConstraintBuilder& operator=(const ConstraintBuilder& other) = default;
  virtual ~ConstraintBuilder();

  /// Takes up another link and updates. The link it already has changes nothing, nor does an
  /// all-zero descriptor on a builder without a link; on one with a link that leaves it invalid.
  void SetLink(edge new_link);

  /// Reads both ends from the graph, unless that was done.
  void EnsureLinkGeometryCalculated();

  /// Computes everything below for `view_position`. Without a link or with an invalid one nothing
  /// changes. A link of no length makes `t`, `width` and the depth not-a-number, as does a view
  /// that is none.
  void OnUpdate();

  /// `OnUpdate` of `count` builders for one view, which becomes the `view_position` of each. The
  /// results are the same, and sooner there. The builders are not null.
  static void UpdateAll(ConstraintBuilder* const* builders, std::size_t count,
                        const Vec2<double>& view);

  /// Measures from `view_position` to `point` as the nearest of the link.
  void UpdateFromPoint(const Vec2<double>& point);

  /// How far inside the corridor the view lies; negative outside. The largest finite double while
  /// the geometry is not valid: look at `geometry_valid` before comparing. Not-a-number loses every
  /// comparison.
  double GetCollisionDepth() const {
    return geometry_valid ? width - distance : std::numeric_limits<double>::max();
  }
  /// The same for a corridor of half width `scale` * `width` + `offset`.
  double GetCollisionDepth(double scale, double offset) const {
    return geometry_valid ? (scale * width + offset) - distance
                          : std::numeric_limits<double>::max();
  }

  /// The corridor's edge on the view's side; the nearest point of the link itself for a view that
  /// stands on it. The zero vector before the first update.
  Vec2<double> GetCollisionPoint() const;
  Vec2<double> GetCollisionPoint(double scale, double offset) const;

  const PanoGraph* graph;       ///< Not owned.
  edge link;                    ///< The link that is guarded; all zero at first.
  bool has_link = false;        ///< Set by `SetLink`.
  bool geometry_valid = false;  ///< Both ends are known.
  Vec2<double> view_position;   ///< Set from outside before `OnUpdate`.
  Vec2<double> start, end;      ///< Ends of the link.
  Vec2<double> direction;       ///< Unit vector from start to end; zero for a link of no length.
  double length = 0.0;          ///< Of the link; 0 or above.
  Vec2<double> closest_point;   ///< Nearest point of the link to the view.
  Vec2<double> normal;          ///< Unit vector from the view to there; zero on the link.
  double t = 0.0;               ///< Projection of the view: 0 at start, 1 at end, beyond outside.
  double width = 0.0;           ///< Half width of the corridor at `t`.
  double distance = 0.0;        ///< From the view to `closest_point`.
  /// The records from which the geometry was read, not owned and not read again: they end with the
  /// records.
  const PanoramaData* start_pano = nullptr;
  const PanoramaData* end_pano = nullptr;

 private:
  bool IsReady();
  void Project();
  void TakeNearest();

  Vec2<double> along_;  // From start to the projection of the view.
  double start_radius_ = 0.0;
  double end_radius_ = 0.0;
};

}  // namespace spatial
}  // namespace nimbara
