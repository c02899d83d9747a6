// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

#include "host/reference/heap_statistics.h"
#include "spatial/graph/pano_graph.h"
#include "spatial/graph/path_planner.h"
#include "tests/support/record_builder.h"

namespace nimbara {
namespace spatial {
namespace {

using test_support::MakeRecord;

constexpr int kPanos = 120;
constexpr int kRounds = 40;

QString IdOf(int i) {
  return QString("pano %1").arg(i);
}

// Delivers every panorama of the ring, as a worker does: the record's last reference outside the
// graph is given up under the graph's lock.
void Deliver(PanoGraph* graph, int round) {
  for (int i = 0; i < kPanos; ++i) {
    std::lock_guard<SpinLock> hold(graph->lock);
    const RefPtr<PanoramaData> record =
        MakeRecord(IdOf(i), {1e-6 * i, 1e-8 * round, 0.0}, {IdOf((i + 1) % kPanos)});
    graph->AddPano(record->pano_id, record.get());
  }
}

// What a query can say that is wrong whatever the graph holds at that moment.
class Failures {
 public:
  void Check(bool holds) { count_ += holds ? 0 : 1; }
  int count() const { return count_; }

 private:
  std::atomic<int> count_{0};
};

void QueryOnce(PanoGraph* graph, int i, Failures* failures) {
  const QString id = IdOf(i % kPanos);
  mmvector<PanoGraph::ConnectedPanoInfo> rows;
  graph->GetConnectedPanos(id, 5, i % 2 == 0, &rows);
  for (std::size_t row = 0; row < rows.size(); ++row) {
    failures->Check(rows[row].parent < static_cast<int>(row));
  }
  mmvector<edge> edges;
  graph->GetLinks(id, 3, &edges);
  mmvector<ConnectedPano> links;
  graph->GetConnectionData(id, &links);
  failures->Check(links.size() <= 1);
  graph->GetLinkedPanos(id, &links);
  edge link(nullptr, nullptr, nullptr);
  graph->GetClosestLink(id, {1.0, 0.0, 0.0}, &link);
  graph->UpdateConnectionLookupMap(id);
  failures->Check(!graph->SameScene(id, "unknown"));
  PathPlanner::Path path;
  Vec3<double> corner;
  const PathPlanner planner(graph);
  if (planner.FindPath({1e-6 * (i % kPanos), 0.0, 0.0}, {1e-6, 0.0, 0.0}, 30, true, &path)) {
    failures->Check(!path.empty());
    planner.IsIntersection(path, 1, &corner);
  }
  // A record is read, and a reference to an id used, only while the lock is held.
  std::lock_guard<SpinLock> hold(graph->lock);
  failures->Check(!graph->GetClosestNeighboringPanoToPoint({}, id, 2).isEmpty());
  mmvector<const PanoramaData*> nearest;
  graph->GetClosestPanosToPoint({1e-6 * (i % kPanos), 0.0, 0.0}, 5, &nearest);
  for (const PanoramaData* data : nearest) {
    failures->Check(data == nullptr || data->links.size() == 1);
  }
}

TEST(PanoGraphThreads, DeliverQueryRepairAndClearAtTheSameTime) {
  const HeapStatistics before = GetHeapStatistics(HeapManager::GetDynamicHeap());
  Failures failures;
  {
    PanoGraph graph;
    std::atomic<bool> delivering{true};
    std::vector<std::thread> threads;
    threads.emplace_back([&] {
      for (int round = 0; round < kRounds; ++round) {
        Deliver(&graph, round);
        graph.PostProcessBatch();
        graph.ClearPanoData(IdOf(round));
        if (round % 10 == 9) {
          graph.Clear();
        }
      }
      delivering = false;
    });
    for (int reader = 0; reader < 2; ++reader) {
      threads.emplace_back([&, reader] {
        for (int i = reader; delivering; i += 7) {
          QueryOnce(&graph, i, &failures);
        }
      });
    }
    for (std::thread& thread : threads) {
      thread.join();
    }
    Deliver(&graph, 0);
    EXPECT_EQ(boost::num_vertices(graph.graph), static_cast<std::size_t>(kPanos));
    EXPECT_EQ(boost::num_edges(graph.graph), static_cast<std::size_t>(kPanos));
  }
  EXPECT_EQ(failures.count(), 0);
  EXPECT_EQ(GetHeapStatistics(HeapManager::GetDynamicHeap()), before);
}

TEST(PanoGraphThreads, GiveAWalkOneStateOfTheGraph) {
  PanoGraph graph;
  Failures failures;
  std::atomic<bool> building{true};
  std::thread builder([&] {
    for (int round = 0; round < 200; ++round) {
      std::lock_guard<SpinLock> hold(graph.lock);
      graph.Clear();
      Deliver(&graph, round);
    }
    building = false;
  });
  std::thread walker([&] {
    while (building) {
      mmvector<PanoGraph::ConnectedPanoInfo> rows;
      graph.GetConnectedPanos(IdOf(0), kPanos, true, &rows);
      failures.Check(rows.empty() || rows.size() == kPanos - 1);
    }
  });
  builder.join();
  walker.join();
  EXPECT_EQ(failures.count(), 0);
}

}  // namespace
}  // namespace spatial
}  // namespace nimbara
