// SPDX-License-Identifier: Apache-2.0
#include <QString>
#include <algorithm>
#include <filesystem>
#include <map>

#include "apps/command/jpeg_date/photo_report.h"
#include "apps/command/kml_parts.h"
#include "apps/jpeg/acquisition_date.h"
#include "host/loculus/icon_style.h"
#include "host/loculus/style.h"
#include "host/reference/kml_writer.h"

namespace pelorin {
namespace command {
namespace {

namespace loculus = nimbara::loculus;
using nimbara::RefPtr;
using PhotosByDate = std::map<std::string, std::vector<const Photo*>>;

constexpr std::uint32_t kUndatedAbgr = 0xFF9C968B;

// From blue for the first of `count` dates to red for the last, as alpha, blue, green, red.
std::uint32_t DateAbgr(std::size_t number, std::size_t count) {
  const std::size_t red = count < 2 ? 255 : 255 * number / (count - 1);
  return 0xFF004000u | static_cast<std::uint32_t>(255 - red) << 16 |
         static_cast<std::uint32_t>(red);
}

void AddPoint(const Photo& photo, std::uint32_t abgr, loculus::Folder* folder) {
  const std::string name = std::filesystem::path(photo.path).filename().string();
  const RefPtr<loculus::Placemark> placemark = AddPlacemark(folder, name);
  placemark->SetDescription(QString::fromStdString(
      photo.path + ", " + (photo.has_date() ? DateText(photo.date) : "undated")));
  placemark->InlineStyle()->GetIconStyle()->setColor(loculus::Color32{abgr});
  placemark->SetGeometry(PointAt(*photo.facts.place).get());
}

void AddCoverage(const std::vector<const Photo*>& photos, std::uint32_t abgr,
                 loculus::Folder* folder) {
  BoundingBox box{90.0, 180.0, -90.0, -180.0};
  for (const Photo* photo : photos) {
    box.south_deg = std::min(box.south_deg, photo->facts.place->lat_deg);
    box.north_deg = std::max(box.north_deg, photo->facts.place->lat_deg);
    box.west_deg = std::min(box.west_deg, photo->facts.place->lng_deg);
    box.east_deg = std::max(box.east_deg, photo->facts.place->lng_deg);
  }
  const RefPtr<loculus::Placemark> placemark = AddPlacemark(folder, "coverage");
  SetLine(placemark.get(), abgr, 2.0f);
  placemark->SetGeometry(LineThrough({{box.south_deg, box.west_deg},
                                      {box.south_deg, box.east_deg},
                                      {box.north_deg, box.east_deg},
                                      {box.north_deg, box.west_deg},
                                      {box.south_deg, box.west_deg}})
                             .get());
}

void AddFolder(const std::string& name, const std::vector<const Photo*>& photos, std::uint32_t abgr,
               loculus::Document* document) {
  LazyFolder folder(document, name.c_str());
  if (photos.size() > 1) {
    AddCoverage(photos, abgr, folder.Get());
  }
  for (const Photo* photo : photos) {
    AddPoint(*photo, abgr, folder.Get());
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
  const RefPtr<loculus::Document> document = NewKml<loculus::Document>();
  document->SetName(QStringLiteral("Imagery by date"));
  std::size_t number = 0;
  for (const auto& [date, of_date] : by_date) {
    AddFolder(date, of_date, DateAbgr(number++, by_date.size()), document.get());
  }
  if (!undated.empty()) {
    AddFolder("undated", undated, kUndatedAbgr, document.get());
  }
  return nimbara::WriteKml(*document).toStdString();
}

}  // namespace command
}  // namespace pelorin
