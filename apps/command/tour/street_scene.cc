// SPDX-License-Identifier: Apache-2.0
#include "apps/command/tour/street_scene.h"

#include <algorithm>
#include <mutex>

#include "apps/command/stored_place.h"
#include "apps/command/tour/tour_report.h"
#include "host/loculus/point.h"
#include "host/reference/loculus/depth_surface.h"
#include "spatial/panorama/pelorin_spatial_options.h"

namespace pelorin {
namespace command {
namespace {

using nimbara::HeapManager;
using nimbara::loculus::DepthSurface;
using nimbara::loculus::PhotoOverlay;
using nimbara::loculus::Placemark;
using nimbara::spatial::PanoGraph;
using nimbara::spatial::PanoramaData;
using nimbara::spatial::PanoRoad;
using nimbara::spatial::PelorinSpatialOptions;

constexpr double kLabelSpacingMetres = 100.0;

QString AddressOf(const PanoramaData& record) {
  return record.address.isEmpty() ? record.text : record.address;
}

}  // namespace

StreetScene::StreetScene(const PanoGraph& graph, TourStreets* streets)
    : graph_(graph), streets_(streets),
      generator_(QString(), PelorinSpatialOptions::s_settings_.pano_tile_template_url.Get()) {}

void StreetScene::Enter(int stop, const QString& id) {
  const std::lock_guard<nimbara::SpinLock> hold(graph_.lock);
  PanoramaData* const record = graph_.GetPanoramaData(id);
  if (record == nullptr) {
    return;
  }
  AddOverlay(stop, record);
  creator_.CreateRoadsOutward(*record, graph_);
  AddRoads(stop);
  AddLabels(stop);
  // Roads point to records, which the next answer may replace.
  creator_.Clear();
}

void StreetScene::AddOverlay(int stop, PanoramaData* record) {
  const nimbara::RefPtr<PhotoOverlay> overlay =
      generator_.GenerateLanescapeOverlay(record->pano_id, record);
  if (!overlay) {
    return;
  }
  overlay->SetDescription(AddressOf(*record));
  if (record->depthmap != nullptr) {
    overlay->SetSurface(new (HeapManager::GetDynamicHeap()) DepthSurface(
        *record->depthmap, overlay->point()->position(), record->pano_yaw_deg));
  }
  record->overlay = overlay;
  streets_->overlays.push_back({stop, record->depthmap != nullptr, overlay});
}

void StreetScene::AddRoads(int stop) {
  for (const PanoRoad* road : creator_.roads) {
    if (road == nullptr || !road->geometry || !ShowsNewLink(*road)) {
      continue;
    }
    TourRoad kept;
    kept.stop = stop;
    kept.rgb = RgbOf(road->LinkColor(road->panos[0], road->panos[1]).abgr);
    kept.street = road->panos.front()->text.toStdString();
    kept.line = road->geometry;
    kept.line->SetName(road->panos.front()->text);
    kept.line->SetDescription(
        QString("Seen from stop %1: %2 panoramas").arg(stop + 1).arg(road->panos.size()));
    streets_->roads.push_back(std::move(kept));
  }
}

void StreetScene::AddLabels(int stop) {
  for (const nimbara::RefPtr<Placemark>& label : creator_.labels) {
    const auto* const point =
        label ? nimbara::loculus::As<nimbara::loculus::Point>(label->geometry()) : nullptr;
    if (point == nullptr || label->name().isEmpty()) {
      continue;
    }
    const std::string street = label->name().toStdString();
    const LatLng place = PlaceFromStored(point->position());
    if (!IsLabelledNear(street, place)) {
      labelled_.emplace(street, place);
      streets_->labels.push_back({stop, street, place, label});
    }
  }
}

bool StreetScene::ShowsNewLink(const PanoRoad& road) {
  bool shows_new = false;
  for (std::size_t i = 1; i < road.panos.size(); ++i) {
    shows_new |=
        shown_links_.insert(std::minmax(road.panos[i - 1]->pano_id, road.panos[i]->pano_id)).second;
  }
  return shows_new;
}

bool StreetScene::IsLabelledNear(const std::string& street, const LatLng& place) const {
  const auto [first, last] = labelled_.equal_range(street);
  return std::any_of(first, last, [&place](const auto& entry) {
    return DistanceMetres(entry.second, place) < kLabelSpacingMetres;
  });
}

}  // namespace command
}  // namespace pelorin
