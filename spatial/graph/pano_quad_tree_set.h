// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <boost/unordered_map.hpp>

#include "base/export.h"
#include "host/memory.h"
#include "host/values.h"
#include "spatial/base/qstring_hash.h"
#include "spatial/graph/qtree.h"

namespace nimbara {
namespace spatial {

/// The spatial index of the panoramas: one quad tree for each building level, since panoramas of
/// different levels overlap on the map and must not crowd each other's leaves. Values are panorama
/// ids, points are x = longitude in degrees / 180 and y = latitude in degrees / 180.
///
/// Part of a `PanoGraph` and only used under that graph's lock; it has none of its own.
class PELORIN_EXPORT PanoQuadTreeSet {
 public:
  using Tree = QTree<QString, double>;

  /// Trees over the square from `square_min` to `square_max`, with leaves of `leaf_capacity`
  /// entries. Holds one empty tree from the start, for panoramas without a level.
  PanoQuadTreeSet(const Vec2<double>& square_min, const Vec2<double>& square_max,
                  int leaf_capacity);
  ~PanoQuadTreeSet();
  PanoQuadTreeSet(const PanoQuadTreeSet&) = delete;
  PanoQuadTreeSet& operator=(const PanoQuadTreeSet&) = delete;

  /// Makes an empty tree for `level_id` and returns it; the set owns it. A level that has a tree
  /// keeps it, and that tree is returned as it stands.
  Tree* AddNewQuadTree(const QString& level_id);

  Vec2<double> min;
  Vec2<double> max;
  int max_entries;
  MemoryManager* heap;  ///< The dynamic heap, for every tree.
  /// By level id; the null and the empty id are one level. The trees are owned and never null.
  boost::unordered_map<QString, Tree*, QStringHash> trees;
};

}  // namespace spatial
}  // namespace nimbara
