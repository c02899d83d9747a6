// SPDX-License-Identifier: Apache-2.0
#include "spatial/graph/pano_road.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "host/loculus/camera.h"
#include "host/loculus/creation_observer.h"
#include "host/loculus/line_string.h"
#include "host/loculus/overlay_surface.h"
#include "host/loculus/photo_overlay.h"
#include "host/loculus/point.h"
#include "host/text.h"
#include "spatial/graph/cartesian.h"
#include "spatial/panorama/pelorin_spatial_options.h"

namespace nimbara {
namespace spatial {
namespace {

using loculus::Camera;
using loculus::Color32;
using loculus::CreationObserver;
using loculus::Icon;
using loculus::KmlId;
using loculus::LineString;
using loculus::OverlaySurface;
using loculus::Placemark;
using loculus::Point;

constexpr double kLeastCosine = 0.708;
constexpr float kOuterWidth = 0.01f;
constexpr float kLineOffsetMetres = 0.4f;
constexpr float kMarkerScale = 2.0f;
// How far above a position the search for the surface begins, in planet radii: 6.4 m.
constexpr double kSearchHeight = 1e-6;
constexpr std::uint16_t kMarkerViewParts =
    loculus::kCameraPosition | loculus::kCameraAltitude | loculus::kCameraRoll;

const QString& MarkerIconUrl() {
  static const QString url =
      QStringLiteral("http://icons.pelorin.example/mapfiles/kml/shapes/placemark_circle.png");
  return url;
}

double Dot(const Vec3<double>& a, const Vec3<double>& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

// The way from `from` to `to`, of length 1, or of length 0. However short it is, it has a
// direction: 3 m squared are only 2e-14 in stored units.
Vec3<double> Direction(const Vec3<double>& from, const Vec3<double>& to) {
  const Vec3<double> way{to.x - from.x, to.y - from.y, to.z - from.z};
  const double length = std::sqrt(Dot(way, way));
  return length > 0.0 ? Vec3<double>{way.x / length, way.y / length, way.z / length} : way;
}

const ConnectedPano* FindLink(const PanoramaData& from, const QString& to) {
  const auto found = std::find_if(from.links.begin(), from.links.end(),
                                  [&to](const ConnectedPano& link) { return link.pano_id == to; });
  return found == from.links.end() ? nullptr : &*found;
}

std::uint32_t Doubled(std::uint8_t part) {
  return std::min<std::uint32_t>(2u * part, 255u);
}

// Opaque, and twice as bright as `color`.
Color32 OuterColor(const Color32& color) {
  return {0xFF000000u | Doubled(color.blue()) << 16 | Doubled(color.green()) << 8 |
          Doubled(color.red())};
}

// Finds the altitude of the surface under `position`; false if there is none.
bool FindAltitude(const OverlaySurface& surface, const Vec3<double>& position, double* altitude) {
  const Vec3<double> origin = surface.GetOrigin();
  const Vec3<double> up = surface.GetUpVector();
  const double base = std::sqrt(Dot(origin, origin)) - 1.0;
  const Vec3<double> point = CartesianFromStored({position.x, position.y, base + position.z});
  const Vec3<double> start{point.x + kSearchHeight * up.x, point.y + kSearchHeight * up.y,
                           point.z + kSearchHeight * up.z};
  const Vec3<double> down{point.x - start.x, point.y - start.y, point.z - start.z};
  Vec3<double> hit;
  if (!surface.TestRay(start, down, &hit)) {
    return false;
  }
  *altitude = StoredFromCartesian(hit).z;
  return true;
}

RefPtr<Placemark> MakePlacemark() {
  return RefPtr<Placemark>(new (HeapManager::GetDynamicHeap()) Placemark(KmlId(), QStringNull()));
}

void StyleMarker(const PanoramaData& pano, loculus::Style* style) {
  style->GetLabelStyle()->SetHotSpot(loculus::LegacyScreenVec());
  loculus::IconStyle* icon_style = style->GetIconStyle();
  icon_style->SetIcon(Icon::create(MarkerIconUrl()).get());
  icon_style->SetScale(kMarkerScale);
  icon_style->setColor(pano.links.empty() ? Color32() : Color32{pano.links.front().road_color});
  icon_style->SetPlacement(loculus::IconPlacement::kOnSurface);
}

// The overlay's camera, held upright: a viewer that goes to the marker keeps where it looks.
void SetMarkerView(const Camera* overlay_view, Placemark* marker) {
  const RefPtr<Camera> view = loculus::Clone<Camera>(overlay_view, false, nullptr);
  if (view) {
    view->SetRoll(0.0);
    marker->SetView(view.get());
    view->SetAppliedParts(kMarkerViewParts);
  }
}

RefPtr<Placemark> MakeMarker(const PanoramaData& pano) {
  RefPtr<Placemark> marker = MakePlacemark();
  marker->SetGeometry(new (HeapManager::GetDynamicHeap())
                          Point(pano.position, marker.get(), KmlId(), QStringNull()));
  StyleMarker(pano, marker->InlineStyle());
  SetMarkerView(loculus::As<Camera>(pano.overlay->view()), marker.get());
  return marker;
}

}  // namespace

PanoRoad::PanoRoad()
    : panos(HeapManager::GetDynamicHeap()), points(HeapManager::GetDynamicHeap()) {}

bool PanoRoad::TryExtendRoad(const PanoramaData* pano) {
  if (panos.empty()) {
    return false;
  }
  if (IsConnected(panos.front(), pano) &&
      (panos.size() == 1 || ExtendsRoadDirection(panos[1], panos.front(), pano))) {
    panos.push_front(pano);
    return true;
  }
  // A chain of one ends here: its only panorama is the front, which does not link to `pano`.
  if (!IsConnected(panos.back(), pano) ||
      !ExtendsRoadDirection(panos[panos.size() - 2], panos.back(), pano)) {
    return false;
  }
  panos.push_back(pano);
  return true;
}

bool PanoRoad::ExtendsRoadDirection(const PanoramaData* a, const PanoramaData* b,
                                    const PanoramaData* c) const {
  return Dot(Direction(a->position, b->position), Direction(b->position, c->position)) >
         kLeastCosine;
}

bool PanoRoad::IsConnected(const PanoramaData* a, const PanoramaData* b) const {
  return FindLink(*a, b->pano_id) != nullptr;
}

Color32 PanoRoad::LinkColor(const PanoramaData* a, const PanoramaData* b) const {
  const ConnectedPano* link = FindLink(*a, b->pano_id);
  return link == nullptr ? Color32() : Color32{link->road_color};
}

bool PanoRoad::ContainsPano(const QString& id) const {
  return std::any_of(panos.begin(), panos.end(),
                     [&id](const PanoramaData* pano) { return pano->pano_id == id; });
}

bool PanoRoad::ContainsAnyOfPanos(const QStringList& ids) const {
  return std::any_of(ids.begin(), ids.end(),
                     [this](const QString& id) { return ContainsPano(id); });
}

bool PanoRoad::IsValidGeometryLength() const {
  const LineString* line = geometry ? loculus::As<LineString>(geometry->geometry()) : nullptr;
  return line != nullptr && line->GetCoordinateCount() >= 2;
}

void PanoRoad::ClampAltitudesToDepthmap(const PanoramaData& centre) {
  LineString* line = geometry ? loculus::As<LineString>(geometry->geometry()) : nullptr;
  const OverlaySurface* surface = centre.overlay ? centre.overlay->surface() : nullptr;
  if (line == nullptr || surface == nullptr) {
    return;
  }
  line->SetAltitudeMode(loculus::AltitudeMode::kAbsolute);
  for (int i = 0; i < line->GetCoordinateCount();) {
    double altitude = 0.0;
    if (FindAltitude(*surface, line->GetCoordinate(i), &altitude)) {
      line->SetCoordinateAltitude(
          i, altitude + PelorinSpatialOptions::s_settings_.z_offset_for_roads.Get());
      ++i;
    } else {
      line->RemoveCoordinate(i);
    }
  }
}

void PanoRoad::CreateGeometry() {
  if (panos.size() < 2) {
    return;
  }
  const CreationObserver::NotificationDeferrer deferrer;
  geometry = MakePlacemark();
  mmvector<Vec3<double>> positions(HeapManager::GetTransientHeap());
  positions.reserve(panos.size());
  for (const PanoramaData* pano : panos) {
    positions.push_back(pano->position);
  }
  LineString* line = new (HeapManager::GetDynamicHeap())
      LineString(positions, geometry.get(), KmlId(), QStringNull());
  geometry->SetGeometry(line);
  line->SetExtrude(true);
  line->SetTessellate(true);
  const Color32 color = LinkColor(panos[0], panos[1]);
  loculus::LineStyle* style = geometry->InlineStyle()->GetLineStyle();
  style->SetOuterColor(OuterColor(color));
  style->setColor(color);
  style->SetOuterWidth(kOuterWidth);
  line->SetAltitudeOffset(kLineOffsetMetres);
}

void PanoRoad::CreateGeometryAsPoints() {
  points.clear();
  const CreationObserver::NotificationDeferrer deferrer;
  for (const PanoramaData* pano : panos) {
    if (pano->overlay) {
      points.push_back(MakeMarker(*pano));
    }
  }
}

}  // namespace spatial
}  // namespace nimbara
