// SPDX-License-Identifier: Apache-2.0
#include <QString>
#include <algorithm>
#include <filesystem>
#include <map>

#include "apps/command/jpeg_date/photo_report.h"
#include "apps/jpeg/acquisition_date.h"
#include "host/loculus/document.h"
#include "host/loculus/folder.h"
#include "host/loculus/icon_style.h"
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
using PhotosByDate = std::map<std::string, std::vector<const Photo*>>;

constexpr loculus::Color32 kUndated{0xFF9C968B};

template <typename T>
RefPtr<T> New() {
  return RefPtr<T>(new (HeapManager::GetDynamicHeap()) T(loculus::KmlId(), QString()));
}

Vec3<double> Stored(double lat_deg, double lng_deg) {
  return Vec3<double>{lng_deg / 180.0, lat_deg / 180.0, 0.0};
}

// From blue for the first of `count` dates to red for the last, as alpha, blue, green, red.
loculus::Color32 DateColour(std::size_t number, std::size_t count) {
  const std::size_t red = count < 2 ? 255 : 255 * number / (count - 1);
  return loculus::Color32{0xFF004000u | static_cast<std::uint32_t>(255 - red) << 16 |
                          static_cast<std::uint32_t>(red)};
}

RefPtr<loculus::Placemark> AddPlacemark(loculus::Folder* folder, const std::string& name) {
  const RefPtr<loculus::Placemark> placemark = New<loculus::Placemark>();
  placemark->SetName(QString::fromStdString(name));
  folder->AddFeature(placemark.get());
  return placemark;
}

void AddPoint(const Photo& photo, loculus::Color32 colour, loculus::Folder* folder) {
  const std::string name = std::filesystem::path(photo.path).filename().string();
  const RefPtr<loculus::Placemark> placemark = AddPlacemark(folder, name);
  placemark->SetDescription(QString::fromStdString(
      photo.path + ", " + (photo.has_date() ? DateText(photo.date) : "undated")));
  placemark->InlineStyle()->GetIconStyle()->setColor(colour);
  const RefPtr<loculus::Point> point = New<loculus::Point>();
  point->SetPosition(Stored(photo.facts.place->lat_deg, photo.facts.place->lng_deg));
  placemark->SetGeometry(point.get());
}

void AddCoverage(const std::vector<const Photo*>& photos, loculus::Color32 colour,
                 loculus::Folder* folder) {
  BoundingBox box{90.0, 180.0, -90.0, -180.0};
  for (const Photo* photo : photos) {
    box.south_deg = std::min(box.south_deg, photo->facts.place->lat_deg);
    box.north_deg = std::max(box.north_deg, photo->facts.place->lat_deg);
    box.west_deg = std::min(box.west_deg, photo->facts.place->lng_deg);
    box.east_deg = std::max(box.east_deg, photo->facts.place->lng_deg);
  }
  const RefPtr<loculus::Placemark> placemark = AddPlacemark(folder, "coverage");
  placemark->InlineStyle()->GetLineStyle()->setColor(colour);
  placemark->InlineStyle()->GetLineStyle()->SetWidth(2.0f);
  const RefPtr<loculus::LineString> line = New<loculus::LineString>();
  line->AppendCoordinate(Stored(box.south_deg, box.west_deg));
  line->AppendCoordinate(Stored(box.south_deg, box.east_deg));
  line->AppendCoordinate(Stored(box.north_deg, box.east_deg));
  line->AppendCoordinate(Stored(box.north_deg, box.west_deg));
  line->AppendCoordinate(Stored(box.south_deg, box.west_deg));
  line->SetTessellate(true);
  placemark->SetGeometry(line.get());
}

void AddFolder(const std::string& name, const std::vector<const Photo*>& photos,
               loculus::Color32 colour, loculus::Document* document) {
  const RefPtr<loculus::Folder> folder = New<loculus::Folder>();
  folder->SetName(QString::fromStdString(name));
  document->AddFeature(folder.get());
  if (photos.size() > 1) {
    AddCoverage(photos, colour, folder.get());
  }
  for (const Photo* photo : photos) {
    AddPoint(*photo, colour, folder.get());
  }
}

}  // namespace

std::string PhotoKml(const std::vector<Photo>& photos) {
  PhotosByDate by_date;
  std::vector<const Photo*> undated;
  for (const Photo& photo : photos) {
    if (photo.facts.place) {
      (photo.has_date() ? by_date[DateText(photo.date)] : undated).push_back(&photo);
    }
  }
  const RefPtr<loculus::Document> document = New<loculus::Document>();
  document->SetName(QStringLiteral("Imagery by date"));
  std::size_t number = 0;
  for (const auto& [date, of_date] : by_date) {
    AddFolder(date, of_date, DateColour(number++, by_date.size()), document.get());
  }
  if (!undated.empty()) {
    AddFolder("undated", undated, kUndated, document.get());
  }
  return nimbara::WriteKml(*document).toStdString();
}

}  // namespace command
}  // namespace pelorin
