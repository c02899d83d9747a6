// SPDX-License-Identifier: Apache-2.0
#include "spatial/graph/qtree.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <QString>
#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "host/reference/heap_statistics.h"

namespace nimbara {
namespace spatial {
namespace {

using Tree = QTree<QString, double>;
using Node = Tree::Node;
using Rows = mmvector<Tree::DistanceResult>;
using Point = Vec2<double>;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

class QTreeTest : public testing::Test {
 protected:
  QTreeTest() : QTreeTest({-1.0, -1.0}, {1.0, 1.0}) {}
  QTreeTest(const Point& min, const Point& max)
      : tree(min, max, 5, HeapManager::GetDynamicHeap()) {}
  Tree MakeTree(int capacity) {
    return Tree({-1.0, -1.0}, {1.0, 1.0}, capacity, HeapManager::GetDynamicHeap());
  }
  const Node* Find(const Tree& searched, const Point& point, int count, double radius_squared) {
    return searched.FindNearestDownwards(searched.root, false, point, count, radius_squared, &rows);
  }
  std::vector<QString> Found() const {
    std::vector<QString> ids;
    for (const Tree::DistanceResult& row : rows) {
      ids.push_back(row.entry->value);
    }
    return ids;
  }

  Tree tree;
  Rows rows{HeapManager::GetTransientHeap()};
};

using Ids = std::vector<QString>;

std::size_t CountEntries(const Node& node) {
  std::size_t count = node.entries.size();
  if (node.children != nullptr) {
    for (int quadrant = 0; quadrant < 4; ++quadrant) {
      count += CountEntries(node.children.get()[quadrant]);
    }
  }
  return count;
}

// --- Quadrants -----------------------------------------------------------------------------------

TEST_F(QTreeTest, PutsAPointExactlyOnTheMiddleIntoQuadrantZero) {
  EXPECT_EQ(tree.root->GetQuadrant({0.0, 0.0}), 0);
  EXPECT_EQ(tree.root->GetQuadrant({-0.0, -0.0}), 0);
}

TEST_F(QTreeTest, NumbersQuadrantsByUpperXThenUpperY) {
  EXPECT_EQ(tree.root->GetQuadrant({0.1, 0.0}), 1);
  EXPECT_EQ(tree.root->GetQuadrant({0.0, 0.1}), 2);
  EXPECT_EQ(tree.root->GetQuadrant({0.1, 0.1}), 3);
}

TEST_F(QTreeTest, PutsPointsOutsideTheSquareIntoTheNearestQuadrant) {
  EXPECT_EQ(tree.root->GetQuadrant({7.0, -7.0}), 1);
  EXPECT_EQ(tree.root->GetQuadrant({-kInfinity, kInfinity}), 2);
}

TEST_F(QTreeTest, PutsACoordinateThatIsNotANumberOnTheLowerSide) {
  EXPECT_EQ(tree.root->GetQuadrant({kNan, 0.5}), 2);
}

TEST_F(QTreeTest, GivesChildrenTheirQuartersTheirParentAndTheirHeap) {
  tree.root->MakeChildren();
  const Node* children = tree.root->children.get();
  EXPECT_EQ(children[0].min, (Point{-1.0, -1.0}));
  EXPECT_EQ(children[0].max, (Point{0.0, 0.0}));
  EXPECT_EQ(children[1].min, (Point{0.0, -1.0}));
  EXPECT_EQ(children[1].max, (Point{1.0, 0.0}));
  EXPECT_EQ(children[2].min, (Point{-1.0, 0.0}));
  EXPECT_EQ(children[2].max, (Point{0.0, 1.0}));
  EXPECT_EQ(children[3].min, (Point{0.0, 0.0}));
  EXPECT_EQ(children[3].max, (Point{1.0, 1.0}));
  for (int quadrant = 0; quadrant < 4; ++quadrant) {
    EXPECT_EQ(children[quadrant].parent, tree.root);
    EXPECT_EQ(children[quadrant].heap, HeapManager::GetDynamicHeap());
    EXPECT_EQ(children[quadrant].children, nullptr);
  }
}

// --- Insertion and what it drops -----------------------------------------------------------------

TEST_F(QTreeTest, DropsASixthAtThePositionOfFive) {
  for (const char* id : {"a", "b", "c", "d", "e", "f"}) {
    tree.Insert({0.25, 0.25}, id);
  }
  EXPECT_EQ(tree.root->children, nullptr);
  EXPECT_EQ(tree.root->entries.size(), 5u);
}

TEST_F(QTreeTest, DropsASixthElsewhereInALeafThatFiveFillAtOnePosition) {
  for (const char* id : {"a", "b", "c", "d", "e"}) {
    tree.Insert({0.0, 0.0}, id);
  }
  tree.Insert({0.9, 0.9}, "elsewhere");
  EXPECT_EQ(tree.root->children, nullptr);
  EXPECT_EQ(tree.root->entries.size(), 5u);
}

TEST_F(QTreeTest, TakesPositiveAndNegativeZeroForOnePosition) {
  for (double zero : {0.0, -0.0, 0.0, -0.0, 0.0}) {
    tree.Insert({zero, 0.0}, "zero");
  }
  tree.Insert({0.5, 0.5}, "elsewhere");
  EXPECT_EQ(CountEntries(*tree.root), 5u);
}

TEST_F(QTreeTest, SplitsUntilTheOneThatDiffersIsSeparated) {
  for (const char* id : {"a", "b", "c", "d"}) {
    tree.Insert({0.1, 0.1}, id);
  }
  tree.Insert({0.2, 0.2}, "differs");
  tree.Insert({0.1, 0.1}, "sixth");
  // Both lie in 0 to 1, 0 to 0.5 and 0 to 0.25; the middle of that, 0.125, parts them.
  const Node* node = tree.root;
  for (int quadrant : {3, 0, 0}) {
    ASSERT_NE(node->children, nullptr);
    EXPECT_TRUE(node->entries.empty());
    node = &node->children.get()[quadrant];
  }
  ASSERT_NE(node->children, nullptr);
  EXPECT_EQ(node->children.get()[0].entries.size(), 5u);
  EXPECT_EQ(node->children.get()[0].entries.back().value, "sixth");
  EXPECT_EQ(node->children.get()[3].entries.front().value, "differs");
}

TEST_F(QTreeTest, KeepsEntriesOfALeafInOrderOfArrivalThroughASplit) {
  const Ids ids = {"a", "b", "c", "d", "e"};
  for (std::size_t i = 0; i < ids.size(); ++i) {
    tree.Insert({0.5 + 0.001 * static_cast<double>(5 - i), 0.5}, ids[i]);
  }
  tree.Insert({-0.5, -0.5}, "f");
  const mmvector<Tree::Entry>& kept = tree.root->children[3].entries;
  ASSERT_EQ(kept.size(), 5u);
  for (std::size_t i = 0; i < ids.size(); ++i) {
    EXPECT_EQ(kept[i].value, ids[i]);
  }
}

TEST_F(QTreeTest, OfCapacityOneNeverSplitsAndDropsTheSecond) {
  Tree small = MakeTree(1);
  small.Insert({0.1, 0.1}, "a");
  small.Insert({0.9, 0.9}, "b");
  EXPECT_EQ(small.root->children, nullptr);
  EXPECT_EQ(small.root->entries.size(), 1u);
}

TEST_F(QTreeTest, OfCapacityZeroOrLessKeepsNothing) {
  for (int capacity : {0, -5}) {
    Tree none = MakeTree(capacity);
    none.Insert({0.1, 0.1}, "a");
    EXPECT_TRUE(none.root->entries.empty());
  }
}

TEST_F(QTreeTest, OfHugeCapacityDoesNotPayForItInAdvance) {
  Tree wide = MakeTree(std::numeric_limits<int>::max());
  wide.Insert({0.1, 0.1}, "a");
  EXPECT_LT(wide.root->entries.capacity(), 100u);
}

// --- Positions where halving ends ----------------------------------------------------------------

TEST_F(QTreeTest, KeepsDistinctPointsOutsideTheSquareInALeafThatGrows) {
  for (int i = 0; i < 100; ++i) {
    tree.Insert({0.5, 1.5 + 0.001 * i}, QString::number(i));
  }
  EXPECT_EQ(CountEntries(*tree.root), 100u);
}

TEST_F(QTreeTest, KeepsInfinitePositionsInALeafThatGrows) {
  for (int i = 0; i < 100; ++i) {
    tree.Insert({i % 2 == 0 ? kInfinity : 2.0 + i, kInfinity}, QString::number(i));
  }
  EXPECT_EQ(CountEntries(*tree.root), 100u);
}

TEST_F(QTreeTest, KeepsPositionsThatAreNotNumbers) {
  for (int i = 0; i < 100; ++i) {
    tree.Insert({kNan, kNan}, QString::number(i));
  }
  EXPECT_EQ(CountEntries(*tree.root), 100u);
}

TEST_F(QTreeTest, FindsNoPositionThatIsNotANumberAndAllOthersBesideIt) {
  tree.Insert({kNan, 0.0}, "nowhere");
  tree.Insert({0.5, 0.5}, "somewhere");
  Find(tree, {0.0, 0.0}, 5, 8.0);
  EXPECT_EQ(Found(), Ids{"somewhere"});
}

TEST_F(QTreeTest, FindsNothingFromAPointOrWithinARadiusThatIsNotANumber) {
  tree.Insert({0.5, 0.5}, "somewhere");
  EXPECT_EQ(Find(tree, {kNan, 0.0}, 5, 8.0), nullptr);
  EXPECT_EQ(Find(tree, {0.5, 0.5}, 5, kNan), nullptr);
  EXPECT_TRUE(rows.empty());
}

void FillDeeply(Tree* deep) {
  const double tiny = std::numeric_limits<double>::denorm_min();
  for (int i = 1; i <= 6; ++i) {
    deep->Insert({tiny * i, tiny * i}, QString::number(i));
  }
}

struct DeepRun {
  std::size_t found = 0;
  bool cleared = false;
};

// Runs on a stack that has no room for a thousand nested calls.
void* BuildSearchAndEndADeepTree(void* run_pointer) {
  auto* run = static_cast<DeepRun*>(run_pointer);
  Tree deep({-1.0, -1.0}, {1.0, 1.0}, 5, HeapManager::GetDynamicHeap());
  FillDeeply(&deep);
  Rows near(HeapManager::GetTransientHeap());
  deep.FindNearestDownwards(deep.root, false, {0.0, 0.0}, 6, 8.0, &near);
  run->found = near.size();
  deep.Clear();
  run->cleared = deep.root->children == nullptr;
  FillDeeply(&deep);
  return nullptr;
}

TEST_F(QTreeTest, SplitsMoreThanAThousandLevelsDeepNearZero) {
  FillDeeply(&tree);
  int levels = 0;
  for (const Node* node = tree.root; node->children != nullptr; ++levels) {
    node = &node->children.get()[levels == 0 ? 3 : 0];
  }
  EXPECT_GT(levels, 1000);
  EXPECT_EQ(CountEntries(*tree.root), 6u);
}

TEST_F(QTreeTest, NeedsNoDeepStackToBuildSearchClearAndEndADeepTree) {
  pthread_attr_t attributes;
  ASSERT_EQ(pthread_attr_init(&attributes), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, 96 * 1024), 0);
  pthread_t thread;
  DeepRun run;
  ASSERT_EQ(pthread_create(&thread, &attributes, BuildSearchAndEndADeepTree, &run), 0);
  ASSERT_EQ(pthread_join(thread, nullptr), 0);
  pthread_attr_destroy(&attributes);
  EXPECT_EQ(run.found, 6u);
  EXPECT_TRUE(run.cleared);
}

// --- Search --------------------------------------------------------------------------------------

TEST_F(QTreeTest, GivesTheNearerOfTwoTreesNearest) {
  Tree other = MakeTree(5);
  tree.Insert({0.3, 0.0}, "far");
  other.Insert({0.1, 0.0}, "near");
  Find(tree, {0.0, 0.0}, 1, 8.0);
  Find(other, {0.0, 0.0}, 1, 8.0);
  EXPECT_EQ(Found(), Ids{"near"});
}

TEST_F(QTreeTest, LeavesTheHitFoundFirstInFrontAtEqualDistance) {
  Tree other = MakeTree(5);
  tree.Insert({0.25, 0.0}, "first tree, first");
  tree.Insert({-0.25, 0.0}, "first tree, second");
  other.Insert({0.0, 0.25}, "second tree");
  Find(tree, {0.0, 0.0}, 5, 8.0);
  Find(other, {0.0, 0.0}, 5, 8.0);
  EXPECT_EQ(Found(), (Ids{"first tree, first", "first tree, second", "second tree"}));
}

TEST_F(QTreeTest, LetsNoLaterHitOfEqualDistanceIntoAFullList) {
  tree.Insert({0.25, 0.0}, "first");
  tree.Insert({-0.25, 0.0}, "second");
  Find(tree, {0.0, 0.0}, 1, 8.0);
  EXPECT_EQ(Found(), Ids{"first"});
}

TEST_F(QTreeTest, FindsOnlyTheExactPositionWithinARadiusOfZero) {
  tree.Insert({0.25, 0.25}, "here");
  tree.Insert({std::nextafter(0.25, 1.0), 0.25}, "beside");
  Find(tree, {0.25, 0.25}, 5, 0.0);
  EXPECT_EQ(Found(), Ids{"here"});
}

TEST_F(QTreeTest, SearchesASquareThatLiesExactlyAtTheRadius) {
  for (double x : {-0.5, -0.4, -0.3, -0.2, -0.1}) {
    tree.Insert({x, -0.5}, "left");
  }
  tree.Insert({0.5, -0.5}, "right");
  ASSERT_NE(tree.root->children, nullptr);
  // From x = 1 the left half begins at 1, and nothing in it is nearer than 1.1.
  tree.Insert({0.0, -0.5}, "on the line, so left");
  Find(tree, {1.0, -0.5}, 9, 1.0);
  EXPECT_EQ(Found(), (Ids{"right", "on the line, so left"}));
}

TEST_F(QTreeTest, FindsNothingInAnEmptyTree) {
  EXPECT_EQ(Find(tree, {0.0, 0.0}, 5, 8.0), nullptr);
  EXPECT_TRUE(rows.empty());
}

TEST_F(QTreeTest, FindsNothingForACountBelowOneAndLeavesTheRows) {
  tree.Insert({0.25, 0.25}, "here");
  Find(tree, {0.0, 0.0}, 1, 8.0);
  EXPECT_EQ(Find(tree, {0.25, 0.25}, 0, 8.0), nullptr);
  EXPECT_EQ(Find(tree, {0.25, 0.25}, -1, 8.0), nullptr);
  EXPECT_EQ(Found(), Ids{"here"});
}

TEST_F(QTreeTest, FindsNothingBelowNoNode) {
  EXPECT_EQ(tree.FindNearestDownwards(nullptr, false, {0.0, 0.0}, 1, 8.0, &rows), nullptr);
}

TEST_F(QTreeTest, LeavesTheOwnQuadrantOutOnlyAtTheTop) {
  for (int i = 0; i < 6; ++i) {
    tree.Insert({0.6 + 0.01 * i, 0.6}, "own");
  }
  tree.Insert({-0.1, -0.1}, "other");
  ASSERT_NE(tree.root->children, nullptr);
  tree.FindNearestDownwards(tree.root, true, {0.5, 0.5}, 9, 8.0, &rows);
  EXPECT_EQ(Found(), Ids{"other"});
}

TEST_F(QTreeTest, CutsAListThatHoldsMoreThanTheCount) {
  tree.Insert({0.5, 0.0}, "far");
  tree.Insert({0.1, 0.0}, "near");
  tree.Insert({0.2, 0.0}, "middle");
  Find(tree, {0.0, 0.0}, 3, 8.0);
  Tree other = MakeTree(5);
  other.Insert({0.0, 0.15}, "new");
  EXPECT_EQ(Find(other, {0.0, 0.0}, 2, 8.0), other.root);
  EXPECT_EQ(Found(), (Ids{"near", "new"}));
}

TEST_F(QTreeTest, TellsWhetherAListOfEntriesBroughtAChange) {
  mmvector<Tree::Entry> none;
  mmvector<Tree::Entry> near = {{"near", {0.1, 0.0}}};
  mmvector<Tree::Entry> far = {{"far", {0.3, 0.0}}};
  EXPECT_FALSE(tree.AddToSortedListWithinRadius(none, {0.0, 0.0}, 1, 8.0, &rows));
  EXPECT_TRUE(tree.AddToSortedListWithinRadius(far, {0.0, 0.0}, 1, 8.0, &rows));
  EXPECT_TRUE(tree.AddToSortedListWithinRadius(near, {0.0, 0.0}, 1, 8.0, &rows));
  EXPECT_FALSE(tree.AddToSortedListWithinRadius(far, {0.0, 0.0}, 1, 8.0, &rows));
}

TEST_F(QTreeTest, AnswersWithTheLeafThatAloneBroughtAChange) {
  for (int i = 0; i < 5; ++i) {
    tree.Insert({0.5 + 0.01 * i, 0.5}, "upper right");
  }
  tree.Insert({-0.5, -0.5}, "lower left");
  EXPECT_EQ(Find(tree, {-0.5, -0.5}, 1, 8.0), &tree.root->children[0]);
}

TEST_F(QTreeTest, AnswersWithTheSmallestSubtreeThatHoldsAllChanges) {
  for (int i = 0; i < 5; ++i) {
    tree.Insert({0.5 + 0.01 * i, 0.5}, "upper right");
  }
  tree.Insert({-0.5, -0.5}, "lower left");
  EXPECT_EQ(Find(tree, {-0.5, -0.5}, 9, 8.0), tree.root);
}

// --- State ---------------------------------------------------------------------------------------

TEST_F(QTreeTest, IsOneEmptyLeafWithTheSameSquareAfterClear) {
  for (int i = 0; i < 100; ++i) {
    tree.Insert({0.01 * i, 0.005 * i}, QString::number(i));
  }
  tree.Clear();
  EXPECT_EQ(tree.root->children, nullptr);
  EXPECT_TRUE(tree.root->entries.empty());
  EXPECT_EQ(tree.root->min, (Point{-1.0, -1.0}));
  EXPECT_EQ(tree.root->max, (Point{1.0, 1.0}));
  EXPECT_EQ(tree.root->parent, nullptr);
}

TEST_F(QTreeTest, LeavesNothingOnAnyHeap) {
  const HeapStatistics dynamic_before = GetHeapStatistics(HeapManager::GetDynamicHeap());
  const HeapStatistics transient_before = GetHeapStatistics(HeapManager::GetTransientHeap());
  {
    Tree filled = MakeTree(5);
    for (int i = 0; i < 1000; ++i) {
      filled.Insert({std::sin(i), std::cos(i * 7)}, QString::number(i));
    }
    Rows near(HeapManager::GetTransientHeap());
    filled.FindNearestDownwards(filled.root, false, {0.0, 0.0}, 5, 8.0, &near);
  }
  EXPECT_EQ(GetHeapStatistics(HeapManager::GetDynamicHeap()), dynamic_before);
  EXPECT_EQ(GetHeapStatistics(HeapManager::GetTransientHeap()), transient_before);
}

// --- Twins ---------------------------------------------------------------------------------------

struct Square {
  Point min{-1.0, -1.0};
  Point max{1.0, 1.0};

  bool CanShrink() const {
    const auto parted = [](double low, double high) {
      const double middle = 0.5 * low + 0.5 * high;
      return low < middle && middle < high;
    };
    return parted(min.x, max.x) || parted(min.y, max.y);
  }

  // The quadrant of `point`, into which this square then shrinks.
  char Shrink(const Point& point) {
    const Point middle{0.5 * min.x + 0.5 * max.x, 0.5 * min.y + 0.5 * max.y};
    const bool right = point.x > middle.x;
    const bool upper = point.y > middle.y;
    (right ? min.x : max.x) = middle.x;
    (upper ? min.y : max.y) = middle.y;
    return static_cast<char>('0' + (right ? 1 : 0) + (upper ? 2 : 0));
  }
};

struct Kept {
  QString id;
  Point at;
};

// The tree as a table from a leaf's path ("" the root, then a digit a level) to its entries.
class PathTable {
 public:
  PathTable(std::size_t capacity, const Square& square) : capacity_(capacity), square_(square) {}

  void Insert(const Point& at, const QString& id) {
    Square square = square_;
    std::string path;
    while (leaves_.count(path) == 0) {
      path += square.Shrink(at);
    }
    while (leaves_[path].size() >= capacity_) {
      const std::vector<Kept> full = leaves_[path];
      if (std::all_of(full.begin(), full.end(),
                      [&](const Kept& kept) { return kept.at == full[0].at; })) {
        return;
      }
      if (!square.CanShrink()) {
        break;
      }
      leaves_.erase(path);
      for (const char* digit : {"0", "1", "2", "3"}) {
        leaves_[path + digit];
      }
      for (const Kept& kept : full) {
        Square of_kept = square;
        leaves_[path + of_kept.Shrink(kept.at)].push_back(kept);
      }
      path += square.Shrink(at);
    }
    leaves_[path].push_back({id, at});
  }

  std::vector<Kept> All() const {
    std::vector<Kept> all;
    for (const auto& leaf : leaves_) {
      all.insert(all.end(), leaf.second.begin(), leaf.second.end());
    }
    return all;
  }

 private:
  std::size_t capacity_;
  Square square_;
  std::map<std::string, std::vector<Kept>> leaves_{{"", {}}};
};

void CollectInPathOrder(const Node& node, std::vector<Kept>* all) {
  for (const Tree::Entry& entry : node.entries) {
    all->push_back({entry.value, entry.position});
  }
  for (int quadrant = 0; node.children != nullptr && quadrant < 4; ++quadrant) {
    CollectInPathOrder(node.children.get()[quadrant], all);
  }
}

double SquaredDistance(const Point& a, const Point& b) {
  return (a.x - b.x) * (a.x - b.x) + (a.y - b.y) * (a.y - b.y);
}

// The search as it is told: by recursion, entering first and cutting afterwards.
class RecursiveSearch {
 public:
  RecursiveSearch(const Point& point, int count, Rows* results)
      : point_(point), count_(static_cast<std::size_t>(count)), results_(results) {}

  const Node* Visit(const Node& node, double radius_squared) {
    if (results_->size() >= count_) {
      radius_squared = std::min(radius_squared, results_->back().distance);
    }
    const double dx = std::max({node.min.x - point_.x, point_.x - node.max.x, 0.0});
    const double dy = std::max({node.min.y - point_.y, point_.y - node.max.y, 0.0});
    if (dx * dx + dy * dy > radius_squared) {
      return nullptr;
    }
    return node.children == nullptr ? Enter(node, radius_squared) : Descend(node, radius_squared);
  }

 private:
  const Node* Enter(const Node& leaf, double radius_squared) {
    const Rows before = *results_;
    for (const Tree::Entry& entry : leaf.entries) {
      const double distance = SquaredDistance(entry.position, point_);
      if (distance > radius_squared) {
        continue;
      }
      auto at = results_->begin();
      while (at != results_->end() && at->distance <= distance) {
        ++at;
      }
      results_->insert(at, {&entry, distance});
    }
    if (results_->size() > count_) {
      results_->resize(count_);
    }
    const bool changed = results_->size() > before.size() ||
                         (!before.empty() && before.back().distance > results_->back().distance);
    return changed ? &leaf : nullptr;
  }

  const Node* Descend(const Node& node, double radius_squared) {
    const int own = node.GetQuadrant(point_);
    const Node* result = nullptr;
    int changes = 0;
    for (int quadrant : {own, (own + 3) % 4, (own + 1) % 4, (own + 2) % 4}) {
      if (const Node* changed = Visit(node.children.get()[quadrant], radius_squared)) {
        result = changed;
        ++changes;
      }
    }
    return changes > 1 ? &node : result;
  }

  Point point_;
  std::size_t count_;
  Rows* results_;
};

// Points along streets: some on a lattice (ties), some piled up (drops), few outside the square.
std::vector<Kept> RandomStreetPoints(int count, std::mt19937* random) {
  std::uniform_real_distribution<double> anywhere(-1.0, 1.0);
  std::uniform_int_distribution<int> lattice(-16, 16);
  std::uniform_int_distribution<int> kind(0, 9);
  std::vector<Kept> points;
  Point from{};
  Point along{};
  for (int i = 0; i < count; ++i) {
    if (i % 50 == 0) {
      from = {anywhere(*random), anywhere(*random)};
      along = {1e-4 * anywhere(*random), 1e-4 * anywhere(*random)};
    }
    Point at{from.x + along.x * (i % 50), from.y + along.y * (i % 50)};
    switch (kind(*random)) {
    case 0:
      at = {lattice(*random) / 16.0, lattice(*random) / 16.0};
      break;
    case 1:
      at = from;
      break;
    case 2:
      at = i % 7 == 0 ? Point{1.0 + anywhere(*random), 2.0 * anywhere(*random)} : at;
      break;
    default:
      break;
    }
    points.push_back({QString::number(i), at});
  }
  return points;
}

class QTreeAgainstTwins : public QTreeTest {
 protected:
  static constexpr unsigned kSeed = 20261121;

  QTreeAgainstTwins() = default;
  QTreeAgainstTwins(const Point& min, const Point& max) : QTreeTest(min, max) {}

  void Fill(int count) {
    points = RandomStreetPoints(count, &random);
    for (const Kept& point : points) {
      tree.Insert(point.at, point.id);
    }
  }
  Point RandomQuery(int i) {
    std::uniform_real_distribution<double> anywhere(-1.05, 1.05);
    std::uniform_int_distribution<int> lattice(-32, 32);
    std::uniform_int_distribution<std::size_t> any(0, points.size() - 1);
    if (i % 3 == 0) {
      return points[any(random)].at;
    }
    return i % 3 == 1 ? Point{lattice(random) / 32.0, lattice(random) / 32.0}
                      : Point{anywhere(random), anywhere(random)};
  }

  void ExpectWhatThePathTableKeeps() const {
    PathTable twin(5, {tree.root->min, tree.root->max});
    for (const Kept& point : points) {
      twin.Insert(point.at, point.id);
    }
    std::vector<Kept> kept;
    CollectInPathOrder(*tree.root, &kept);
    const std::vector<Kept> expected = twin.All();
    ASSERT_EQ(kept.size(), expected.size());
    EXPECT_LT(kept.size(), points.size());
    for (std::size_t i = 0; i < kept.size(); ++i) {
      ASSERT_EQ(kept[i].id, expected[i].id);
    }
  }

  void ExpectRowsOrderAndSubtreeOfTheRecursion() {
    for (int i = 0; i < 2000; ++i) {
      const Point query = RandomQuery(i);
      const int count = 1 + i % 7;
      const double radius_squared = i % 5 == 0 ? 1e-4 : 8.0;
      Rows expected(HeapManager::GetTransientHeap());
      if (i % 4 != 0) {
        rows.clear();  // Every fourth search goes on with the rows of the one before.
      }
      if (!std::is_sorted(rows.begin(), rows.end(),
                          [](const auto& a, const auto& b) { return a.distance < b.distance; })) {
        rows.clear();
      }
      expected = rows;
      const Node* expected_node =
          RecursiveSearch(query, count, &expected).Visit(*tree.root, radius_squared);
      ASSERT_EQ(Find(tree, query, count, radius_squared), expected_node) << i;
      ASSERT_EQ(rows.size(), expected.size()) << i;
      for (std::size_t row = 0; row < rows.size(); ++row) {
        ASSERT_EQ(rows[row].entry, expected[row].entry) << i;
        ASSERT_EQ(rows[row].distance, expected[row].distance) << i;
      }
    }
  }

  std::mt19937 random{kSeed};
  std::vector<Kept> points;
  const testing::ScopedTrace trace{__FILE__, __LINE__, kSeed};
};

TEST_F(QTreeAgainstTwins, KeepsAndDropsWhatThePathTableDoes) {
  Fill(100000);
  ExpectWhatThePathTableKeeps();
}

TEST_F(QTreeAgainstTwins, FindsTheDistancesOfALinearScan) {
  Fill(100000);
  std::vector<Kept> kept;
  CollectInPathOrder(*tree.root, &kept);
  // Points outside the square are found by their leaf's square, so the scan leaves them out too.
  kept.erase(std::remove_if(kept.begin(), kept.end(),
                            [](const Kept& each) {
                              return std::abs(each.at.x) > 1.0 || std::abs(each.at.y) > 1.0;
                            }),
             kept.end());
  Tree inside = MakeTree(5);
  std::set<QString> held;
  for (const Kept& each : kept) {
    inside.Insert(each.at, each.id);
  }
  kept.clear();
  CollectInPathOrder(*inside.root, &kept);
  for (int i = 0; i < 300; ++i) {
    const Point query = RandomQuery(i);
    const int count = i % 2 == 0 ? 5 : 1;
    const double radius_squared = i % 5 == 0 ? 1e-6 : 8.0;
    std::vector<double> expected;
    for (const Kept& each : kept) {
      const double distance = SquaredDistance(each.at, query);
      if (distance <= radius_squared) {
        expected.push_back(distance);
      }
    }
    std::sort(expected.begin(), expected.end());
    expected.resize(std::min(expected.size(), static_cast<std::size_t>(count)));
    rows.clear();
    Find(inside, query, count, radius_squared);
    std::vector<double> found;
    held.clear();
    for (const Tree::DistanceResult& row : rows) {
      found.push_back(row.distance);
      held.insert(row.entry->value);
      EXPECT_EQ(SquaredDistance(row.entry->position, query), row.distance);
    }
    ASSERT_EQ(found, expected) << i;
    ASSERT_EQ(held.size(), rows.size()) << "a row came twice";
  }
}

TEST_F(QTreeAgainstTwins, FindsTheRowsOrderAndSubtreeOfTheRecursion) {
  Fill(20000);
  ExpectRowsOrderAndSubtreeOfTheRecursion();
}

// Like the globe: the streets lie below the level from which searches and insertions start.
class DeepQTreeAgainstTwins : public QTreeAgainstTwins {
 protected:
  DeepQTreeAgainstTwins() : QTreeAgainstTwins({-7000.0, -9000.0}, {8000.0, 11000.0}) {}
};

TEST_F(DeepQTreeAgainstTwins, KeepsAndDropsWhatThePathTableDoes) {
  Fill(20000);
  ExpectWhatThePathTableKeeps();
}

TEST_F(DeepQTreeAgainstTwins, FindsTheRowsOrderAndSubtreeOfTheRecursion) {
  Fill(20000);
  ExpectRowsOrderAndSubtreeOfTheRecursion();
}

TEST_F(DeepQTreeAgainstTwins, LeavesTheOwnQuadrantOut) {
  Fill(2000);  // All of it into quadrant 0.
  for (int i = 0; i < 100; ++i) {
    tree.FindNearestDownwards(tree.root, true, RandomQuery(i), 5, kInfinity, &rows);
    ASSERT_TRUE(rows.empty());
  }
}

TEST_F(DeepQTreeAgainstTwins, CutsAListThatHoldsMoreThanTheCount) {
  Fill(2000);
  const Point query = points[0].at;
  Find(tree, query, 7, kInfinity);
  const Rows seven = rows;
  Find(tree, query, 3, kInfinity);
  ASSERT_EQ(rows.size(), 3u);
  for (std::size_t row = 0; row < 3; ++row) {
    EXPECT_EQ(rows[row].entry, seven[row].entry);
  }
}

TEST_F(DeepQTreeAgainstTwins, ForgetsAllEntriesOnClear) {
  Fill(2000);
  tree.Clear();
  Find(tree, points[0].at, 5, kInfinity);
  EXPECT_TRUE(rows.empty());
  tree.Insert(points[1].at, "again");
  Find(tree, points[0].at, 5, kInfinity);
  EXPECT_EQ(Found(), Ids{"again"});
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
