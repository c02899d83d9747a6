// SPDX-License-Identifier: Apache-2.0
// One view among 10, 50 and 200 corridors, beside a twin that works each of them out from the
// definition at every view, and with the blocks that a view takes from the process. A star of
// streets gives the number: all links of the active panorama and of its neighbours count.
#include <benchmark/benchmark.h>

#include <QString>
#include <atomic>
#include <cmath>
#include <cstddef>
#include <vector>

#include "spatial/graph/multi_constraint_builder.h"
#include "spatial/graph/pano_graph.h"
#include "tests/support/corridor_twin.h"
#include "tests/support/record_builder.h"

namespace {
std::atomic<std::uint64_t> g_blocks{0};
}  // namespace

// Everything that allocates in this process comes by here, the host's heaps and Qt included.
extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* malloc(std::size_t size) noexcept {
  g_blocks.fetch_add(1, std::memory_order_relaxed);
  return __libc_malloc(size);
}

namespace nimbara {
namespace bench {
namespace {

using spatial::MultiConstraintBuilder;
using spatial::PanoGraph;
using test_support::CorridorTwin;

constexpr double kTenMetres = 5e-7;
constexpr double kHalfWidth = 1.5e-7;
constexpr double kPi = 3.14159265358979323846;

// A centre with `arms` streets of two links each.
std::vector<CorridorTwin::Pano> Star(std::size_t arms) {
  std::vector<CorridorTwin::Pano> panos(1 + 2 * arms);
  for (std::size_t i = 0; i < arms; ++i) {
    const double angle = 2.0 * kPi * static_cast<double>(i) / static_cast<double>(arms);
    const std::size_t near = 1 + 2 * i;
    for (std::size_t step = 1; step <= 2; ++step) {
      const double length = kTenMetres * static_cast<double>(step);
      panos[near + step - 1].place = {length * std::sin(angle), length * std::cos(angle)};
    }
    panos[0].links.push_back(near);
    panos[near].links = {0, near + 1};
    panos[near + 1].links = {near};
  }
  for (CorridorTwin::Pano& pano : panos) {
    pano.radius = kHalfWidth;
  }
  return panos;
}

// A walk around the centre, in and out of the streets.
std::vector<Vec2<double>> Views() {
  std::vector<Vec2<double>> views;
  for (int i = 0; i < 1024; ++i) {
    const double length = kTenMetres * (0.1 + 1.8 * static_cast<double>(i % 37) / 37.0);
    views.push_back({length * std::sin(0.1 * i), length * std::cos(0.1 * i)});
  }
  return views;
}

void SetView(benchmark::State& state, bool with_fillets) {
  PanoGraph graph;
  const std::vector<CorridorTwin::Pano> panos = Star(static_cast<std::size_t>(state.range(0)) / 2);
  for (std::size_t i = 0; i < panos.size(); ++i) {
    std::vector<QString> links;
    for (std::size_t to : panos[i].links) {
      links.push_back(QString::number(to));
    }
    const auto record = test_support::MakeRecord(QString::number(i),
                                                 {panos[i].place.x, panos[i].place.y, 0.0}, links);
    record->collision_radius = panos[i].radius;
    graph.AddPano(record->pano_id, record.get());
  }
  MultiConstraintBuilder streets(graph);
  streets.SetActivePano("0", 1.0, 0.0);
  const std::vector<Vec2<double>> views = Views();
  const CorridorTwin twin(panos);
  for (const Vec2<double>& view : views) {  // Also brings all bearings up to date.
    streets.SetView(view, 0.0);
    const CorridorTwin::Answer answer = twin.Look(0, view, {});
    double depth = -1.0;
    for (const auto* results : {&answer.corridors, &answer.fillets}) {
      for (const CorridorTwin::Result& result : *results) {
        depth = std::max(depth, result.depth);
      }
    }
    if (!answer.ambiguous && std::abs(depth - streets.GetCollisionDepth()) > 1e-14) {
      state.SkipWithError("another depth than the twin's");
      break;
    }
  }
  streets.fillets_enabled = with_fillets;
  std::size_t next = 0;
  const std::uint64_t blocks_before = g_blocks.load();
  for (auto _ : state) {
    streets.SetView(views[next++ % views.size()], 0.0);
    benchmark::DoNotOptimize(streets.collision_depth);
  }
  const auto views_taken = static_cast<double>(state.iterations());
  state.counters["blocks_a_view"] =
      static_cast<double>(g_blocks.load() - blocks_before) / views_taken;
  state.counters["corridors"] = static_cast<double>(streets.constraints.size());
  state.counters["time_a_corridor"] =
      benchmark::Counter(views_taken * static_cast<double>(streets.constraints.size()),
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
  streets.DeleteConstraintBuilders();
}

void BM_SetView(benchmark::State& state) {
  SetView(state, true);
}

// What the corridors cost by themselves: two square roots and three divisions each.
void BM_SetViewWithoutFillets(benchmark::State& state) {
  SetView(state, false);
}

void BM_Twin(benchmark::State& state) {
  const CorridorTwin twin(Star(static_cast<std::size_t>(state.range(0)) / 2));
  const std::vector<Vec2<double>> views = Views();
  std::size_t next = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(twin.Look(0, views[next++ % views.size()], {}));
  }
}

BENCHMARK(BM_SetView)->Arg(10)->Arg(50)->Arg(200)->ArgName("corridors");
BENCHMARK(BM_SetViewWithoutFillets)->Arg(10)->Arg(50)->Arg(200)->ArgName("corridors");
BENCHMARK(BM_Twin)->Arg(10)->Arg(50)->Arg(200)->ArgName("corridors");

}  // namespace
}  // namespace bench
}  // namespace nimbara
