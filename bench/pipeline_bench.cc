// SPDX-License-Identifier: Apache-2.0
// Answer to graph: 100 tile answers of one street each, 50 panoramas ten metres apart, read into
// records and entered into the graph as the worker does it, network left out. The stages one by
// one, and as the peer of the graph's stage the same vertices, edges and places put into the
// containers that a program would take from the shelf.
#include <benchmark/benchmark.h>

#include <QHash>
#include <QString>
#include <boost/geometry/geometries/point.hpp>
#include <boost/geometry/index/rtree.hpp>
#include <boost/graph/adjacency_list.hpp>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "spatial/graph/pano_graph.h"
#include "spatial/panorama/panorama_xml_parser.h"
#include "tests/support/answer_builder.h"

namespace nimbara {
namespace spatial {
namespace {

constexpr int kStreets = 100;
constexpr int kPanoramasInAStreet = 50;
constexpr int kPanoramas = kStreets * kPanoramasInAStreet;
constexpr double kTenMetresDeg = 10.0 * 360.0 / 40030000.0;

using Records = mmvector<RefPtr<PanoramaData>>;

QString Id(int street, int place) {
  return QStringLiteral("street-%1-place-%2").arg(street, 5, 10, QLatin1Char('0')).arg(place);
}

// Streets run eastwards, every street on from the end of the one before it with a gap of ten
// metres that nobody links: each end is a dead end that the graph repairs.
QByteArray MakeAnswer(int street) {
  std::vector<test_support::PanoramaElement> panoramas;
  for (int place = 0; place < kPanoramasInAStreet; ++place) {
    test_support::PanoramaElement panorama(Id(street, place));
    panorama.At(48.0, 2.0 + kTenMetresDeg * (street * kPanoramasInAStreet + place))
        .Attribute("image_width", "13312")
        .Attribute("image_height", "6656")
        .Attribute("tile_width", "512")
        .Attribute("tile_height", "512")
        .Attribute("image_date", "2026-05")
        .Text("text", QStringLiteral("Street %1").arg(street))
        .Text("copyright", "2026 Harbour Town")
        .Angles("90.5", "12.25", "1.75");
    if (place > 0) {
      panorama.Link(Id(street, place - 1), 270.0);
    }
    if (place + 1 < kPanoramasInAStreet) {
      panorama.Link(Id(street, place + 1), 90.0);
    }
    panoramas.push_back(panorama);
  }
  return test_support::ListAnswer(panoramas);
}

const std::vector<QByteArray>& Answers() {
  static const std::vector<QByteArray> answers = [] {
    std::vector<QByteArray> made;
    for (int street = 0; street < kStreets; ++street) {
      made.push_back(MakeAnswer(street));
    }
    return made;
  }();
  return answers;
}

Records ReadAll() {
  Records records(HeapManager::GetTransientHeap());
  for (const QByteArray& answer : Answers()) {
    PanoramaXMLParser::Parse(answer, &records);
  }
  return records;
}

// Under the lock, as the fetch manager does it for each record.
void Enter(Records* records, PanoGraph* graph) {
  for (RefPtr<PanoramaData>& record : *records) {
    std::lock_guard<SpinLock> hold(graph->lock);
    if (graph->GetPanoramaData(record->pano_id) == nullptr) {
      graph->AddPano(record->pano_id, record.get());
    }
    record.reset();
  }
}

std::size_t EdgesAtTheFirstDeadEnd(const PanoGraph& graph) {
  mmvector<edge> edges;
  graph.GetLinks(Id(0, kPanoramasInAStreet - 1), &edges);
  return edges.size();
}

void CountRecords(benchmark::State& state) {
  state.SetItemsProcessed(state.iterations() * kPanoramas);
}

void ReadOnly(benchmark::State& state) {
  Answers();
  for (auto _ : state) {
    for (const QByteArray& answer : Answers()) {
      Records records(HeapManager::GetTransientHeap());
      PanoramaXMLParser::Parse(answer, &records);
      benchmark::DoNotOptimize(records.data());
    }
  }
  CountRecords(state);
}
BENCHMARK(ReadOnly)->Unit(benchmark::kMillisecond);

void ReadAndEnter(benchmark::State& state) {
  Answers();
  for (auto _ : state) {
    PanoGraph graph;
    for (const QByteArray& answer : Answers()) {
      Records records(HeapManager::GetTransientHeap());
      PanoramaXMLParser::Parse(answer, &records);
      Enter(&records, &graph);
    }
    benchmark::DoNotOptimize(graph.handles.size());
  }
  CountRecords(state);
}
BENCHMARK(ReadAndEnter)->Unit(benchmark::kMillisecond);

void ReadEnterAndRepair(benchmark::State& state) {
  Answers();
  for (auto _ : state) {
    PanoGraph graph;
    for (const QByteArray& answer : Answers()) {
      Records records(HeapManager::GetTransientHeap());
      PanoramaXMLParser::Parse(answer, &records);
      Enter(&records, &graph);
      graph.PostProcessBatch();
    }
    if (EdgesAtTheFirstDeadEnd(graph) < 2) {
      std::abort();  // The figures would not be those of the work named above.
    }
  }
  CountRecords(state);
}
BENCHMARK(ReadEnterAndRepair)->Unit(benchmark::kMillisecond);

void EnterOnly(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    Records records = ReadAll();
    auto graph = std::make_unique<PanoGraph>();
    state.ResumeTiming();
    Enter(&records, graph.get());
    state.PauseTiming();
    graph.reset();
    state.ResumeTiming();
  }
  CountRecords(state);
}
BENCHMARK(EnterOnly)->Unit(benchmark::kMillisecond);

// What the graph keeps, in the containers from the shelf: no lock, no levels, no reference counts.
struct ShelfGraph {
  using Point = boost::geometry::model::point<double, 2, boost::geometry::cs::cartesian>;
  struct Vertex {
    QString id;
    const PanoramaData* data = nullptr;
  };
  using Graph = boost::adjacency_list<boost::setS, boost::listS, boost::undirectedS, Vertex,
                                      boost::no_property>;
  using Handle = Graph::vertex_descriptor;

  Handle Of(const QString& id) {
    const auto found = handles.constFind(id);
    if (found != handles.constEnd()) {
      return *found;
    }
    return handles[id] = boost::add_vertex(Vertex{id, nullptr}, graph);
  }

  void Add(const PanoramaData& record) {
    const Handle handle = Of(record.pano_id);
    graph[handle].data = &record;
    places.insert({Point(record.position.x, record.position.y), record.pano_id});
    for (const ConnectedPano& link : record.links) {
      boost::add_edge(handle, Of(link.pano_id), graph);
    }
  }

  Graph graph;
  QHash<QString, Handle> handles;
  boost::geometry::index::rtree<std::pair<Point, QString>, boost::geometry::index::linear<16>>
      places;
};

void EnterOnlyByBoostAndQtContainers(benchmark::State& state) {
  const Records records = ReadAll();
  for (auto _ : state) {
    auto graph = std::make_unique<ShelfGraph>();
    for (const RefPtr<PanoramaData>& record : records) {
      graph->Add(*record);
    }
    state.PauseTiming();
    graph.reset();
    state.ResumeTiming();
  }
  CountRecords(state);
}
BENCHMARK(EnterOnlyByBoostAndQtContainers)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace spatial
}  // namespace nimbara
