// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include "base/export.h"
#include "host/values.h"
#include "spatial/graph/pano_graph.h"
#include "util/gtl/inlined_vector.h"

namespace nimbara {
namespace spatial {

/// Finds a walk through the panorama graph and tells where it turns. The walk has the fewest hops
/// to the panorama that lies nearest to the destination; no costs are weighed.
///
/// Keeps a plain pointer to a graph that must outlive it, and no other state: safe from any thread.
/// Each operation holds the graph's lock from its first look at the graph to its last, so it sees
/// one state of it. Points are in the stored scale: x = longitude in degrees / 180, y = latitude in
/// degrees / 180, z = altitude in planet radii.
///
///     PathPlanner::Path path;
///     if (PathPlanner(&graph).FindPath(here, there, 200, true, &path)) { ... path[0] is here ... }
class PELORIN_EXPORT PathPlanner {
 public:
  /// Panorama ids in walking order.
  using Path = util::gtl::InlinedVector<QString, 10>;

  /// `walked_graph` must not be null.
  explicit PathPlanner(const PanoGraph* walked_graph) : graph(walked_graph) {}

  /// Walks from the panorama nearest to `from` to the one nearest to `to` among those that at most
  /// `max_hops` panoramas, the first and the last included, can reach. `same_scene` keeps to loaded
  /// panoramas of one scene; without it the walk can lead through placeholders, but never ends at
  /// one. A `max_hops` of 1 or less leaves only the start to choose.
  ///
  /// False, with `*path` untouched, if no panorama stands near `from` or the nearest has no record;
  /// false, with `*path` empty, if no panorama in reach is within 100 metres of `to` on the ground.
  /// A `to` that is not a number is near nothing. A null `path` gives false.
  bool FindPath(const Vec3<double>& from, const Vec3<double>& to, int max_hops, bool same_scene,
                Path* path) const;

  /// True if the walk turns by more than 75 degrees at `path[index]`; `*point` is then the stored
  /// position 5 metres from that panorama into the inside of the bend.
  ///
  /// False, with `*point` untouched, at any other place, at both ends, for an index outside the
  /// path, and where one of the three panoramas concerned has no record or a position that is not a
  /// number. `point` can be null.
  bool IsIntersection(const Path& path, int index, Vec3<double>* point) const;

  const PanoGraph* graph;  ///< Not owned.
};

}  // namespace spatial
}  // namespace nimbara
