// SPDX-License-Identifier: Apache-2.0
#include "apps/command/tour/street_kml.h"

#include <cmath>
#include <string>

#include "apps/command/kml_parts.h"
#include "apps/command/tour/corridor_shapes.h"
#include "host/loculus/line_style.h"
#include "host/loculus/style.h"

namespace pelorin {
namespace command {
namespace {

using nimbara::RefPtr;
using nimbara::loculus::Document;
using nimbara::loculus::Placemark;

constexpr std::uint32_t kCorridorAbgr = 0xB08C7A2E;
constexpr std::uint32_t kFilletAbgr = 0xFFB04E00;
constexpr std::uint32_t kPushedAbgr = 0xFF34B1F2;
constexpr std::uint32_t kHeldAbgr = 0xFF8B6F1F;
// A line of one pixel, as roads come, is hard to see beside the street that it stands for.
constexpr float kRoadPixels = 4.0f;

std::string MetresText(double metres) {
  const long long tenths = std::llround(metres * 10.0);
  return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " m";
}

void AddCorridors(const TourStreets& streets, Document* document) {
  LazyFolder folder(document, "corridors");
  for (const TourCorridor& corridor : streets.corridors) {
    const RefPtr<Placemark> outline = AddPlacemark(
        folder.Get(), corridor.street.empty() ? "Corridor" : "Corridor of " + corridor.street);
    outline->SetDescription(QString::fromStdString(
        MetresText(corridor.half_width_a_m) + " to each side at its start, " +
        MetresText(corridor.half_width_b_m) + " at its end, from north to south"));
    outline->SetGeometry(LineThrough(OutlineOf(corridor)).get());
    SetLine(outline.get(), kCorridorAbgr, 1.5f);
  }
}

void AddFillets(const TourStreets& streets, Document* document) {
  LazyFolder folder(document, "fillets");
  for (const TourFillet& fillet : streets.fillets) {
    const RefPtr<Placemark> arc = AddPlacemark(
        folder.Get(), fillet.name.empty() ? "Rounded corner" : "Rounded corner at " + fillet.name);
    arc->SetDescription(QString::fromStdString("Radius " + MetresText(fillet.radius_m)));
    arc->SetGeometry(LineThrough(fillet.arc).get());
    SetLine(arc.get(), kFilletAbgr, 2.0f);
  }
}

void AddCamera(const TourStreets& streets, Document* document) {
  if (streets.camera.empty()) {
    return;
  }
  LazyFolder folder(document, "camera");
  std::vector<LatLng> pushed;
  std::vector<LatLng> held;
  for (const CameraStep& step : streets.camera) {
    pushed.push_back(step.pushed);
    held.push_back(step.held);
  }
  // A line has two ends, also where the walk begins at its goal.
  if (held.size() == 1) {
    pushed.push_back(pushed.front());
    held.push_back(held.front());
  }
  const RefPtr<Placemark> pushed_line =
      AddPlacemark(folder.Get(), "Where the camera was pushed to");
  pushed_line->SetGeometry(LineThrough(pushed).get());
  SetLine(pushed_line.get(), kPushedAbgr, 1.5f);
  const RefPtr<Placemark> held_line =
      AddPlacemark(folder.Get(), "Where the corridors held the camera");
  held_line->SetGeometry(LineThrough(held).get());
  SetLine(held_line.get(), kHeldAbgr, 2.5f);
}

}  // namespace

void AddStreetFolders(const TourStreets& streets, Document* document) {
  LazyFolder roads(document, "roads");
  for (const TourRoad& road : streets.roads) {
    road.line->InlineStyle()->GetLineStyle()->SetWidth(kRoadPixels);
    roads.Get()->AddFeature(road.line.get());
  }
  LazyFolder labels(document, "labels");
  for (const TourLabel& label : streets.labels) {
    labels.Get()->AddFeature(label.mark.get());
  }
  AddCorridors(streets, document);
  AddFillets(streets, document);
  AddCamera(streets, document);
  LazyFolder overlays(document, "overlays");
  for (const TourOverlay& one : streets.overlays) {
    overlays.Get()->AddFeature(one.overlay.get());
  }
}

}  // namespace command
}  // namespace pelorin
