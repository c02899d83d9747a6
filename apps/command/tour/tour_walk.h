// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <vector>

#include "apps/command/outcome.h"
#include "apps/command/tour/tour_fetch_manager.h"
#include "apps/command/tour/track_file.h"
#include "apps/dataset/pano_record.h"
#include "spatial/graph/pano_graph.h"
#include "spatial/graph/path_planner.h"
#include "spatial/panorama/panorama_fetcher.h"

namespace pelorin {
namespace command {

/// What a walk is asked for.
struct WalkPlan {
  LatLng from;
  LatLng to;
  /// Most panoramas in a walk, both ends included; 1 or more.
  int max_hops = 1000;
  /// Reach of look-ups by position, in metres.
  double radius_m = 50.0;
  std::string server;  ///< For messages.
  /// A track to follow in place of a way of its own; only `FollowTrack` reads it.
  std::vector<TrackPoint> track;
};

/// A viewer without a window: looks around at both ends, follows the links outwards until they
/// meet, plans the walk and goes it step by step, fetching ahead. What it needs it asks for through
/// the fetch manager alone, as a viewer would; what fails it asks for again.
///
/// Owned by its maker, for one thread. Keeps plain pointers to the graph and the manager, which
/// outlive it. Everything it reads of a record it reads under the graph's lock.
///
/// ```
/// PanoGraph graph;
/// TourFetchManager manager(&graph);
/// TourWalk walk(&graph, &manager, plan);
/// Outcome outcome = walk.Run();
/// manager.Stop();
/// ```
class TourWalk {
 public:
  using Path = nimbara::spatial::PathPlanner::Path;
  /// Hears, on the walking thread, how many panoramas are known and how far the walk has come:
  /// `total` is 0 while the way is still unknown.
  using OnProgress = std::function<void(std::int64_t done, std::int64_t total)>;

  TourWalk(nimbara::spatial::PanoGraph* graph, TourFetchManager* manager, const WalkPlan& plan,
           OnProgress on_progress = {});

  /// Finds the way, up to `path`, without going it. Fails as `Run` does.
  Outcome FindRoute();

  /// The whole walk. Fails with "nothing found" if no panorama stands within 100 metres of an end
  /// or if no links lead from one to the other in `max_hops`, and with "unavailable" if no request
  /// was answered at all. All requests of its own have ended when it returns.
  Outcome Run();

  /// Fetches what lies along the plan's track, and takes the panoramas nearest to it as the walk,
  /// one after the other, linked or not. Fails with "nothing found" if none stands within the
  /// plan's radius of any point, and otherwise as `Run` does.
  Outcome FollowTrack();

  /// The walk; empty if it failed.
  const Path& path() const { return path_; }
  /// Whether the walk ends at the panorama nearest to the plan's goal. `max_hops` can hold it back.
  bool reaches_goal() const { return ReachesGoal(path_); }
  /// After `FollowTrack`: the panorama for each point of the track; see `PanoramasAlong`.
  const std::vector<QString>& along() const { return along_; }
  /// Requests that were refused, since the same was under way.
  std::uint64_t refused() const { return refused_; }
  /// Requests made again after one for the same thing that brought nothing.
  std::uint64_t asked_again() const { return asked_again_; }

 private:
  using Ids = std::vector<QString>;

  Outcome LookAround(const LatLng& place, const char* what);
  bool IsNearSomething(const LatLng& place) const;
  Outcome FindWay();
  bool ReachesGoal(const Path& path) const;
  bool HasHoles(const Path& path) const;
  Outcome NoWay(bool reached_limit) const;
  Ids Frontier() const;
  void Explore(const Ids& places);
  void GoAlong();
  void FillGaps();
  void AskAlongTrack();
  void TakePathAlongTrack();
  Outcome NothingAnswers() const;

  void AskNear(const LatLng& place);
  void AskTilesAround(const LatLng& place);
  void AskNeighbours(const QString& id);
  void LetAnswersKeepUp();
  void WaitForAll();
  bool IsEverythingEnded();

  nimbara::spatial::PanoramaFetcher* fetcher() const;
  bool HasRecord(const QString& id) const;
  bool PlaceOf(const QString& id, LatLng* place) const;
  QString NearestTo(const LatLng& place) const;

  nimbara::spatial::PanoGraph* const graph_;
  TourFetchManager* const manager_;
  const WalkPlan plan_;
  const OnProgress on_progress_;

  QString start_;  // The panoramas nearest to both ends, once known.
  QString goal_;
  Path path_;
  Ids along_;
  std::uint64_t refused_ = 0;
  std::uint64_t asked_again_ = 0;

  // The manager's own count of looks at one tile, followed from outside.
  nimbara::spatial::MapTile last_tile_ = nimbara::spatial::MapTile::At(-1, -1, -1);
  int looks_in_tile_ = 0;

  std::map<QString, int> asked_ids_;  // How often each was asked for.
  std::set<std::vector<int>> asked_tiles_;
  std::vector<LatLng> tile_places_;  // Where whole tiles were asked for.
  // What may still be under way.
  Ids open_ids_;
  std::vector<nimbara::spatial::MapTile> open_tiles_;
  std::vector<LatLng> open_places_;
};

}  // namespace command
}  // namespace pelorin
