// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <cstdint>
#include <limits>
#include <utility>

#include "base/export.h"
#include "host/values.h"
#include "spatial/graph/collision_fillet.h"
#include "spatial/graph/constraint_builder.h"
#include "spatial/graph/pano_graph.h"
#include "util/gtl/inlined_vector.h"

namespace nimbara {
namespace spatial {

/// Holds a camera to the streets: for a view it says how far inside the walkable area it lies,
/// where that area's edge is, and how to turn the heading back along the street. The area is the
/// union of the corridors around the links of the active panorama and of its neighbours, its
/// corners rounded off by fillets (`CollisionFillet`).
///
/// ```
/// MultiConstraintBuilder streets(graph);
/// streets.SetActivePano(id, 1.0, 0.0);
/// streets.SetView({lng / 180, lat / 180}, heading_rad);
/// if (streets.GetCollisionDepth() < 0) camera = streets.GetCollisionPoint();
/// heading_rad += streets.CalculateHeadingRestoreDelta() * seconds;
/// ...
/// streets.DeleteConstraintBuilders();  // Before the end: the destructor leaves them alone.
/// ```
///
/// Units: positions, depths and widths in the plane of stored coordinates (degrees / 180), angles
/// in radians, headings clockwise from north. Depth is positive inside the area and negative
/// outside; the largest finite double says that nothing holds the view. A view that is not a number
/// is held by nothing.
///
/// At a fillet the depth is continuous along each link. Beside the link it can step by a little
/// where a fillet ends at its reach, since the reach is a circle and not a perpendicular, so a
/// camera put on the edge may need to be put there a second time.
///
/// Two links can lie equally deep, as where both end in the panorama nearest to the view; the one
/// made first counts then. The order of links and which end is the start depend on addresses.
///
/// Keeps plain pointers into a graph that outlives it; call `DeleteConstraintBuilders` before
/// `PanoGraph::Clear`. The records may be replaced or cleared at any time; a place or a link that
/// is changed inside a record may go unseen until the graph itself changes. Used from one thread,
/// which is also the only one that may refresh the bearings of records
/// (`PanoGraph::UpdateConnectionLookupMap`); holds the graph's lock while it looks at the graph.
/// Not copyable: a copy would share what only one can delete.
class PELORIN_EXPORT MultiConstraintBuilder {
 public:
  using Constraints = util::gtl::InlinedVector<ConstraintBuilder*, 10>;

  explicit MultiConstraintBuilder(const PanoGraph& walked_graph);
  MultiConstraintBuilder(const MultiConstraintBuilder&) = delete;
  MultiConstraintBuilder& operator=(const MultiConstraintBuilder&) = delete;
  /// Does not delete the members of `constraints`.
  virtual ~MultiConstraintBuilder();

  /// Builds the corridors around `id` and updates them for the view as it was. Half widths are
  /// `scale` * collision radius + `offset`. The active id again does nothing, whatever the
  /// numbers; an empty id lets go of all corridors.
  ///
  /// An id without a record becomes the active one, but has no corridors, and the depth is the
  /// largest finite double. It stays so when the record comes: set another id, such as the empty
  /// one, in between.
  void SetActivePano(const QString& id, double scale, double offset);

  /// Updates everything for a view; without an active record it is only remembered.
  ///
  /// Where nothing holds the view the depth is the largest finite double, `best_constraint` stands
  /// on the end, and normal and point keep what they were. Links whose records came since then
  /// count from now on; links that are new in the graph do not.
  void SetView(const Vec2<double>& position, double view_heading);

  /// Of the last view. The largest finite double before the first.
  double GetCollisionDepth() const { return collision_depth; }
  /// Unit vector in which the depth grows; zero where the view stands exactly on a link.
  const Vec2<double>& GetCollisionNormal() const { return collision_normal; }
  /// The edge of the walkable area nearest to the view.
  Vec2<double> GetCollisionPoint() const { return collision_point; }

  // These three follow the best corridor, also where a fillet set the depth.

  /// How far to turn within a second, towards the nearer direction of the street; its sign is that
  /// of the turn. 0 without a best corridor and for a heading that is not a number.
  double CalculateHeadingRestoreDelta() const;
  /// The nearest point on the street. Without a best corridor the view itself.
  Vec2<double> CalculateClosestPositionOnLink() const;
  /// The id of the end of the street's link that is nearer to the view, at equal distance of the
  /// target. Without a best corridor the null id. Good until `PanoGraph::Clear`.
  const QString& GetBestPano() const;

  /// Appends a corridor. Until the next `SetView` no corridor is the best.
  void CreateConstraint(edge link);
  /// Deletes the corridors and gives back the storage of a long list. No corridor is the best then;
  /// depth, normal and point stay until the next `SetView`.
  void DeleteConstraintBuilders();
  /// Lets the fillet at `pano` set the result where the view lies deeper in it than so far. Null,
  /// a panorama with fewer than two links, and one farther away than its fillet reaches do nothing.
  void AddCollisionFillet(const PanoramaData* pano);
  /// The ids of the two linked, loaded panoramas between whose bearings the view lies: going
  /// clockwise, `*before`, the view, `*after`. Both null without any; both the same id with one. A
  /// record that is no longer in the graph may be named.
  void GetNearestAngleLinks(const PanoramaData* pano, QString* before, QString* after) const;

  const PanoGraph* graph;      ///< Not owned.
  Vec2<double> view_position;  ///< From `SetView`.
  double heading = 0.0;        ///< From `SetView`.
  QString active_pano_id;
  /// Null without an active record. Otherwise the record as of the last `SetView` that found one:
  /// not to be followed if the graph may have changed since.
  const PanoramaData* active_pano = nullptr;
  Vec2<double> active_position;  ///< Of the active record when it was set.
  Constraints constraints;       ///< Owned, but for the destructor.
  /// The corridor of the largest depth; the end if none was taken.
  Constraints::iterator best_constraint;
  double width_scale = 1.0;
  double width_offset = 1.0;
  bool fillets_enabled = true;  ///< The viewer's switch.
  Vec2<double> collision_normal;
  double collision_depth = std::numeric_limits<double>::max();
  Vec2<double> collision_point;

 private:
  // A panorama whose links can have fillets between them, and the wedge between two of them in
  // which a view lay last. A view mostly lies where the one before it lay, and what the wedge needs
  // of the graph changes only with the graph.
  struct Corner {
    explicit Corner(const PanoramaData* record) : pano(record) {}
    bool HoldsView(double azimuth) const;

    const PanoramaData* pano;
    CollisionCorner shape;
    CollisionFillet fillet;
    bool has_fillet = false;
    // Bearings of the wedge's links; the wedge goes clockwise from the one to the other.
    bool is_wedge_known = false;
    bool is_across_south = false;
    double before_azimuth = 0.0;
    double after_azimuth = 0.0;
  };
  // Entries of a record's `connection_lookup`; null without any.
  struct NearestLinks {
    const std::pair<const double, QString>* before = nullptr;
    const std::pair<const double, QString>* after = nullptr;
    bool are_ends = false;
  };

  bool TakeBestConstraint();
  void AddFilletsLocked();
  void FindCornersLocked();
  void AddFilletAt(Corner* corner);
  void FindWedge(double azimuth, Corner* corner) const;
  NearestLinks FindNearestLinksLocked(const PanoramaData& pano, double azimuth) const;
  const ConstraintBuilder* Best() const;

  // The active panorama and its neighbours, in the order in which their fillets are looked at, as
  // the graph had them after so many changes.
  util::gtl::InlinedVector<Corner, 4> corners_;
  std::uint64_t corners_as_of_ = 0;
};

}  // namespace spatial
}  // namespace nimbara
