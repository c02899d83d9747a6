// SPDX-License-Identifier: Apache-2.0
#include "spatial/graph/pano_quad_tree_set.h"

#include <memory>

namespace nimbara {
namespace spatial {

PanoQuadTreeSet::PanoQuadTreeSet(const Vec2<double>& square_min, const Vec2<double>& square_max,
                                 int leaf_capacity)
    : min(square_min), max(square_max), max_entries(leaf_capacity),
      heap(HeapManager::GetDynamicHeap()) {
  AddNewQuadTree(QString());
}

PanoQuadTreeSet::~PanoQuadTreeSet() {
  for (const auto& level_and_tree : trees) {
    delete level_and_tree.second;
  }
}

PanoQuadTreeSet::Tree* PanoQuadTreeSet::AddNewQuadTree(const QString& level_id) {
  const auto found = trees.find(level_id);
  if (found != trees.end()) {
    return found->second;
  }
  std::unique_ptr<Tree> tree(new (heap) Tree(min, max, max_entries, heap));
  trees.emplace(level_id, tree.get());
  return tree.release();
}

}  // namespace spatial
}  // namespace nimbara
