// SPDX-License-Identifier: Apache-2.0
#include "apps/command/tour/tour_kml.h"

#include <QString>

#include "apps/command/kml_parts.h"
#include "apps/command/tour/street_kml.h"
#include "host/loculus/camera.h"
#include "host/reference/kml_writer.h"

namespace pelorin {
namespace command {
namespace {

namespace loculus = nimbara::loculus;
using nimbara::RefPtr;

constexpr std::uint32_t kWalkAbgr = 0xFF2F46D1;
constexpr std::uint32_t kInferredAbgr = 0xFF9B24B0;
constexpr std::uint32_t kTurnAbgr = 0xFF34B1F2;
constexpr std::uint32_t kPanoramaAbgr = 0xFF534A3B;
constexpr std::uint32_t kPlaceholderAbgr = 0xFF9C968B;
/// Height of a camera car's mast.
constexpr double kEyeMetres = 2.5;

QString Text(const std::string& text) {
  return QString::fromStdString(text);
}

std::uint32_t AbgrOf(std::uint32_t rgb) {
  return 0xFF000000u | RgbOf(rgb);
}

/// Builds the document, folder by folder.
class KmlBuilder {
 public:
  explicit KmlBuilder(const TourReport& report)
      : report_(report), document_(NewKml<loculus::Document>()) {
    document_->SetName(Text(report.title));
    document_->SetDescription(Text(report.attribution));
  }

  void AddPanoramas(bool fetched, const char* name);
  void AddEdges(bool only_inferred, const char* name);
  void AddTurns();
  void AddWalk();
  void AddStreets() { AddStreetFolders(report_.streets, document_.get()); }
  std::string Write() const;

 private:
  const TourPanorama& At(std::size_t stop) const {
    return report_.panoramas[static_cast<std::size_t>(report_.path[stop])];
  }

  const TourReport& report_;
  RefPtr<loculus::Document> document_;
};

std::string Facts(const TourPanorama& panorama) {
  std::string text = panorama.id;
  if (!panorama.level_id.empty()) {
    text += ", level " + (panorama.level_name.empty() ? panorama.level_id : panorama.level_name);
  }
  if (!panorama.date.empty()) {
    text += ", taken " + panorama.date;
  }
  return panorama.copyright.empty() ? text : text + ", " + panorama.copyright;
}

std::string NameOf(const TourPanorama& panorama) {
  return panorama.address.empty() ? panorama.id : panorama.address;
}

void KmlBuilder::AddPanoramas(bool fetched, const char* name) {
  LazyFolder folder(document_.get(), name);
  for (const TourPanorama& panorama : report_.panoramas) {
    if (panorama.fetched != fetched) {
      continue;
    }
    const RefPtr<loculus::Placemark> placemark = AddPlacemark(folder.Get(), NameOf(panorama));
    placemark->SetDescription(Text(Facts(panorama)));
    placemark->SetGeometry(PointAt(panorama.place).get());
    SetDot(placemark.get(), fetched ? kPanoramaAbgr : kPlaceholderAbgr, 0.4f);
  }
}

void KmlBuilder::AddEdges(bool only_inferred, const char* name) {
  LazyFolder folder(document_.get(), name);
  for (const TourEdge& edge : report_.edges) {
    if (only_inferred && !edge.inferred) {
      continue;
    }
    const TourPanorama& a = report_.panoramas[static_cast<std::size_t>(edge.a)];
    const TourPanorama& b = report_.panoramas[static_cast<std::size_t>(edge.b)];
    const RefPtr<loculus::Placemark> placemark =
        AddPlacemark(folder.Get(), a.street.empty() ? b.street : a.street);
    placemark->SetGeometry(LineThrough({a.place, b.place}).get());
    SetLine(placemark.get(), edge.inferred ? kInferredAbgr : AbgrOf(edge.road_rgb),
            static_cast<float>(edge.inferred ? 2.0 : RoadWidthMetres(edge.road_rgb) / 2.0));
  }
}

void KmlBuilder::AddTurns() {
  LazyFolder folder(document_.get(), "turns");
  for (const TourTurn& turn : report_.turns) {
    const RefPtr<loculus::Placemark> placemark =
        AddPlacemark(folder.Get(), turn.left ? "Turn left" : "Turn right");
    placemark->SetDescription(Text("Stop " + std::to_string(turn.stop + 1) + ": " +
                                   NameOf(At(static_cast<std::size_t>(turn.stop)))));
    placemark->SetGeometry(PointAt(turn.aim).get());
    SetDot(placemark.get(), kTurnAbgr, 0.9f);
  }
}

void KmlBuilder::AddWalk() {
  if (report_.path.empty()) {
    return;
  }
  std::vector<LatLng> places;
  for (std::size_t stop = 0; stop < report_.path.size(); ++stop) {
    places.push_back(At(stop).place);
  }
  const RefPtr<loculus::Placemark> walk =
      AddPlacemark(LazyFolder(document_.get(), "path").Get(),
                   "The walk from " + NameOf(At(0)) + " to " + NameOf(At(report_.path.size() - 1)));
  // A line has two ends; the walk that begins at its goal is a line from there to there.
  if (places.size() == 1) {
    places.push_back(places.front());
  }
  walk->SetGeometry(LineThrough(places).get());
  SetLine(walk.get(), kWalkAbgr, 5.0f);

  LazyFolder stops(document_.get(), "stops");
  for (std::size_t stop = 0; stop < report_.path.size(); ++stop) {
    const bool is_last = stop + 1 == report_.path.size();
    const double heading_deg =
        is_last ? At(stop).heading_deg : BearingDegrees(At(stop).place, At(stop + 1).place);
    const RefPtr<loculus::Placemark> placemark =
        AddPlacemark(stops.Get(), std::to_string(stop + 1) + ": " + NameOf(At(stop)));
    placemark->SetDescription(Text(Facts(At(stop))));
    placemark->SetGeometry(PointAt(At(stop).place).get());
    SetDot(placemark.get(), kWalkAbgr, 0.5f);
    const RefPtr<loculus::Camera> camera = NewKml<loculus::Camera>();
    camera->SetLongitude(At(stop).place.lng_deg);
    camera->SetLatitude(At(stop).place.lat_deg);
    camera->SetAltitude(kEyeMetres);
    camera->SetAltitudeMode(loculus::AltitudeMode::kRelativeToGround);
    camera->SetHeading(heading_deg);
    camera->SetTilt(90.0);
    placemark->SetView(camera.get());
  }
}

std::string KmlBuilder::Write() const {
  return nimbara::WriteKml(*document_).toStdString();
}

}  // namespace

std::string TourKml(const TourReport& report) {
  KmlBuilder builder(report);
  builder.AddPanoramas(true, "panoramas");
  builder.AddPanoramas(false, "placeholders");
  builder.AddEdges(false, "edges");
  builder.AddEdges(true, "inferred_links");
  builder.AddTurns();
  builder.AddWalk();
  builder.AddStreets();
  return builder.Write();
}

std::string RouteKml(const TourReport& report) {
  KmlBuilder builder(report);
  builder.AddTurns();
  builder.AddWalk();
  return builder.Write();
}

}  // namespace command
}  // namespace pelorin
