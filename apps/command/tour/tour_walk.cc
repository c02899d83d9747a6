// SPDX-License-Identifier: Apache-2.0
#include "apps/command/tour/tour_walk.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <mutex>
#include <utility>

#include "apps/command/coordinates.h"
#include "apps/command/stored_place.h"
#include "host/reference/network_statistics.h"
#include "spatial/panorama/pelorin_spatial_options.h"

namespace pelorin {
namespace command {
namespace {

using nimbara::HeapManager;
using nimbara::mmvector;
using nimbara::spatial::MapTile;
using nimbara::spatial::PanoGraph;
using nimbara::spatial::PanoramaData;
using nimbara::spatial::PathPlanner;
using nimbara::spatial::PelorinSpatialOptions;

// The seventh look at one tile is the one that asks for whole tiles.
constexpr int kLooksBeforeTiles = 6;
constexpr int kLooks = kLooksBeforeTiles + 1;
// How often one thing is asked for before it counts as not to be had. With one answer in three
// lost, a panorama is given up wrongly once in 6561 times.
constexpr int kTries = 8;
constexpr std::size_t kPlacesPerRound = 8;
// Rounds that look for the goal's own panorama once the walk can end within 100 metres of it.
constexpr int kRoundsBeyond = 64;
constexpr int kMaxRounds = 20000;
constexpr int kMaxResets = 2;
// How far the panorama of an end may stand from it; the planner's own limit for the goal.
constexpr double kNearMetres = 100.0;

MapTile TileOf(const LatLng& place) {
  return MapTile(place.lat_deg, place.lng_deg,
                 PelorinSpatialOptions::s_settings_.meta_data_tile_zoom_level.Get());
}

}  // namespace

TourWalk::TourWalk(PanoGraph* graph, TourFetchManager* manager, const WalkPlan& plan,
                   OnProgress on_progress)
    : graph_(graph), manager_(manager), plan_(plan), on_progress_(std::move(on_progress)) {}

Outcome TourWalk::FindRoute() {
  if (Outcome outcome = LookAround(plan_.from, "start"); !outcome.ok()) {
    return outcome;
  }
  start_ = NearestTo(plan_.from);
  if (Outcome outcome = LookAround(plan_.to, "goal"); !outcome.ok()) {
    return outcome;
  }
  goal_ = NearestTo(plan_.to);
  if (Outcome outcome = FindWay(); !outcome.ok()) {
    path_.clear();
    return outcome;
  }
  return Outcome::Done();
}

Outcome TourWalk::Run() {
  Outcome outcome = FindRoute();
  if (outcome.ok()) {
    GoAlong();
    FillGaps();
  }
  return outcome;
}

/// Looks until a panorama is known near a place: by position first, then, from the seventh look on,
/// by whole tiles. A look that fails is made again.
Outcome TourWalk::LookAround(const LatLng& place, const char* what) {
  const std::uint64_t answered_before = nimbara::net::GetNetworkStatistics().succeeded;
  for (int look = 0; look < kLooks + kTries; ++look) {
    const std::uint64_t failed_before = nimbara::net::GetNetworkStatistics().failed;
    AskNear(place);
    WaitForAll();
    if (IsNearSomething(place)) {
      return Outcome::Done();
    }
    const bool failed = nimbara::net::GetNetworkStatistics().failed != failed_before;
    if (manager_->IsMetaDataTileFetched(TileOf(place)) || (look >= kLooks && !failed)) {
      break;
    }
    asked_again_ += failed ? 1 : 0;
  }
  if (nimbara::net::GetNetworkStatistics().succeeded == answered_before) {
    return NothingAnswers();
  }
  return Outcome::Fail(ExitCode::kNothingFound, "no panorama within 100 m",
                       std::string(what) + " " + LatLngText(place),
                       "choose a place on a street of the dataset");
}

Outcome TourWalk::NothingAnswers() const {
  return Outcome::Fail(ExitCode::kUnavailable, "the service does not answer", plan_.server,
                       "see that it runs and that the address is right");
}

bool TourWalk::IsNearSomething(const LatLng& place) const {
  LatLng nearest;
  return PlaceOf(NearestTo(place), &nearest) && DistanceMetres(nearest, place) <= kNearMetres;
}

/// Best first: always on from the known panoramas that stand nearest to the goal.
Outcome TourWalk::FindWay() {
  const PathPlanner planner(graph_);
  int resets = 0;
  int rounds_beyond = 0;
  for (int round = 0; round < kMaxRounds; ++round) {
    const bool found = planner.FindPath(StoredFrom(plan_.from), StoredFrom(plan_.to),
                                        plan_.max_hops, false, &path_);
    if (found && !HasHoles(path_) && (ReachesGoal(path_) || ++rounds_beyond > kRoundsBeyond)) {
      return Outcome::Done();
    }
    const Ids frontier = Frontier();
    if (!frontier.empty()) {
      Explore(frontier);
      continue;
    }
    // A search that fails empties its path; the one that was found may be needed yet.
    Path in_scene;
    if (planner.FindPath(StoredFrom(plan_.from), StoredFrom(plan_.to), plan_.max_hops, true,
                         &in_scene)) {
      path_ = in_scene;
      return Outcome::Done();
    }
    if (found && !HasHoles(path_)) {
      return Outcome::Done();
    }
    if (++resets > kMaxResets) {
      return NoWay(false);
    }
    // An unreadable answer marks its tile as done; forgetting the tiles asks for them once more.
    manager_->Reset();
    last_tile_ = MapTile::At(-1, -1, -1);
    if (Outcome outcome = LookAround(plan_.from, "start"); !outcome.ok()) {
      return outcome;
    }
  }
  return NoWay(true);
}

bool TourWalk::ReachesGoal(const Path& path) const {
  return !path.empty() && path.back() == goal_;
}

bool TourWalk::HasHoles(const Path& path) const {
  return std::any_of(path.begin(), path.end(),
                     [this](const QString& id) { return !HasRecord(id); });
}

Outcome TourWalk::NoWay(bool reached_limit) const {
  return Outcome::Fail(ExitCode::kNothingFound,
                       reached_limit ? "the search was given up"
                                     : "no links lead from one to the other within " +
                                           std::to_string(plan_.max_hops) + " panoramas",
                       LatLngText(plan_.from) + " to " + LatLngText(plan_.to),
                       "choose places of one street network, or a larger --max-hops");
}

/// The fetched panoramas in reach that have a neighbour which is not, nearest to the goal first.
TourWalk::Ids TourWalk::Frontier() const {
  const std::lock_guard<nimbara::SpinLock> hold(graph_->lock);
  mmvector<PanoGraph::ConnectedPanoInfo> reach(HeapManager::GetTransientHeap());
  graph_->GetConnectedPanos(start_, plan_.max_hops - 1, false, &reach);
  std::map<QString, double> places;
  for (const PanoGraph::ConnectedPanoInfo& row : reach) {
    const auto asked = asked_ids_.find(row.pano_id);
    if (HasRecord(row.pano_id) || (asked != asked_ids_.end() && asked->second >= kTries)) {
      continue;
    }
    const QString& parent =
        row.parent < 0 ? start_ : reach[static_cast<std::size_t>(row.parent)].pano_id;
    LatLng place;
    if (PlaceOf(parent, &place)) {
      places[parent] = DistanceMetres(place, plan_.to);
    }
  }
  Ids frontier;
  for (const auto& [id, metres] : places) {
    frontier.push_back(id);
  }
  std::stable_sort(frontier.begin(), frontier.end(),
                   [&places](const QString& a, const QString& b) { return places[a] < places[b]; });
  return frontier;
}

void TourWalk::Explore(const Ids& places) {
  LatLng foremost;
  if (PlaceOf(places.front(), &foremost)) {
    AskNear(foremost);
  }
  for (std::size_t i = 0; i < std::min(places.size(), kPlacesPerRound); ++i) {
    AskNeighbours(places[i]);
  }
  WaitForAll();
}

/// The walk itself. Its panoramas are there; what lies around each of them is fetched in passing,
/// so nothing is waited for but that the answers keep up.
void TourWalk::GoAlong() {
  std::int64_t gone = 0;
  for (const QString& id : path_) {
    LatLng place;
    if (PlaceOf(id, &place)) {
      AskNear(place);
    }
    AskNeighbours(id);
    LetAnswersKeepUp();
    if (on_progress_) {
      on_progress_(++gone, static_cast<std::int64_t>(path_.size()));
    }
  }
  WaitForAll();
}

/// Looks back along the walk for what failed on the way, until all is there or not to be had.
void TourWalk::FillGaps() {
  for (int round = 0; round < kTries; ++round) {
    const std::size_t asked_before = asked_again_;
    for (const QString& id : path_) {
      AskNeighbours(id);
    }
    for (const LatLng& place : tile_places_) {
      AskTilesAround(place);
      manager_->FetchAllMetaData(place.lat_deg, place.lng_deg, plan_.radius_m);
    }
    WaitForAll();
    if (asked_again_ == asked_before) {
      return;
    }
  }
}

void TourWalk::AskNear(const LatLng& place) {
  const MapTile tile = TileOf(place);
  if (manager_->IsMetaDataTileFetched(tile)) {
    return;
  }
  if (tile == last_tile_) {
    ++looks_in_tile_;
  } else {
    last_tile_ = tile;
    looks_in_tile_ = 0;
  }
  PelorinSpatialOptions& settings = PelorinSpatialOptions::s_settings_;
  const int started_before = settings.num_meta_data_pano_lat_lon_fetches.Get();
  const int tiles_before = settings.num_meta_data_pano_tile_fetches.Get();
  const std::size_t open_before = open_tiles_.size();
  if (settings.fetch_metadata_tiles.Get() && looks_in_tile_ >= kLooksBeforeTiles) {
    AskTilesAround(place);
    tile_places_.push_back(place);
  }
  manager_->FetchNearestMetaData(place.lat_deg, place.lng_deg, plan_.radius_m);
  const auto asked = static_cast<int>(1 + open_tiles_.size() - open_before);
  const int started = settings.num_meta_data_pano_lat_lon_fetches.Get() - started_before +
                      settings.num_meta_data_pano_tile_fetches.Get() - tiles_before;
  refused_ += static_cast<std::uint64_t>(std::max(0, asked - started));
  open_places_.push_back(place);
}

/// Notes the tiles that the manager is about to ask for, with its repetitions.
void TourWalk::AskTilesAround(const LatLng& place) {
  mmvector<MapTile> tiles(HeapManager::GetTransientHeap());
  MapTile::CollectSurroundingTiles(place.lat_deg, place.lng_deg, TileOf(place).zoom, plan_.radius_m,
                                   &tiles);
  for (const MapTile& wanted : tiles) {
    if (!wanted.IsValid() || manager_->IsMetaDataTileFetched(wanted)) {
      continue;
    }
    const bool is_under_way = fetcher()->IsFetching(fetcher()->CreateUrl(wanted)) ||
                              std::count(open_tiles_.begin(), open_tiles_.end(), wanted) > 0;
    if (!is_under_way && !asked_tiles_.insert({wanted.x, wanted.y, wanted.zoom}).second) {
      ++asked_again_;
    }
    open_tiles_.push_back(wanted);
  }
}

void TourWalk::AskNeighbours(const QString& id) {
  // Under the lock from the look to the asking, so that no answer comes between the two counts.
  const std::lock_guard<nimbara::SpinLock> hold(graph_->lock);
  const PanoramaData* const record = graph_->GetPanoramaData(id);
  if (record == nullptr) {
    return;
  }
  mmvector<PanoGraph::ConnectedPanoInfo> around(HeapManager::GetTransientHeap());
  graph_->GetConnectedPanos(id, 2, false, &around);
  Ids wanted;
  for (const PanoGraph::ConnectedPanoInfo& row : around) {
    wanted.push_back(row.pano_id);
  }
  for (const auto& level : record->levels) {
    wanted.push_back(level.pano_id);
  }
  wanted.erase(std::remove_if(wanted.begin(), wanted.end(),
                              [this](const QString& other) { return HasRecord(other); }),
               wanted.end());
  // What has been asked for in vain often enough is left alone, with all that is behind it.
  const bool has_hope = std::any_of(wanted.begin(), wanted.end(), [this](const QString& other) {
    return asked_ids_[other] < kTries;
  });
  if (!has_hope) {
    return;
  }
  for (const QString& other : wanted) {
    if (!fetcher()->IsFetching(fetcher()->CreateUrl(other))) {
      asked_again_ += asked_ids_[other] > 0 ? 1 : 0;
      ++asked_ids_[other];
    }
  }
  PelorinSpatialOptions& settings = PelorinSpatialOptions::s_settings_;
  const int before = settings.num_meta_data_pano_id_fetches.Get();
  manager_->EnsureNeighborsFetched(id);
  const int started = settings.num_meta_data_pano_id_fetches.Get() - before;
  refused_ += static_cast<std::uint64_t>(std::max(0, static_cast<int>(wanted.size()) - started));
  open_ids_.insert(open_ids_.end(), wanted.begin(), wanted.end());
}

/// A step takes a viewer longer than an answer; without this a walk over loopback would pile up all
/// of its requests at once.
void TourWalk::LetAnswersKeepUp() {
  if (open_ids_.size() + open_tiles_.size() + open_places_.size() > 2 * kPlacesPerRound) {
    WaitForAll();
  }
}

void TourWalk::WaitForAll() {
  manager_->WaitUntil([this] { return IsEverythingEnded(); });
  if (on_progress_ && path_.empty()) {
    const std::lock_guard<nimbara::SpinLock> hold(graph_->lock);
    on_progress_(static_cast<std::int64_t>(graph_->handles.size()), 0);
  }
}

bool TourWalk::IsEverythingEnded() {
  const auto id_ended = [this](const QString& id) {
    return HasRecord(id) || !fetcher()->IsFetching(fetcher()->CreateUrl(id));
  };
  const auto tile_ended = [this](const MapTile& tile) {
    return manager_->IsMetaDataTileFetched(tile) ||
           !fetcher()->IsFetching(fetcher()->CreateUrl(tile));
  };
  const auto place_ended = [this](const LatLng& place) {
    return !fetcher()->IsFetching(
        fetcher()->CreateUrl(place.lat_deg, place.lng_deg, plan_.radius_m, QString()));
  };
  open_ids_.erase(std::remove_if(open_ids_.begin(), open_ids_.end(), id_ended), open_ids_.end());
  open_tiles_.erase(std::remove_if(open_tiles_.begin(), open_tiles_.end(), tile_ended),
                    open_tiles_.end());
  open_places_.erase(std::remove_if(open_places_.begin(), open_places_.end(), place_ended),
                     open_places_.end());
  return open_ids_.empty() && open_tiles_.empty() && open_places_.empty();
}

/// The manager makes this class of fetcher and no other.
nimbara::spatial::PanoramaFetcher* TourWalk::fetcher() const {
  return static_cast<nimbara::spatial::PanoramaFetcher*>(manager_->fetcher());
}

bool TourWalk::HasRecord(const QString& id) const {
  return graph_->GetPanoramaData(id) != nullptr;
}

bool TourWalk::PlaceOf(const QString& id, LatLng* place) const {
  const std::lock_guard<nimbara::SpinLock> hold(graph_->lock);
  const PanoramaData* const record = graph_->GetPanoramaData(id);
  if (record == nullptr) {
    return false;
  }
  *place = PlaceFromStored(record->position);
  return true;
}

QString TourWalk::NearestTo(const LatLng& place) const {
  return graph_->GetClosestPanoToPoint(StoredFrom(place));
}

}  // namespace command
}  // namespace pelorin
