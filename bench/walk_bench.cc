// SPDX-License-Identifier: Apache-2.0
// The walk over a hundred thousand panoramas beside Boost.Graph's breadth-first search over a
// static adjacency of the same graph, bounded to the same hops. The peer walks numbers and writes
// numbers; ours starts from an id and writes ids.
#include <benchmark/benchmark.h>

#include <QString>
#include <algorithm>
#include <boost/graph/breadth_first_search.hpp>
#include <boost/graph/compressed_sparse_row_graph.hpp>
#include <random>
#include <utility>
#include <vector>

#include "bench/street_points.h"
#include "spatial/graph/pano_graph.h"

namespace nimbara {
namespace bench {
namespace {

using spatial::PanoGraph;
using spatial::PanoramaData;

constexpr int kPanos = 100000;
constexpr int kStarts = 512;

QString IdOf(int i) {
  return QString("%1").arg(i, 22, 36, QChar('0'));
}

// Neighbours along the street, and a crossing about every tenth panorama.
std::vector<std::pair<int, int>> Streets() {
  std::mt19937 random(20261121);
  std::uniform_int_distribution<int> street_length(20, 200);
  std::uniform_int_distribution<int> any(0, kPanos - 1);
  std::uniform_int_distribution<int> nearby(-2000, 2000);
  std::vector<std::pair<int, int>> edges;
  int left = street_length(random);
  for (int i = 1; i < kPanos; ++i) {
    if (--left > 0) {
      edges.emplace_back(i - 1, i);
    } else {
      left = street_length(random);
    }
  }
  for (int i = 0; i < kPanos / 10; ++i) {
    const int from = any(random);
    const int to = std::min(std::max(from + nearby(random), 0), kPanos - 1);
    edges.emplace_back(from, to);
  }
  return edges;
}

std::vector<int> Starts() {
  std::mt19937 random(7);
  std::uniform_int_distribution<int> any(0, kPanos - 1);
  std::vector<int> starts;
  for (int i = 0; i < kStarts; ++i) {
    starts.push_back(any(random));
  }
  return starts;
}

const PanoGraph& OurGraph() {
  static PanoGraph graph;
  if (graph.handles.empty()) {
    std::vector<std::vector<int>> links(kPanos);
    for (const auto& each : Streets()) {
      links[static_cast<std::size_t>(each.first)].push_back(each.second);
    }
    const std::vector<Vec2<double>> places = StreetPoints(kPanos);
    for (std::size_t i = 0; i < links.size(); ++i) {
      const QString id = IdOf(static_cast<int>(i));
      RefPtr<PanoramaData> record(new (HeapManager::GetDynamicHeap()) PanoramaData(id));
      record->position = {places[i].x, places[i].y, 0.0};
      for (int to : links[i]) {
        record->links.push_back({IdOf(to), 0xFFFFFFFFu, 0.0f});
      }
      graph.AddPano(id, record.get());
    }
  }
  return graph;
}

using Csr = boost::compressed_sparse_row_graph<boost::directedS>;

const Csr& StaticGraph() {
  static const Csr graph = [] {
    std::vector<std::pair<int, int>> both;
    for (const auto& each : Streets()) {
      both.push_back(each);
      both.emplace_back(each.second, each.first);
    }
    std::sort(both.begin(), both.end());
    both.erase(std::unique(both.begin(), both.end()), both.end());
    return Csr(boost::edges_are_sorted, both.begin(), both.end(), kPanos);
  }();
  return graph;
}

struct Row {
  std::uint32_t vertex;
  std::int32_t hops;
  std::int32_t parent;
};

// Writes the rows that our walk writes.
class RowWriter : public boost::default_bfs_visitor {
 public:
  RowWriter(std::vector<Row>* rows, std::vector<std::int32_t>* row_of)
      : rows_(rows), row_of_(row_of) {}

  template <typename Edge, typename Graph>
  void tree_edge(const Edge& link, const Graph& graph) const {
    const std::int32_t parent = (*row_of_)[boost::source(link, graph)];
    const auto to = boost::target(link, graph);
    (*row_of_)[to] = static_cast<std::int32_t>(rows_->size());
    rows_->push_back({static_cast<std::uint32_t>(to),
                      parent < 0 ? 1 : (*rows_)[static_cast<std::size_t>(parent)].hops + 1,
                      parent});
  }

 private:
  std::vector<Row>* rows_;
  std::vector<std::int32_t>* row_of_;
};

// The search's queue, which takes in no vertex that is as far away as the walk goes: that bounds
// the search without an exception out of its visitor.
class BoundedQueue {
 public:
  using value_type = std::size_t;

  BoundedQueue(const std::vector<Row>* rows, int hops) : rows_(rows), hops_(hops) {}
  void push(std::size_t vertex) {
    if (rows_->empty() || rows_->back().hops < hops_) {
      waiting_.push_back(vertex);
    }
  }
  void pop() { ++next_; }
  std::size_t& top() { return waiting_[next_]; }
  bool empty() const { return next_ == waiting_.size(); }

 private:
  const std::vector<Row>* rows_;
  int hops_;
  std::vector<std::size_t> waiting_;
  std::size_t next_ = 0;
};

// What the peer keeps from walk to walk. Every walk leaves all vertices white and without a row.
class PeerWalk {
 public:
  PeerWalk() : graph_(StaticGraph()), colours_(kPanos), row_of_(kPanos, -1) {}

  // Paints only what it reaches.
  const std::vector<Row>& Visit(int start, int hops) {
    rows_.clear();
    BoundedQueue queue(&rows_, hops);
    boost::breadth_first_visit(graph_, static_cast<std::size_t>(start), queue,
                               RowWriter(&rows_, &row_of_), ColourMap());
    colours_[static_cast<std::size_t>(start)] = boost::white_color;
    for (const Row& row : rows_) {
      colours_[row.vertex] = boost::white_color;
      row_of_[row.vertex] = -1;
    }
    return rows_;
  }

  // Paints all vertices first.
  const std::vector<Row>& Search(int start, int hops) {
    rows_.clear();
    BoundedQueue queue(&rows_, hops);
    boost::breadth_first_search(graph_, static_cast<std::size_t>(start), queue,
                                RowWriter(&rows_, &row_of_), ColourMap());
    for (const Row& row : rows_) {
      row_of_[row.vertex] = -1;
    }
    return rows_;
  }

 private:
  using Colours = std::vector<boost::default_color_type>;
  using IndexMap = boost::property_map<Csr, boost::vertex_index_t>::const_type;

  boost::iterator_property_map<Colours::iterator, IndexMap> ColourMap() {
    return boost::make_iterator_property_map(colours_.begin(),
                                             boost::get(boost::vertex_index, graph_));
  }

  const Csr& graph_;
  Colours colours_;
  std::vector<std::int32_t> row_of_;
  std::vector<Row> rows_;
};

void BM_GetConnectedPanos(benchmark::State& state) {
  const int hops = static_cast<int>(state.range(0));
  const bool same_scene = state.range(1) != 0;
  const PanoGraph& graph = OurGraph();
  const std::vector<int> starts = Starts();
  std::vector<QString> ids;
  for (int start : starts) {
    ids.push_back(IdOf(start));
  }
  PeerWalk judge;
  mmvector<PanoGraph::ConnectedPanoInfo> rows(HeapManager::GetTransientHeap());
  std::size_t total = 0;
  for (std::size_t i = 0; i < starts.size(); ++i) {
    graph.GetConnectedPanos(ids[i], hops, same_scene, &rows);
    total += rows.size();
    if (rows.size() != judge.Visit(starts[i], hops).size()) {
      state.SkipWithError("another number of rows than the peer's");
      return;
    }
  }
  std::size_t next = 0;
  for (auto _ : state) {
    graph.GetConnectedPanos(ids[next++ % ids.size()], hops, same_scene, &rows);
    benchmark::DoNotOptimize(rows.data());
  }
  state.counters["rows"] = static_cast<double>(total) / kStarts;
}

template <const std::vector<Row>& (PeerWalk::*Walk)(int, int)>
void BM_Peer(benchmark::State& state) {
  const std::vector<int> starts = Starts();
  PeerWalk peer;
  std::size_t next = 0;
  for (auto _ : state) {
    const int start = starts[next++ % starts.size()];
    benchmark::DoNotOptimize((peer.*Walk)(start, static_cast<int>(state.range(0))).data());
  }
}

const std::vector<std::int64_t> kHops = {2, 3, 10};

BENCHMARK(BM_GetConnectedPanos)->ArgsProduct({kHops, {0, 1}})->ArgNames({"hops", "same_scene"});
BENCHMARK_TEMPLATE(BM_Peer, &PeerWalk::Visit)->ArgsProduct({kHops})->ArgName("hops");
BENCHMARK_TEMPLATE(BM_Peer, &PeerWalk::Search)->ArgsProduct({kHops})->ArgName("hops");

}  // namespace
}  // namespace bench
}  // namespace nimbara
