// SPDX-License-Identifier: Apache-2.0
// The index of the panoramas beside two libraries' spatial indexes: nearest 1 and 5 of so many
// points along streets, and insertion one by one. The peers keep an index into an array where ours
// keeps the panorama's id.
#include <benchmark/benchmark.h>

#include <QString>
#include <algorithm>
#include <boost/geometry.hpp>
#include <boost/geometry/geometries/point.hpp>
#include <boost/geometry/index/rtree.hpp>
#include <iterator>
#include <map>
#include <memory>
#include <nanoflann.hpp>
#include <utility>
#include <vector>

#include "bench/street_points.h"
#include "spatial/graph/pano_graph.h"
#include "spatial/graph/pano_quad_tree_set.h"

namespace nimbara {
namespace bench {
namespace {

using spatial::PanoGraph;
using spatial::PanoQuadTreeSet;
using Point = Vec2<double>;

const std::vector<Point>& Points(std::size_t count) {
  static std::map<std::size_t, std::vector<Point>> known;
  std::vector<Point>& points = known[count];
  if (points.empty()) {
    points = StreetPoints(count);
  }
  return points;
}

const std::vector<QString>& IdsOf(std::size_t count) {
  static std::map<std::size_t, std::vector<QString>> known;
  std::vector<QString>& ids = known[count];
  for (std::size_t i = ids.size(); i < count; ++i) {
    ids.push_back(QString("%1").arg(i, 22, 36, QChar('0')));
  }
  return ids;
}

// Where viewers are: beside panoramas, in no order.
std::vector<Point> Queries(const std::vector<Point>& points) {
  std::mt19937 random(7);
  std::uniform_int_distribution<std::size_t> any(0, points.size() - 1);
  std::normal_distribution<double> beside(0.0, 1e-6);
  std::vector<Point> queries;
  for (int i = 0; i < 4096; ++i) {
    const Point& at = points[any(random)];
    queries.push_back({at.x + beside(random), at.y + beside(random)});
  }
  return queries;
}

class QuadTree {
 public:
  explicit QuadTree(std::size_t count)
      : tree_({-1.0, -1.0}, {1.0, 1.0}, 5, HeapManager::GetDynamicHeap()) {
    const std::vector<Point>& points = Points(count);
    const std::vector<QString>& ids = IdsOf(count);
    for (std::size_t i = 0; i < count; ++i) {
      tree_.Insert(points[i], ids[i]);
    }
  }
  double Nearest(const Point& point, int count) const {
    mmvector<PanoQuadTreeSet::Tree::DistanceResult> rows(HeapManager::GetTransientHeap());
    rows.reserve(static_cast<std::size_t>(count));
    tree_.FindNearestDownwards(tree_.root, false, point, count, 8.0, &rows);
    return rows.back().distance;
  }

 private:
  PanoQuadTreeSet::Tree tree_;
};

struct Cloud {
  const std::vector<Point>* points;
  std::size_t kdtree_get_point_count() const { return points->size(); }
  double kdtree_get_pt(std::size_t i, std::size_t axis) const {
    return axis == 0 ? (*points)[i].x : (*points)[i].y;
  }
  template <typename Box>
  bool kdtree_get_bbox(Box&) const {
    return false;
  }
};

template <typename Tree>
double NearestInKdTree(const Tree& tree, const Point& point, int count) {
  std::size_t indices[5];
  double distances[5];
  const double query[2] = {point.x, point.y};
  nanoflann::KNNResultSet<double> results(static_cast<std::size_t>(count));
  results.init(indices, distances);
  tree.findNeighbors(results, query, nanoflann::SearchParams());
  return distances[count - 1];
}

class NanoflannStatic {
 public:
  explicit NanoflannStatic(std::size_t count) : cloud_{&Points(count)}, tree_(2, cloud_) {
    tree_.buildIndex();
  }
  double Nearest(const Point& point, int count) const {
    return NearestInKdTree(tree_, point, count);
  }

 private:
  using Tree =
      nanoflann::KDTreeSingleIndexAdaptor<nanoflann::L2_Simple_Adaptor<double, Cloud>, Cloud, 2>;
  Cloud cloud_;
  Tree tree_;
};

class NanoflannDynamic {
 public:
  explicit NanoflannDynamic(std::size_t count) : cloud_{&no_points_}, tree_(2, cloud_) {
    cloud_.points = &Points(count);
    for (std::uint32_t i = 0; i < count; ++i) {
      tree_.addPoints(i, i);
    }
  }
  double Nearest(const Point& point, int count) const {
    return NearestInKdTree(tree_, point, count);
  }

 private:
  using Tree =
      nanoflann::KDTreeSingleIndexDynamicAdaptor<nanoflann::L2_Simple_Adaptor<double, Cloud>, Cloud,
                                                 2>;
  std::vector<Point> no_points_;  // It would index what is there at the start by itself.
  Cloud cloud_;
  Tree tree_;
};

template <typename Split>
class RTree {
 public:
  explicit RTree(std::size_t count) {
    const std::vector<Point>& points = Points(count);
    for (std::size_t i = 0; i < count; ++i) {
      tree_.insert({{points[i].x, points[i].y}, static_cast<std::uint32_t>(i)});
    }
  }
  double Nearest(const Point& point, int count) const {
    const Cartesian at(point.x, point.y);
    double farthest = 0.0;
    const auto keep = [&](const Value& value) {
      farthest = std::max(farthest, boost::geometry::comparable_distance(value.first, at));
    };
    std::vector<Value> found;
    found.reserve(static_cast<std::size_t>(count));
    tree_.query(boost::geometry::index::nearest(at, static_cast<unsigned>(count)),
                std::back_inserter(found));
    for (const Value& value : found) {
      keep(value);
    }
    return farthest;
  }

 private:
  using Cartesian = boost::geometry::model::point<double, 2, boost::geometry::cs::cartesian>;
  using Value = std::pair<Cartesian, std::uint32_t>;
  boost::geometry::index::rtree<Value, Split> tree_;
};

using RTreeLinear = RTree<boost::geometry::index::linear<16>>;
using RTreeQuadratic = RTree<boost::geometry::index::quadratic<16>>;
using RTreeRStar = RTree<boost::geometry::index::rstar<16>>;

// Built once for all counts of neighbours. Only the last size is kept.
template <typename Index>
const Index& Built(std::size_t count) {
  static std::size_t built_count = 0;
  static std::unique_ptr<Index> built;
  if (built_count != count) {
    built.reset();
    built = std::make_unique<Index>(count);
    built_count = count;
  }
  return *built;
}

template <typename Index>
void BM_Nearest(benchmark::State& state) {
  const std::size_t points = static_cast<std::size_t>(state.range(0));
  const int count = static_cast<int>(state.range(1));
  const std::vector<Point> queries = Queries(Points(points));
  const Index& index = Built<Index>(points);
  const NanoflannStatic& judge = Built<NanoflannStatic>(points);
  for (const Point& query : queries) {
    if (index.Nearest(query, count) != judge.Nearest(query, count)) {
      state.SkipWithError("another distance than the static tree's");
      return;
    }
  }
  std::size_t next = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(index.Nearest(queries[next++ % queries.size()], count));
  }
}

// The same through the graph's own operation, with its lock and its copy of the id.
void BM_NearestInGraph(benchmark::State& state) {
  const std::size_t count = static_cast<std::size_t>(state.range(0));
  const std::vector<Point> queries = Queries(Points(count));
  PanoGraph graph;
  PanoQuadTreeSet::Tree* tree = graph.quad_trees.trees.begin()->second;
  for (std::size_t i = 0; i < count; ++i) {
    tree->Insert(Points(count)[i], IdsOf(count)[i]);
  }
  std::size_t next = 0;
  for (auto _ : state) {
    const Point& query = queries[next++ % queries.size()];
    benchmark::DoNotOptimize(graph.GetClosestPanoToPoint({query.x, query.y, 0.0}));
  }
}

// One iteration inserts all points one by one; the end of the index is not timed.
template <typename Index>
void BM_Insert(benchmark::State& state) {
  const std::size_t count = static_cast<std::size_t>(state.range(0));
  Points(count);
  IdsOf(count);
  for (auto _ : state) {
    auto index = std::make_unique<Index>(count);
    state.PauseTiming();
    index.reset();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

const std::vector<std::int64_t> kSizes = {10000, 100000, 1000000};

#define PELORIN_NEAREST(Index) BENCHMARK_TEMPLATE(BM_Nearest, Index)->ArgsProduct({kSizes, {1, 5}})
#define PELORIN_INSERT(Index)                                                                      \
  BENCHMARK_TEMPLATE(BM_Insert, Index)->ArgsProduct({kSizes})->Unit(benchmark::kMillisecond)

PELORIN_NEAREST(QuadTree);
PELORIN_NEAREST(NanoflannStatic);
PELORIN_NEAREST(NanoflannDynamic);
PELORIN_NEAREST(RTreeLinear);
PELORIN_NEAREST(RTreeQuadratic);
PELORIN_NEAREST(RTreeRStar);
BENCHMARK(BM_NearestInGraph)->ArgsProduct({kSizes});
PELORIN_INSERT(QuadTree);
PELORIN_INSERT(NanoflannDynamic);
PELORIN_INSERT(RTreeLinear);
PELORIN_INSERT(RTreeQuadratic);
PELORIN_INSERT(RTreeRStar);

}  // namespace
}  // namespace bench
}  // namespace nimbara
