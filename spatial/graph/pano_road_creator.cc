// SPDX-License-Identifier: Apache-2.0
#include "spatial/graph/pano_road_creator.h"

#include <algorithm>
#include <deque>
#include <memory>
#include <queue>

#include "host/loculus/creation_observer.h"
#include "host/loculus/icon.h"
#include "host/loculus/point.h"
#include "host/text.h"
#include "spatial/graph/cartesian.h"
#include "spatial/panorama/pelorin_spatial_options.h"

namespace nimbara {
namespace spatial {
namespace {

using loculus::Icon;
using loculus::KmlId;
using loculus::Placemark;
using loculus::Point;

constexpr int kMostPanos = 42;
constexpr int kPointHops = 3;
constexpr float kLabelScale = 0.8f;
// Small enough that only the text shows.
constexpr float kLabelIconScale = 0.01f;

using Queue = std::queue<const PanoramaData*,
                         std::deque<const PanoramaData*, mmallocator<const PanoramaData*>>>;

const PelorinSpatialOptions& Options() {
  return PelorinSpatialOptions::s_settings_;
}

double SquaredDistance(const Vec3<double>& a, const Vec3<double>& b) {
  const Vec3<double> way{a.x - b.x, a.y - b.y, a.z - b.z};
  return way.x * way.x + way.y * way.y + way.z * way.z;
}

}  // namespace

PanoRoadCreator::PanoRoadCreator()
    : roads(HeapManager::GetDynamicHeap()), labels(HeapManager::GetDynamicHeap()) {}

PanoRoadCreator::~PanoRoadCreator() {
  Clear();
}

void PanoRoadCreator::CreateRoadsOutward(const PanoramaData& centre, const PanoGraph& graph) {
  Clear();
  FindRoads(centre, graph);
  if (Options().render_roads.Get()) {
    for (PanoRoad* road : roads) {
      road->CreateGeometry();
      road->ClampAltitudesToDepthmap(centre);
    }
    DropRoadsWithoutLine();
  }
  if (Options().render_roads_as_points.Get()) {
    for (PanoRoad* road : roads) {
      if (road != nullptr) {
        road->CreateGeometryAsPoints();
      }
    }
    DropRoadsWithoutLine();
  }
  if (Options().render_road_labels.Get()) {
    CreateLabels(centre, graph);
  }
}

void PanoRoadCreator::FindRoads(const PanoramaData& centre, const PanoGraph& graph) {
  Queue queue{Queue::container_type(HeapManager::GetTransientHeap())};
  queue.push(&centre);
  AddRoad({&centre});
  int count = 1;
  const Vec3<double> middle = CartesianFromStored(centre.position);
  while (!queue.empty() && count < kMostPanos) {
    const PanoramaData* from = queue.front();
    queue.pop();
    if (SquaredDistance(middle, CartesianFromStored(from->position)) >
        Options().road_distance_threshold_sq.Get()) {
      continue;
    }
    const mmvector<ConnectedPano> links(from->links, HeapManager::GetTransientHeap());
    for (const ConnectedPano& link : links) {
      const PanoramaData* found = graph.GetPanoramaData(link.pano_id);
      if (found == nullptr || IsPanoInRoads(found->pano_id)) {
        continue;
      }
      Enter(from, found);
      ++count;
      queue.push(found);
    }
  }
}

// Adds `found` to the first chain that it continues, or to a new one that starts at `from`.
void PanoRoadCreator::Enter(const PanoramaData* from, const PanoramaData* found) {
  const bool taken = std::any_of(roads.begin(), roads.end(),
                                 [found](PanoRoad* road) { return road->TryExtendRoad(found); });
  if (!taken) {
    AddRoad({from, found});
  }
}

void PanoRoadCreator::AddRoad(std::initializer_list<const PanoramaData*> panos) {
  auto road = std::make_unique<PanoRoad>();
  road->panos.assign(panos);
  roads.push_back(road.get());
  road.release();
}

void PanoRoadCreator::DropRoadsWithoutLine() {
  for (PanoRoad*& road : roads) {
    if (road != nullptr && !road->IsValidGeometryLength()) {
      delete road;
      road = nullptr;
    }
  }
}

void PanoRoadCreator::CreateLabels(const PanoramaData& centre, const PanoGraph& graph) {
  const mmvector<ConnectedPano> links(centre.links, HeapManager::GetTransientHeap());
  labels.resize(links.size());
  for (std::size_t i = 0; i < links.size(); ++i) {
    const PanoramaData* target = graph.GetPanoramaData(links[i].pano_id);
    labels[i] = target == nullptr ? nullptr : CreateRoadLabel(*target);
  }
}

void PanoRoadCreator::CreatePointsOutward(const PanoramaData& centre, const PanoGraph& graph) {
  Clear();
  mmvector<PanoGraph::ConnectedPanoInfo> reached(HeapManager::GetTransientHeap());
  graph.GetConnectedPanos(centre.pano_id, kPointHops, true, &reached);
  for (const PanoGraph::ConnectedPanoInfo& row : reached) {
    // All had a record during the walk, but another thread can have taken one away since.
    if (const PanoramaData* pano = graph.GetPanoramaData(row.pano_id)) {
      AddRoad({pano});
    }
  }
  for (PanoRoad* road : roads) {
    road->CreateGeometryAsPoints();
  }
}

RefPtr<Placemark> PanoRoadCreator::CreateRoadLabel(const PanoramaData& pano) {
  const loculus::CreationObserver::NotificationDeferrer deferrer;
  RefPtr<Placemark> label(new (HeapManager::GetDynamicHeap()) Placemark(KmlId(), QStringNull()));
  label->SetGeometry(new (HeapManager::GetDynamicHeap())
                         Point(pano.position, label.get(), KmlId(), QStringNull()));
  label->SetName(pano.text);
  const RefPtr<Icon> no_icon = Icon::CreateEmptyIcon();
  loculus::LabelStyle* label_style = label->InlineStyle()->GetLabelStyle();
  label_style->SetHotSpot(loculus::LegacyScreenVec());
  label_style->SetScale(kLabelScale);
  loculus::IconStyle* icon_style = label->InlineStyle()->GetIconStyle();
  icon_style->SetIcon(no_icon.get());
  icon_style->SetScale(kLabelIconScale);
  return label;
}

bool PanoRoadCreator::AnyNeighborsLoaded(const PanoramaData& pano, const PanoGraph& graph) const {
  return std::any_of(pano.links.begin(), pano.links.end(), [&graph](const ConnectedPano& link) {
    return graph.GetPanoramaData(link.pano_id) != nullptr;
  });
}

bool PanoRoadCreator::IsPanoInRoads(const QString& id) const {
  return std::any_of(roads.begin(), roads.end(), [&id](const PanoRoad* road) {
    return road != nullptr && road->ContainsPano(id);
  });
}

void PanoRoadCreator::Clear() {
  for (PanoRoad* road : roads) {
    delete road;
  }
  roads.clear();
  labels.clear();
}

}  // namespace spatial
}  // namespace nimbara
