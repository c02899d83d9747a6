// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <utility>

#include "host/memory.h"
#include "host/values.h"
#include "spatial/graph/cell_table.h"
#include "util/gtl/inlined_vector.h"

namespace nimbara {
namespace spatial {

/// A point quad tree: keeps values at points of the plane and finds those nearest to a point.
///
/// The tree has no deletion; `Clear` empties it as a whole. It has no lock: its owner lets one
/// thread in at a time (concurrent searches alone are safe). Coordinates have whatever unit the
/// owner gives its square; distances are SQUARED and in that unit squared.
///
/// Points outside the square are kept too, in the nearest outer quadrant. A search prunes by the
/// nodes' squares, so it can miss such a point where it lies nearer than the square that holds it.
/// A point with a not-a-number coordinate is kept, but is at no distance from anything, so no
/// search finds it.
///
///     QTree<QString, double> tree({-1, -1}, {1, 1}, 5, HeapManager::GetDynamicHeap());
///     tree.Insert({0.1, 0.2}, "a");
///     mmvector<QTree<QString, double>::DistanceResult> nearest(HeapManager::GetTransientHeap());
///     tree.FindNearestDownwards(tree.root, false, {0, 0}, 1, 4.0, &nearest);
template <typename Value, typename Scalar>
class QTree : public MemoryObject {
 public:
  struct Entry {
    Value value;
    Vec2<Scalar> position;
  };

  /// One hit of a search. `entry` points into a leaf: it dies with the next `Insert` or `Clear`.
  struct DistanceResult {
    const Entry* entry;
    double distance;  ///< Squared distance to the query point, 0 or more.
  };

  struct Node;

  /// Ends and frees the four children of one node.
  struct ChildrenDeleter {
    void operator()(Node* children) const;
  };
  template <typename T>
  using scoped_array = std::unique_ptr<T[], ChildrenDeleter>;

  /// A square of the plane. A leaf has entries and no children, an inner node four children and no
  /// entries. Quadrants: bit 0 is set for the upper half in x, bit 1 for the upper half in y.
  struct Node : MemoryObject {
    Node(const Vec2<Scalar>& node_min, const Vec2<Scalar>& node_max, Node* node_parent,
         MemoryManager* node_heap);
    Node(const Node&) = delete;
    Node& operator=(const Node&) = delete;
    /// Ends the whole subtree without recursion: trees can be more than 1000 levels deep.
    ~Node();

    /// 0 to 3. A point on a middle line belongs to the lower side, as does a coordinate that is not
    /// a number. Points outside the square fall into the nearest quadrant.
    int GetQuadrant(const Vec2<Scalar>& point) const;
    /// Builds the four children with their squares; moves no entry. For a leaf only.
    void MakeChildren();
    Vec2<Scalar> Middle() const;

    // What a search reads on its way down comes first, so that it lies in one cache line.
    scoped_array<Node> children;  ///< Null in a leaf, else four nodes, by quadrant.
    Vec2<Scalar> min;
    Vec2<Scalar> max;
    /// Bit q is set if the subtree of quadrant q holds an entry: most children of a lone street
    /// hold none, and a search need not touch them. 0 in a leaf.
    std::uint32_t occupied_quadrants = 0;
    std::int32_t level;       ///< 0 in the root.
    Node* parent;             ///< Null in the root; not owned.
    mmvector<Entry> entries;  ///< In order of arrival.
    MemoryManager* heap;      ///< Of children and entries.
  };

  /// An empty tree over the square from `min` to `max`, whose coordinates must be finite with `min`
  /// below `max`. A leaf splits when it would hold more than `leaf_capacity` entries (with 1 or
  /// less nothing ever splits, and what does not fit is dropped). Nodes and entries come from
  /// `tree_heap`; null is the default heap.
  QTree(const Vec2<Scalar>& min, const Vec2<Scalar>& max, int leaf_capacity,
        MemoryManager* tree_heap);
  ~QTree() { delete root; }
  QTree(const QTree&) = delete;
  QTree& operator=(const QTree&) = delete;

  /// Enters `value` at `position`. Invalidates all search results.
  ///
  /// Silently drops it where the leaf is full and all entries of the leaf stand at exactly one
  /// position, wherever `position` itself is: that is the tree's brake against piles of points. A
  /// full leaf whose square cannot be halved any more (below the resolution of `Scalar`: entries
  /// outside the tree's square, or not-a-number) keeps its entries and grows.
  void Insert(const Vec2<Scalar>& position, Value value);

  /// Back to one empty leaf with the same square.
  void Clear();

  /// Enters into `*results` what lies in the subtree of `node` within `radius_squared` of `point`,
  /// the bound included, keeping the `count` nearest rows in ascending distance.
  ///
  /// `*results` must be sorted by distance and may already hold hits, also of other trees; at equal
  /// distance the earlier row stays in front. A `count` below 1, a null `node`, and a point or
  /// radius that is not a number find nothing. `skip_own_quadrant` leaves out the child of `node`
  /// in which `point` lies.
  ///
  /// Returns the root of the smallest subtree that holds every change, or null if nothing changed.
  const Node* FindNearestDownwards(const Node* node, bool skip_own_quadrant,
                                   const Vec2<Scalar>& point, int count, double radius_squared,
                                   mmvector<DistanceResult>* results) const;

  /// The same for a plain list of entries. True if a row was gained or the last row came nearer.
  bool AddToSortedListWithinRadius(const mmvector<Entry>& entries, const Vec2<Scalar>& point,
                                   int count, double radius_squared,
                                   mmvector<DistanceResult>* results) const;

  int max_entries;
  Node* root;  ///< Owned, never null.
  MemoryManager* heap;

 private:
  // A node that the search still has to visit, with the squared distance to its square.
  struct Pending {
    const Node* node;
    double distance;
  };
  // Deep enough for any tree over real streets without an allocation: three siblings wait a level.
  using PendingStack = util::gtl::InlinedVector<Pending, 96>;

  static constexpr std::uint32_t kAllQuadrants = 0xF;
  // Where searches and insertions start. On the globe's square its cells are 150 metres wide: two
  // or three levels above the leaves of a street.
  static constexpr int kCellLevel = 18;

  static bool CanBeHalved(const Node& node);
  static bool AllAtOnePosition(const mmvector<Entry>& entries);
  static bool Holds(const Node& node, const Vec2<Scalar>& point);
  bool GetCell(const Vec2<Scalar>& point, std::uint64_t* cell) const;
  Node* DeepestKnown(const Vec2<Scalar>& point) const;
  Node* OccupiedChild(Node* node, const Vec2<Scalar>& position);
  void Append(Node* node, Entry entry) const;
  void Split(Node* leaf);
  static double Outside(Scalar low, Scalar high, Scalar at);
  static bool ReachesOut(const Node& node, const Vec2<Scalar>& point, double radius_squared);
  static void PushChildren(const Node& node, std::uint32_t quadrants, const Vec2<Scalar>& point,
                           double radius_squared, PendingStack* pending);
  static const Node* SmallestCommonSubtree(const Node* a, const Node* b);

  // By their place in the grid of level `kCellLevel`: the nodes of that level that hold something.
  CellTable<Node> cells_;
};

template <typename Value, typename Scalar>
void QTree<Value, Scalar>::ChildrenDeleter::operator()(Node* children) const {
  for (int quadrant = 3; quadrant >= 0; --quadrant) {
    children[quadrant].~Node();
  }
  doDelete(children);
}

template <typename Value, typename Scalar>
QTree<Value, Scalar>::Node::Node(const Vec2<Scalar>& node_min, const Vec2<Scalar>& node_max,
                                 Node* node_parent, MemoryManager* node_heap)
    : min(node_min), max(node_max), level(node_parent == nullptr ? 0 : node_parent->level + 1),
      parent(node_parent), entries(node_heap), heap(node_heap) {}

// Goes down to a node with no grandchildren, frees its children and goes on from its parent, so
// that every node's own destructor finds at most leaves below it.
template <typename Value, typename Scalar>
QTree<Value, Scalar>::Node::~Node() {
  Node* node = this;
  while (children != nullptr) {
    Node* child = std::find_if(node->children.get(), node->children.get() + 4,
                               [](const Node& each) { return each.children != nullptr; });
    if (child != node->children.get() + 4) {
      node = child;
      continue;
    }
    node->children.reset();
    if (node != this) {
      node = node->parent;
    }
  }
}

template <typename Value, typename Scalar>
Vec2<Scalar> QTree<Value, Scalar>::Node::Middle() const {
  constexpr Scalar kHalf{0.5};
  return {kHalf * min.x + kHalf * max.x, kHalf * min.y + kHalf * max.y};
}

template <typename Value, typename Scalar>
int QTree<Value, Scalar>::Node::GetQuadrant(const Vec2<Scalar>& point) const {
  const Vec2<Scalar> middle = Middle();
  return (point.x > middle.x ? 1 : 0) + (point.y > middle.y ? 2 : 0);
}

template <typename Value, typename Scalar>
void QTree<Value, Scalar>::Node::MakeChildren() {
  const Vec2<Scalar> middle = Middle();
  Node* four = static_cast<Node*>(doNew(4 * sizeof(Node), heap));
  ::new (four + 0) Node(min, middle, this, heap);
  ::new (four + 1) Node({middle.x, min.y}, {max.x, middle.y}, this, heap);
  ::new (four + 2) Node({min.x, middle.y}, {middle.x, max.y}, this, heap);
  ::new (four + 3) Node(middle, max, this, heap);
  children.reset(four);
}

template <typename Value, typename Scalar>
QTree<Value, Scalar>::QTree(const Vec2<Scalar>& min, const Vec2<Scalar>& max, int leaf_capacity,
                            MemoryManager* tree_heap)
    : max_entries(leaf_capacity), root(new (tree_heap) Node(min, max, nullptr, tree_heap)),
      heap(tree_heap), cells_(tree_heap) {}

template <typename Value, typename Scalar>
void QTree<Value, Scalar>::Clear() {
  Node* empty = new (heap) Node(root->min, root->max, nullptr, heap);
  cells_.Clear();
  delete std::exchange(root, empty);
}

template <typename Value, typename Scalar>
bool QTree<Value, Scalar>::CanBeHalved(const Node& node) {
  const Vec2<Scalar> middle = node.Middle();
  return (middle.x > node.min.x && middle.x < node.max.x) ||
         (middle.y > node.min.y && middle.y < node.max.y);
}

template <typename Value, typename Scalar>
bool QTree<Value, Scalar>::AllAtOnePosition(const mmvector<Entry>& entries) {
  return std::all_of(entries.begin(), entries.end(), [&](const Entry& entry) {
    return entry.position == entries.front().position;
  });
}

// Whether the way down to `point` leads through `node`, from wherever it starts: the lower sides of
// a square belong to its neighbours.
template <typename Value, typename Scalar>
bool QTree<Value, Scalar>::Holds(const Node& node, const Vec2<Scalar>& point) {
  return point.x > node.min.x && point.x <= node.max.x && point.y > node.min.y &&
         point.y <= node.max.y;
}

// Rounded: at a cell's border it can be the neighbour. False outside the tree's square.
template <typename Value, typename Scalar>
bool QTree<Value, Scalar>::GetCell(const Vec2<Scalar>& point, std::uint64_t* cell) const {
  constexpr double kCellsInARow = 1 << kCellLevel;
  const double x = double{point.x - root->min.x} / double{root->max.x - root->min.x};
  const double y = double{point.y - root->min.y} / double{root->max.y - root->min.y};
  if (!(x >= 0.0 && x <= 1.0 && y >= 0.0 && y <= 1.0)) {
    return false;
  }
  *cell = static_cast<std::uint64_t>(x * kCellsInARow) << 32 |
          static_cast<std::uint64_t>(y * kCellsInARow);
  return true;
}

// A node on the way from the root down to `point`, which spares most of that way where there are
// entries near it.
template <typename Value, typename Scalar>
auto QTree<Value, Scalar>::DeepestKnown(const Vec2<Scalar>& point) const -> Node* {
  std::uint64_t cell = 0;
  Node* known = GetCell(point, &cell) ? cells_.Find(cell) : nullptr;
  return known != nullptr && Holds(*known, point) ? known : root;
}

// The child into which an entry at `position` goes. An entry that is dropped there is dropped
// because the child is full, so its quadrant is occupied all the same.
template <typename Value, typename Scalar>
auto QTree<Value, Scalar>::OccupiedChild(Node* node, const Vec2<Scalar>& position) -> Node* {
  const int quadrant = node->GetQuadrant(position);
  Node* child = node->children.get() + quadrant;
  if ((node->occupied_quadrants >> quadrant & 1u) == 0) {
    node->occupied_quadrants |= 1u << quadrant;
    std::uint64_t cell = 0;
    if (child->level == kCellLevel && GetCell(child->Middle(), &cell)) {
      cells_.Set(cell, child);
    }
  }
  return child;
}

template <typename Value, typename Scalar>
void QTree<Value, Scalar>::Append(Node* node, Entry entry) const {
  // One allocation for a leaf of ordinary capacity.
  constexpr int kMostReserved = 16;
  if (node->entries.capacity() == 0) {
    node->entries.reserve(static_cast<std::size_t>(std::min(max_entries, kMostReserved)));
  }
  node->entries.push_back(std::move(entry));
}

template <typename Value, typename Scalar>
void QTree<Value, Scalar>::Split(Node* leaf) {
  leaf->MakeChildren();
  mmvector<Entry> moved(leaf->heap);
  moved.swap(leaf->entries);
  for (Entry& entry : moved) {
    Node* child = OccupiedChild(leaf, entry.position);
    Append(child, std::move(entry));
  }
}

template <typename Value, typename Scalar>
void QTree<Value, Scalar>::Insert(const Vec2<Scalar>& position, Value value) {
  Node* node = DeepestKnown(position);
  while (true) {
    while (node->children != nullptr) {
      node = OccupiedChild(node, position);
    }
    const std::size_t held = node->entries.size();
    const bool full = max_entries < 1 || held >= static_cast<std::size_t>(max_entries);
    if (full && (held < 2 || AllAtOnePosition(node->entries))) {
      return;
    }
    if (!full || !CanBeHalved(*node)) {
      Append(node, {std::move(value), position});
      return;
    }
    Split(node);
  }
}

template <typename Value, typename Scalar>
bool QTree<Value, Scalar>::AddToSortedListWithinRadius(const mmvector<Entry>& entries,
                                                       const Vec2<Scalar>& point, int count,
                                                       double radius_squared,
                                                       mmvector<DistanceResult>* results) const {
  const std::size_t most = count < 1 ? 0 : static_cast<std::size_t>(count);
  const std::size_t old_size = results->size();
  const double old_last =
      results->empty() ? std::numeric_limits<double>::max() : results->back().distance;
  if (results->size() > most) {
    results->erase(results->begin() + static_cast<std::ptrdiff_t>(most), results->end());
  }
  for (const Entry& entry : entries) {
    const double dx = entry.position.x - point.x;
    const double dy = entry.position.y - point.y;
    const double distance = dx * dx + dy * dy;
    if (!(distance <= radius_squared) || most == 0) {
      continue;
    }
    // A row that would stand behind the last of a full list is cut again: it need not enter.
    if (results->size() == most) {
      if (distance >= results->back().distance) {
        continue;
      }
      results->pop_back();
    }
    const auto behind =
        std::upper_bound(results->begin(), results->end(), distance,
                         [](double at, const DistanceResult& row) { return at < row.distance; });
    results->insert(behind, {&entry, distance});
  }
  return !results->empty() && (results->size() > old_size || old_last > results->back().distance);
}

// How far `at` lies outside the range `low` to `high`: 0 inside, not-a-number for not-a-number.
template <typename Value, typename Scalar>
double QTree<Value, Scalar>::Outside(Scalar low, Scalar high, Scalar at) {
  const double below = low - at;
  if (below > 0.0) {
    return below;
  }
  const double above = at - high;
  return above < 0.0 ? 0.0 : above;
}

// Whether anything outside the square of `node`, in which `point` lies, can be within the radius.
template <typename Value, typename Scalar>
bool QTree<Value, Scalar>::ReachesOut(const Node& node, const Vec2<Scalar>& point,
                                      double radius_squared) {
  const double inside = std::min(
      {point.x - node.min.x, node.max.x - point.x, point.y - node.min.y, node.max.y - point.y});
  return inside * inside <= radius_squared;
}

// Pushes the children that hold something and lie within the radius, so that they are visited in
// the order own quadrant q, q + 3, q + 1, q + 2.
template <typename Value, typename Scalar>
void QTree<Value, Scalar>::PushChildren(const Node& node, std::uint32_t quadrants,
                                        const Vec2<Scalar>& point, double radius_squared,
                                        PendingStack* pending) {
  const Vec2<Scalar> middle = node.Middle();
  const double dx[2] = {Outside(node.min.x, middle.x, point.x),
                        Outside(middle.x, node.max.x, point.x)};
  const double dy[2] = {Outside(node.min.y, middle.y, point.y),
                        Outside(middle.y, node.max.y, point.y)};
  const int own = (point.x > middle.x ? 1 : 0) + (point.y > middle.y ? 2 : 0);
  const auto push = [&](int quadrant) {
    const double distance =
        dx[quadrant & 1] * dx[quadrant & 1] + dy[quadrant >> 1] * dy[quadrant >> 1];
    if ((quadrants >> quadrant & 1u) != 0 && distance <= radius_squared) {
      pending->push_back({node.children.get() + quadrant, distance});
    }
  };
  push((own + 2) % 4);
  push((own + 1) % 4);
  push((own + 3) % 4);
  push(own);
}

template <typename Value, typename Scalar>
auto QTree<Value, Scalar>::SmallestCommonSubtree(const Node* a, const Node* b) -> const Node* {
  while (a->level > b->level) {
    a = a->parent;
  }
  while (b->level > a->level) {
    b = b->parent;
  }
  while (a != b) {
    a = a->parent;
    b = b->parent;
  }
  return a;
}

// Depth first with a stack of its own, since trees can be too deep for the thread's. The list only
// ever gets nearer, so a radius narrowed from it stays good for everything still pending. Leaves
// come in the tree's order, so the first and the last that changed the list span all that did.
//
// The way down from `node` to the point's own cell is gone backwards: own quadrants come first at
// every level, so what lies beside that way comes from the bottom upwards.
template <typename Value, typename Scalar>
auto QTree<Value, Scalar>::FindNearestDownwards(const Node* node, bool skip_own_quadrant,
                                                const Vec2<Scalar>& point, int count,
                                                double radius_squared,
                                                mmvector<DistanceResult>* results) const
    -> const Node* {
  if (node == nullptr || count < 1) {
    return nullptr;
  }
  const std::size_t most = static_cast<std::size_t>(count);
  const double dx = Outside(node->min.x, node->max.x, point.x);
  const double dy = Outside(node->min.y, node->max.y, point.y);
  const bool jump = node == root && !skip_own_quadrant && results->size() <= most;
  const Node* start = jump ? DeepestKnown(point) : node;
  const Node* first_changed = nullptr;
  const Node* last_changed = nullptr;
  PendingStack pending;
  pending.push_back({start, dx * dx + dy * dy});
  while (true) {
    while (!pending.empty()) {
      const Pending next = pending.back();
      pending.pop_back();
      if (results->size() >= most) {
        radius_squared = std::min(radius_squared, results->back().distance);
      }
      if (!(next.distance <= radius_squared)) {
        continue;
      }
      if (next.node->children != nullptr) {
        // A list that is too long is cut by the first leaf to come, be it empty.
        std::uint32_t quadrants =
            results->size() > most ? kAllQuadrants : next.node->occupied_quadrants;
        if (skip_own_quadrant && next.node == node) {
          quadrants &= ~(1u << node->GetQuadrant(point));
        }
        PushChildren(*next.node, quadrants, point, radius_squared, &pending);
      } else if (AddToSortedListWithinRadius(next.node->entries, point, count, radius_squared,
                                             results)) {
        last_changed = next.node;
        first_changed = first_changed == nullptr ? next.node : first_changed;
      }
    }
    if (results->size() >= most) {
      radius_squared = std::min(radius_squared, results->back().distance);
    }
    if (start == node || !ReachesOut(*start, point, radius_squared)) {
      break;
    }
    start = start->parent;
    PushChildren(*start, start->occupied_quadrants & ~(1u << start->GetQuadrant(point)), point,
                 radius_squared, &pending);
  }
  return first_changed == nullptr ? nullptr : SmallestCommonSubtree(first_changed, last_changed);
}

}  // namespace spatial
}  // namespace nimbara
