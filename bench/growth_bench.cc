// SPDX-License-Identifier: Apache-2.0
// What a viewer asks at every step (corridors, roads, a route of 20 hops) while the graph around it
// grows from a thousand to a million panoramas: the cost must stay flat. Beside them plain twins
// over arrays, which look at everything that a first draft would look at.
#include <benchmark/benchmark.h>

#include <QString>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <deque>
#include <limits>
#include <memory>
#include <random>
#include <set>
#include <vector>

#include "spatial/graph/multi_constraint_builder.h"
#include "spatial/graph/pano_graph.h"
#include "spatial/graph/pano_road_creator.h"
#include "spatial/graph/path_planner.h"
#include "spatial/panorama/pelorin_spatial_options.h"
#include "tests/support/record_builder.h"
#include "tests/support/road_twin.h"

namespace nimbara {
namespace bench {
namespace {

using spatial::MultiConstraintBuilder;
using spatial::PanoGraph;
using spatial::PanoramaData;
using spatial::PanoRoadCreator;
using spatial::PathPlanner;
using spatial::PelorinSpatialOptions;
using test_support::RoadTwin;

constexpr double kTenMetres = 5e-7;  // In stored units, degrees / 180.
constexpr int kBlock = 10;           // Panoramas from crossing to crossing.
constexpr int kHops = 20;
constexpr int kPlaces = 512;

// A town of square blocks: panoramas every ten metres along its streets, linked both ways.
class Town {
 public:
  explicit Town(std::int64_t about) {
    const double blocks = static_cast<double>(about) / (2 * kBlock - 1);
    side_ = kBlock * std::max(1, static_cast<int>(std::lround(std::sqrt(blocks)))) + 1;
    numbers_.assign(static_cast<std::size_t>(side_) * static_cast<std::size_t>(side_), -1);
    for (int y = 0; y < side_; ++y) {
      for (int x = 0; x < side_; ++x) {
        if (x % kBlock == 0 || y % kBlock == 0) {
          Number(x, y) = static_cast<int>(places_.size());
          places_.push_back({x * kTenMetres, y * kTenMetres});
        }
      }
    }
    links_.resize(places_.size());
    for (int y = 0; y < side_; ++y) {
      for (int x = 0; x < side_; ++x) {
        Link(x, y, x + 1, y);
        Link(x, y, x, y + 1);
      }
    }
    Wander();
    for (std::size_t i = 0; i < places_.size(); ++i) {
      std::vector<QString> linked;
      for (const int to : links_[i]) {
        linked.push_back(Id(static_cast<std::size_t>(to)));
      }
      const auto record =
          test_support::MakeRecord(Id(i), {places_[i].x, places_[i].y, 0.0}, linked);
      graph_.AddPano(record->pano_id, record.get());
    }
  }

  // The last one asked for is kept, since a million panoramas take a while to enter.
  static const Town& Of(std::int64_t about) {
    static std::int64_t size = 0;
    static std::unique_ptr<Town> town;
    if (size != about) {
      town.reset();
      town = std::make_unique<Town>(about);
      size = about;
    }
    return *town;
  }

  static QString Id(std::size_t i) { return QString("%1").arg(i, 22, 36, QChar('0')); }

  const PanoGraph& graph() const { return graph_; }
  const std::vector<Vec2<double>>& places() const { return places_; }
  const std::vector<std::vector<int>>& links() const { return links_; }
  std::size_t start(std::size_t i) const { return starts_[i % starts_.size()]; }
  const PanoramaData& record(std::size_t i) const { return *graph_.GetPanoramaData(Id(i)); }

 private:
  // A viewer walks: it asks again next door, and turns where it likes.
  void Wander() {
    std::mt19937 random(20261121);
    std::size_t at = places_.size() / 2;
    for (int i = 0; i < kPlaces; ++i) {
      starts_.push_back(at);
      at = static_cast<std::size_t>(links_[at][random() % links_[at].size()]);
    }
  }
  int& Number(int x, int y) {
    return numbers_[static_cast<std::size_t>(y) * static_cast<std::size_t>(side_) +
                    static_cast<std::size_t>(x)];
  }
  void Link(int x, int y, int to_x, int to_y) {
    if (to_x >= side_ || to_y >= side_ || Number(x, y) < 0 || Number(to_x, to_y) < 0) {
      return;
    }
    links_[static_cast<std::size_t>(Number(x, y))].push_back(Number(to_x, to_y));
    links_[static_cast<std::size_t>(Number(to_x, to_y))].push_back(Number(x, y));
  }

  int side_ = 0;
  std::vector<int> numbers_;
  std::vector<Vec2<double>> places_;
  std::vector<std::vector<int>> links_;
  std::vector<std::size_t> starts_;
  PanoGraph graph_;
};

double SquaredDistance(const Vec2<double>& a, const Vec2<double>& b) {
  return (a.x - b.x) * (a.x - b.x) + (a.y - b.y) * (a.y - b.y);
}

// Among the nearest of all, then breadth first to the last hop, then the nearest to the goal.
std::size_t PathByTwin(const Town& town, const Vec2<double>& from, const Vec2<double>& to) {
  const auto nearer = [](const Vec2<double>& goal) {
    return [&goal](const Vec2<double>& a, const Vec2<double>& b) {
      return SquaredDistance(a, goal) < SquaredDistance(b, goal);
    };
  };
  const auto start = std::min_element(town.places().begin(), town.places().end(), nearer(from));
  std::vector<int> hops(town.places().size(), 0);
  std::deque<int> queue{static_cast<int>(start - town.places().begin())};
  hops[static_cast<std::size_t>(queue.front())] = 1;
  int best = queue.front();
  for (; !queue.empty(); queue.pop_front()) {
    const auto at = static_cast<std::size_t>(queue.front());
    if (SquaredDistance(town.places()[at], to) <
        SquaredDistance(town.places()[static_cast<std::size_t>(best)], to)) {
      best = queue.front();
    }
    for (const int next : town.links()[at]) {
      if (hops[at] < kHops && hops[static_cast<std::size_t>(next)] == 0) {
        hops[static_cast<std::size_t>(next)] = hops[at] + 1;
        queue.push_back(next);
      }
    }
  }
  return static_cast<std::size_t>(hops[static_cast<std::size_t>(best)]);
}

// Where a walk of so many steps ends that never turns back.
const Vec2<double>& GoalOf(const Town& town, std::size_t from) {
  std::size_t previous = from;
  std::size_t at = from;
  for (int step = 0; step < kHops - 1; ++step) {
    for (const int next : town.links()[at]) {
      if (static_cast<std::size_t>(next) != previous) {
        previous = at;
        at = static_cast<std::size_t>(next);
        break;
      }
    }
  }
  return town.places()[at];
}

void BM_SetActivePanoAndView(benchmark::State& state) {
  const Town& town = Town::Of(state.range(0));
  MultiConstraintBuilder streets(town.graph());
  std::size_t next = 0;
  for (auto _ : state) {
    const std::size_t at = town.start(next++);
    const Vec2<double>& place = town.places()[at];
    streets.SetActivePano(Town::Id(at), 1.0, 0.0);
    streets.SetView({place.x + 0.2 * kTenMetres, place.y}, 0.0);
    benchmark::DoNotOptimize(streets.collision_depth);
  }
  streets.DeleteConstraintBuilders();
}

void BM_SetView(benchmark::State& state) {
  const Town& town = Town::Of(state.range(0));
  MultiConstraintBuilder streets(town.graph());
  const std::size_t at = town.start(0);
  const Vec2<double>& place = town.places()[at];
  streets.SetActivePano(Town::Id(at), 1.0, 0.0);
  double aside = 0.0;
  for (auto _ : state) {
    aside = aside > 0.9 ? 0.0 : aside + 0.01;
    streets.SetView({place.x + aside * kTenMetres, place.y}, 0.0);
    benchmark::DoNotOptimize(streets.collision_depth);
  }
  streets.DeleteConstraintBuilders();
}

// Streets are followed farther than by default, so that every walk ends at its cap of 42 panoramas.
class RoadSettings {
 public:
  explicit RoadSettings(bool with_geometry) {
    options_.road_distance_threshold_sq.Set(1e-8);  // 640 m.
    options_.render_roads.Set(with_geometry);
    options_.render_road_labels.Set(with_geometry);
  }
  ~RoadSettings() { options_.ResetToDefault(); }
  RoadSettings(const RoadSettings&) = delete;
  RoadSettings& operator=(const RoadSettings&) = delete;
  double threshold() const { return options_.road_distance_threshold_sq.Get(); }

 private:
  PelorinSpatialOptions& options_ = PelorinSpatialOptions::s_settings_;
};

void CreateRoads(benchmark::State& state) {
  const Town& town = Town::Of(state.range(0));
  PanoRoadCreator creator;
  std::size_t next = 0;
  for (auto _ : state) {
    creator.CreateRoadsOutward(town.record(town.start(next++)), town.graph());
    benchmark::DoNotOptimize(creator.roads.data());
  }
}

void BM_CreateRoadsOutward(benchmark::State& state) {
  const RoadSettings settings(true);
  CreateRoads(state);
}

// The town again, as the twin of the roads has it.
std::vector<RoadTwin::Pano> PlainPanos(const Town& town) {
  std::vector<RoadTwin::Pano> panos(town.places().size());
  for (std::size_t i = 0; i < panos.size(); ++i) {
    panos[i].position = {town.places()[i].x, town.places()[i].y, 0.0};
    panos[i].links.assign(town.links()[i].begin(), town.links()[i].end());
  }
  return panos;
}

// Whether both find the same chains around `centre`, with 42 panoramas or little more in them.
bool FindsTheTwinsRoads(const Town& town, std::size_t centre, RoadTwin* twin) {
  PanoRoadCreator creator;
  creator.CreateRoadsOutward(town.record(centre), town.graph());
  const std::vector<RoadTwin::Chain> chains = twin->Create(centre);
  std::set<std::size_t> found;
  bool same = creator.roads.size() == chains.size();
  for (std::size_t i = 0; same && i < chains.size(); ++i) {
    found.insert(chains[i].begin(), chains[i].end());
    const auto& panos = creator.roads[i]->panos;
    same = std::equal(panos.begin(), panos.end(), chains[i].begin(), chains[i].end(),
                      [](const PanoramaData* pano, std::size_t number) {
                        return pano->pano_id == Town::Id(number);
                      });
  }
  return same && found.size() >= 42 && found.size() <= 45;
}

void BM_CreateRoadsOutwardChainsAlone(benchmark::State& state) {
  const RoadSettings settings(false);
  const Town& town = Town::Of(state.range(0));
  const std::vector<RoadTwin::Pano> panos = PlainPanos(town);
  RoadTwin twin(panos, settings.threshold());
  for (std::size_t i = 0; i < kPlaces; ++i) {
    if (!FindsTheTwinsRoads(town, town.start(i), &twin)) {
      state.SkipWithError("other roads than the twin's");
      return;
    }
  }
  CreateRoads(state);
}

void BM_CreateRoadsTwin(benchmark::State& state) {
  const RoadSettings settings(false);
  const Town& town = Town::Of(state.range(0));
  const std::vector<RoadTwin::Pano> panos = PlainPanos(town);
  RoadTwin twin(panos, settings.threshold());
  std::size_t next = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(twin.Create(town.start(next++)));
  }
}

void BM_FindPath(benchmark::State& state) {
  const Town& town = Town::Of(state.range(0));
  const PathPlanner planner(&town.graph());
  PathPlanner::Path path;
  const auto find = [&](std::size_t start) {
    const Vec2<double>& from = town.places()[start];
    const Vec2<double>& to = GoalOf(town, start);
    return planner.FindPath({from.x, from.y, 0.0}, {to.x, to.y, 0.0}, kHops, true, &path);
  };
  for (std::size_t i = 0; i < 16; ++i) {
    const std::size_t start = town.start(i);
    if (!find(start) ||
        path.size() != PathByTwin(town, town.places()[start], GoalOf(town, start))) {
      state.SkipWithError("another path than the twin's");
      return;
    }
  }
  std::size_t next = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(find(town.start(next++)));
  }
}

void BM_FindPathTwin(benchmark::State& state) {
  const Town& town = Town::Of(state.range(0));
  std::size_t next = 0;
  for (auto _ : state) {
    const std::size_t start = town.start(next++);
    benchmark::DoNotOptimize(PathByTwin(town, town.places()[start], GoalOf(town, start)));
  }
}

// All jobs at one size, then the next size: a town is made once.
const int kRegistered = [] {
  using Job = void (*)(benchmark::State&);
  const std::pair<const char*, Job> jobs[] = {
      {"SetView", BM_SetView},
      {"SetActivePanoAndView", BM_SetActivePanoAndView},
      {"CreateRoadsOutward", BM_CreateRoadsOutward},
      {"CreateRoadsOutwardChainsAlone", BM_CreateRoadsOutwardChainsAlone},
      {"CreateRoadsTwin", BM_CreateRoadsTwin},
      {"FindPath", BM_FindPath},
      {"FindPathTwin", BM_FindPathTwin},
  };
  for (const std::int64_t size : {1000, 10000, 100000, 1000000}) {
    for (const auto& job : jobs) {
      benchmark::RegisterBenchmark(job.first, job.second)->Arg(size)->Unit(benchmark::kMicrosecond);
    }
  }
  return 0;
}();

}  // namespace
}  // namespace bench
}  // namespace nimbara
