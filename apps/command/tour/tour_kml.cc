// SPDX-License-Identifier: Apache-2.0
#include "apps/command/tour/tour_kml.h"

#include <QString>

#include "host/loculus/camera.h"
#include "host/loculus/document.h"
#include "host/loculus/folder.h"
#include "host/loculus/icon_style.h"
#include "host/loculus/label_style.h"
#include "host/loculus/line_string.h"
#include "host/loculus/line_style.h"
#include "host/loculus/placemark.h"
#include "host/loculus/point.h"
#include "host/loculus/style.h"
#include "host/reference/kml_writer.h"

namespace pelorin {
namespace command {
namespace {

namespace loculus = nimbara::loculus;
using nimbara::HeapManager;
using nimbara::RefPtr;
using nimbara::Vec3;

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

template <typename T>
RefPtr<T> New() {
  return RefPtr<T>(new (HeapManager::GetDynamicHeap()) T(loculus::KmlId(), QString()));
}

Vec3<double> Stored(const LatLng& place) {
  return Vec3<double>{place.lng_deg / 180.0, place.lat_deg / 180.0, 0.0};
}

loculus::Color32 Colour(std::uint32_t abgr) {
  return loculus::Color32{abgr};
}

std::uint32_t AbgrOf(std::uint32_t rgb) {
  return 0xFF000000u | (rgb & 0xFFu) << 16 | (rgb & 0xFF00u) | (rgb >> 16 & 0xFFu);
}

/// Builds the document, folder by folder.
class KmlBuilder {
 public:
  explicit KmlBuilder(const TourReport& report)
      : report_(report), document_(New<loculus::Document>()) {
    document_->SetName(Text(report.title));
    document_->SetDescription(Text(report.attribution));
  }

  void AddPanoramas(bool fetched, const char* name);
  void AddEdges(bool only_inferred, const char* name);
  void AddTurns();
  void AddWalk();
  std::string Write() const;

 private:
  RefPtr<loculus::Folder> AddFolder(const char* name);
  static RefPtr<loculus::Placemark> AddPlacemark(const RefPtr<loculus::Folder>& folder,
                                                 const std::string& name);
  static void SetDot(loculus::Placemark* placemark, std::uint32_t abgr, float scale);
  static void SetLine(loculus::Placemark* placemark, std::uint32_t abgr, float width);
  const TourPanorama& At(std::size_t stop) const {
    return report_.panoramas[static_cast<std::size_t>(report_.path[stop])];
  }

  const TourReport& report_;
  RefPtr<loculus::Document> document_;
};

RefPtr<loculus::Folder> KmlBuilder::AddFolder(const char* name) {
  RefPtr<loculus::Folder> folder = New<loculus::Folder>();
  folder->SetName(QString::fromLatin1(name));
  document_->AddFeature(folder.get());
  return folder;
}

RefPtr<loculus::Placemark> KmlBuilder::AddPlacemark(const RefPtr<loculus::Folder>& folder,
                                                    const std::string& name) {
  RefPtr<loculus::Placemark> placemark = New<loculus::Placemark>();
  placemark->SetName(Text(name));
  folder->AddFeature(placemark.get());
  return placemark;
}

void KmlBuilder::SetDot(loculus::Placemark* placemark, std::uint32_t abgr, float scale) {
  placemark->InlineStyle()->GetIconStyle()->setColor(Colour(abgr));
  placemark->InlineStyle()->GetIconStyle()->SetScale(scale);
  // A name at each of thousands of dots would hide the map.
  placemark->InlineStyle()->GetLabelStyle()->SetScale(0.0f);
}

void KmlBuilder::SetLine(loculus::Placemark* placemark, std::uint32_t abgr, float width) {
  placemark->InlineStyle()->GetLineStyle()->setColor(Colour(abgr));
  placemark->InlineStyle()->GetLineStyle()->SetWidth(width);
}

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

RefPtr<loculus::Point> PointAt(const LatLng& place) {
  RefPtr<loculus::Point> point = New<loculus::Point>();
  point->SetPosition(Stored(place));
  return point;
}

RefPtr<loculus::LineString> LineThrough(const std::vector<LatLng>& places) {
  RefPtr<loculus::LineString> line = New<loculus::LineString>();
  for (const LatLng& place : places) {
    line->AppendCoordinate(Stored(place));
  }
  line->SetTessellate(true);
  return line;
}

void KmlBuilder::AddPanoramas(bool fetched, const char* name) {
  RefPtr<loculus::Folder> folder;
  for (const TourPanorama& panorama : report_.panoramas) {
    if (panorama.fetched != fetched) {
      continue;
    }
    if (!folder) {
      folder = AddFolder(name);
    }
    const RefPtr<loculus::Placemark> placemark = AddPlacemark(folder, NameOf(panorama));
    placemark->SetDescription(Text(Facts(panorama)));
    placemark->SetGeometry(PointAt(panorama.place).get());
    SetDot(placemark.get(), fetched ? kPanoramaAbgr : kPlaceholderAbgr, 0.4f);
  }
}

void KmlBuilder::AddEdges(bool only_inferred, const char* name) {
  RefPtr<loculus::Folder> folder;
  for (const TourEdge& edge : report_.edges) {
    if (only_inferred && !edge.inferred) {
      continue;
    }
    if (!folder) {
      folder = AddFolder(name);
    }
    const TourPanorama& a = report_.panoramas[static_cast<std::size_t>(edge.a)];
    const TourPanorama& b = report_.panoramas[static_cast<std::size_t>(edge.b)];
    const RefPtr<loculus::Placemark> placemark =
        AddPlacemark(folder, a.street.empty() ? b.street : a.street);
    placemark->SetGeometry(LineThrough({a.place, b.place}).get());
    SetLine(placemark.get(), edge.inferred ? kInferredAbgr : AbgrOf(edge.road_rgb),
            static_cast<float>(edge.inferred ? 2.0 : RoadWidthMetres(edge.road_rgb) / 2.0));
  }
}

void KmlBuilder::AddTurns() {
  RefPtr<loculus::Folder> folder;
  for (const TourTurn& turn : report_.turns) {
    if (!folder) {
      folder = AddFolder("turns");
    }
    const RefPtr<loculus::Placemark> placemark =
        AddPlacemark(folder, turn.left ? "Turn left" : "Turn right");
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
      AddPlacemark(AddFolder("path"),
                   "The walk from " + NameOf(At(0)) + " to " + NameOf(At(report_.path.size() - 1)));
  // A line has two ends; the walk that begins at its goal is a line from there to there.
  if (places.size() == 1) {
    places.push_back(places.front());
  }
  walk->SetGeometry(LineThrough(places).get());
  SetLine(walk.get(), kWalkAbgr, 5.0f);

  const RefPtr<loculus::Folder> stops = AddFolder("stops");
  for (std::size_t stop = 0; stop < report_.path.size(); ++stop) {
    const bool is_last = stop + 1 == report_.path.size();
    const double heading_deg =
        is_last ? At(stop).heading_deg : BearingDegrees(At(stop).place, At(stop + 1).place);
    const RefPtr<loculus::Placemark> placemark =
        AddPlacemark(stops, std::to_string(stop + 1) + ": " + NameOf(At(stop)));
    placemark->SetDescription(Text(Facts(At(stop))));
    placemark->SetGeometry(PointAt(At(stop).place).get());
    SetDot(placemark.get(), kWalkAbgr, 0.5f);
    const RefPtr<loculus::Camera> camera = New<loculus::Camera>();
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
