// SPDX-License-Identifier: Apache-2.0
#include "apps/command/tour/graph_snapshot.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <mutex>
#include <utility>

#include "apps/command/stored_place.h"

namespace pelorin {
namespace command {
namespace {

using nimbara::HeapManager;
using nimbara::mmvector;
using nimbara::Vec3;
using nimbara::spatial::ConnectedPano;
using nimbara::spatial::PanoGraph;
using nimbara::spatial::PanoramaData;
using nimbara::spatial::PathPlanner;

constexpr double kPlaceholderMetres = 10.0;

/// The copying, step by step. Used under the graph's lock.
class Copier {
 public:
  Copier(const PanoGraph& graph, TourReport* report) : graph_(graph), report_(*report) {}

  void CopyPanoramas();
  void CopyEdges();
  void CopyPath(const PathPlanner::Path& path);
  void FindTurns(const PathPlanner::Path& path);
  void WriteDirections();

 private:
  void CopyRecord(const PanoramaData& record, TourPanorama* panorama) const;
  void PlacePlaceholders();
  const ConnectedPano* LinkBetween(const QString& from, const QString& to) const;
  void AddStep(TourStep::Kind kind, int stop, double metres, const std::string& text);
  std::string Onto(int stop, const std::string& street) const;
  const TourPanorama& At(int stop) const {
    return report_
        .panoramas[static_cast<std::size_t>(report_.path[static_cast<std::size_t>(stop)])];
  }

  const PanoGraph& graph_;
  TourReport& report_;
  std::vector<QString> ids_;
  std::map<QString, int> index_;
};

void Copier::CopyPanoramas() {
  for (const auto& [id, handle] : graph_.handles) {
    ids_.push_back(id);
  }
  std::sort(ids_.begin(), ids_.end());
  report_.panoramas.resize(ids_.size());
  for (std::size_t i = 0; i < ids_.size(); ++i) {
    index_[ids_[i]] = static_cast<int>(i);
    report_.panoramas[i].id = ids_[i].toStdString();
    const PanoramaData* const record = graph_.GetPanoramaData(ids_[i]);
    if (record != nullptr && IsValidLatLng(PlaceFromStored(record->position))) {
      CopyRecord(*record, &report_.panoramas[i]);
    }
  }
  PlacePlaceholders();
}

void Copier::CopyRecord(const PanoramaData& record, TourPanorama* panorama) const {
  panorama->fetched = true;
  panorama->place = PlaceFromStored(record.position);
  panorama->heading_deg = NormalizedDegrees(record.pano_yaw_deg);
  panorama->scene = record.scene;
  panorama->street = record.text.toStdString();
  panorama->street_range = record.street_range.toStdString();
  panorama->address = record.address.toStdString();
  panorama->date = record.image_date.toStdString();
  panorama->copyright = record.copyright.toStdString();
  panorama->level_id = record.level_id.toStdString();
  for (const auto& level : record.levels) {
    if (level.level_id == record.level_id) {
      panorama->level_name = level.text.toStdString();
      panorama->level_ordinal = level.ordinal;
      return;
    }
  }
}

void Copier::PlacePlaceholders() {
  for (std::size_t i = 0; i < ids_.size(); ++i) {
    TourPanorama& panorama = report_.panoramas[i];
    if (panorama.fetched) {
      continue;
    }
    mmvector<ConnectedPano> around(HeapManager::GetTransientHeap());
    graph_.GetLinkedPanos(ids_[i], &around);
    for (const ConnectedPano& neighbour : around) {
      const TourPanorama& from =
          report_.panoramas[static_cast<std::size_t>(index_[neighbour.pano_id])];
      if (!from.fetched) {
        continue;
      }
      const ConnectedPano* const link = LinkBetween(neighbour.pano_id, ids_[i]);
      const double yaw_deg = link != nullptr ? static_cast<double>(link->yaw_deg) : 0.0;
      panorama.place = PlaceAlong(from.place, NormalizedDegrees(yaw_deg),
                                  link != nullptr ? kPlaceholderMetres : 0.0);
      panorama.scene = from.scene;
      break;
    }
  }
}

const ConnectedPano* Copier::LinkBetween(const QString& from, const QString& to) const {
  const PanoramaData* const record = graph_.GetPanoramaData(from);
  if (record == nullptr) {
    return nullptr;
  }
  const auto link = std::find_if(record->links.begin(), record->links.end(),
                                 [&to](const ConnectedPano& one) { return one.pano_id == to; });
  return link == record->links.end() ? nullptr : &*link;
}

void Copier::CopyEdges() {
  for (std::size_t i = 0; i < ids_.size(); ++i) {
    mmvector<ConnectedPano> around(HeapManager::GetTransientHeap());
    graph_.GetLinkedPanos(ids_[i], &around);
    std::vector<int> targets;
    for (const ConnectedPano& neighbour : around) {
      targets.push_back(index_[neighbour.pano_id]);
    }
    std::sort(targets.begin(), targets.end());
    for (const int target : targets) {
      // Each edge is seen from both ends and counted at the lower one.
      if (target < static_cast<int>(i)) {
        continue;
      }
      const QString& other = ids_[static_cast<std::size_t>(target)];
      const ConnectedPano* link = LinkBetween(ids_[i], other);
      if (link == nullptr) {
        link = LinkBetween(other, ids_[i]);
      }
      TourEdge edge;
      edge.a = static_cast<int>(i);
      edge.b = target;
      edge.inferred = link == nullptr;
      edge.road_rgb = link != nullptr ? RgbOf(link->road_color) : 0xFFFFFFu;
      report_.edges.push_back(edge);
    }
  }
}

void Copier::CopyPath(const PathPlanner::Path& path) {
  for (const QString& id : path) {
    report_.path.push_back(index_.at(id));
  }
}

void Copier::FindTurns(const PathPlanner::Path& path) {
  const PathPlanner planner(&graph_);
  for (int stop = 0; stop < static_cast<int>(path.size()); ++stop) {
    Vec3<double> aim;
    if (!planner.IsIntersection(path, stop, &aim)) {
      continue;
    }
    const double before = BearingDegrees(At(stop - 1).place, At(stop).place);
    const double after = BearingDegrees(At(stop).place, At(stop + 1).place);
    const double turn = std::remainder(after - before, 360.0);
    report_.turns.push_back({stop, turn < 0.0, std::abs(turn), PlaceFromStored(aim)});
  }
}

void Copier::AddStep(TourStep::Kind kind, int stop, double metres, const std::string& text) {
  report_.steps.push_back({kind, stop, metres, text});
}

/// What a turn at `stop` leads onto: a street by its name, another road by what it is.
std::string Copier::Onto(int stop, const std::string& street) const {
  const std::string& next = At(stop + 1).street;
  if (!next.empty()) {
    return (next == street ? ", still on " : " onto ") + next;
  }
  const ConnectedPano* const link =
      LinkBetween(QString::fromStdString(At(stop).id), QString::fromStdString(At(stop + 1).id));
  const std::string road = link == nullptr ? "" : RoadClass(RgbOf(link->road_color));
  return road.empty() ? "" : " onto " + road;
}

/// Turns, and places where the street changes its name without one.
void Copier::WriteDirections() {
  const int last = static_cast<int>(report_.path.size()) - 1;
  if (last < 0) {
    return;
  }
  const auto on = [this](int stop) {
    return At(stop).street.empty() ? std::string() : " on " + At(stop).street;
  };
  AddStep(TourStep::Kind::kStart, 0, 0.0, "Start" + on(0));
  double metres = 0.0;
  std::size_t turn = 0;
  std::string street = At(0).street;
  for (int stop = 1; stop < last; ++stop) {
    metres += DistanceMetres(At(stop - 1).place, At(stop).place);
    const std::string& next_street = At(stop + 1).street;
    if (turn < report_.turns.size() && report_.turns[turn].stop == stop) {
      const bool left = report_.turns[turn++].left;
      AddStep(left ? TourStep::Kind::kLeft : TourStep::Kind::kRight, stop, metres,
              std::string(left ? "Turn left" : "Turn right") + Onto(stop, street));
      street = next_street;
    } else if (!next_street.empty() && next_street != street && At(stop).street == next_street) {
      AddStep(TourStep::Kind::kAlong, stop, metres, "Go on along " + next_street);
      street = next_street;
    }
  }
  if (last > 0) {
    metres += DistanceMetres(At(last - 1).place, At(last).place);
    AddStep(TourStep::Kind::kArrive, last, metres, "Arrive" + on(last));
  }
}

}  // namespace

void CopyGraph(const PanoGraph& graph, const PathPlanner::Path& path, TourReport* report) {
  const std::lock_guard<nimbara::SpinLock> hold(graph.lock);
  Copier copier(graph, report);
  copier.CopyPanoramas();
  copier.CopyEdges();
  copier.CopyPath(path);
  copier.FindTurns(path);
  copier.WriteDirections();
}

}  // namespace command
}  // namespace pelorin
