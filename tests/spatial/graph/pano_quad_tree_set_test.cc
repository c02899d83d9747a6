// SPDX-License-Identifier: Apache-2.0
#include "spatial/graph/pano_quad_tree_set.h"

#include <gtest/gtest.h>

#include "host/reference/heap_statistics.h"

namespace nimbara {
namespace spatial {
namespace {

TEST(PanoQuadTreeSet, HoldsOneEmptyTreeForTheEmptyLevelFromTheStart) {
  const PanoQuadTreeSet set({-1.0, -1.0}, {1.0, 1.0}, 5);
  ASSERT_EQ(set.trees.size(), 1u);
  EXPECT_EQ(set.trees.count(QString()), 1u);
  EXPECT_EQ(set.trees.count(QString("")), 1u);
  EXPECT_TRUE(set.trees.at(QString())->root->entries.empty());
}

TEST(PanoQuadTreeSet, GivesANewTreeItsSquareItsCapacityAndItsHeap) {
  PanoQuadTreeSet set({-2.0, -1.0}, {2.0, 1.0}, 7);
  const PanoQuadTreeSet::Tree* tree = set.AddNewQuadTree("1");
  EXPECT_EQ(set.trees.at("1"), tree);
  EXPECT_EQ(tree->root->min, (Vec2<double>{-2.0, -1.0}));
  EXPECT_EQ(tree->root->max, (Vec2<double>{2.0, 1.0}));
  EXPECT_EQ(tree->max_entries, 7);
  EXPECT_EQ(tree->heap, HeapManager::GetDynamicHeap());
}

TEST(PanoQuadTreeSet, KeepsTheTreeOfALevelThatIsAskedForAgain) {
  PanoQuadTreeSet set({-1.0, -1.0}, {1.0, 1.0}, 5);
  PanoQuadTreeSet::Tree* tree = set.AddNewQuadTree("1");
  tree->Insert({0.5, 0.5}, "a");
  EXPECT_EQ(set.AddNewQuadTree("1"), tree);
  EXPECT_EQ(tree->root->entries.size(), 1u);
}

TEST(PanoQuadTreeSet, ReleasesAllItsTrees) {
  const HeapStatistics before = GetHeapStatistics(HeapManager::GetDynamicHeap());
  {
    PanoQuadTreeSet set({-1.0, -1.0}, {1.0, 1.0}, 5);
    set.AddNewQuadTree("1")->Insert({0.5, 0.5}, "a");
  }
  EXPECT_EQ(GetHeapStatistics(HeapManager::GetDynamicHeap()), before);
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
