// SPDX-License-Identifier: Apache-2.0
#include "apps/dataset/street_panoramas.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "apps/dataset/panorama_maps.h"
#include "apps/dataset/street_panoramas_builder.h"

namespace pelorin {

namespace {

constexpr std::int32_t kImageWidth = 2048;
constexpr std::int32_t kImageHeight = 1024;
constexpr std::int32_t kTileSize = 512;
// House numbers rise by two on each side every so many metres.
constexpr double kHouseMetres = 12.0;
constexpr double kCameraHeightMetres = 2.5;
constexpr double kFacadeHeightMetres = 12.0;

// The odd and even numbers beside a place, as they are said.
std::string StreetRange(const Street& street, double offset_m) {
  if (street.first_number <= 0) {
    return {};
  }
  const std::int64_t first =
      street.first_number + 2 * static_cast<std::int64_t>(std::max(0.0, offset_m) / kHouseMetres);
  return std::to_string(first) + "-" + std::to_string(first + 1);
}

}  // namespace

NodeKey NodeKey::OfPlace(const LatLng& place, std::int32_t storey) {
  const std::int64_t lat = std::llround(place.lat_deg * 1e7);
  const std::int64_t lng = std::llround(place.lng_deg * 1e7);
  // Both fit 32 bits: 180 degrees are 1.8e9.
  return {(std::uint64_t{1} << 32) | static_cast<std::uint32_t>(storey),
          lat * (std::int64_t{1} << 32) + lng};
}

StreetPanoramas::StreetPanoramas(std::vector<Street> streets, const Options& options)
    : streets_(std::move(streets)), options_(options) {}
StreetPanoramas::~StreetPanoramas() = default;

StreetPanoramas::Outcome StreetPanoramas::Build(std::vector<Street> streets, const Options& options,
                                                std::unique_ptr<StreetPanoramas>* result) {
  std::unique_ptr<StreetPanoramas> panoramas(new StreetPanoramas(std::move(streets), options));
  const Outcome outcome = StreetPanoramasBuilder(panoramas.get()).Run();
  if (outcome == Outcome::kBuilt) {
    *result = std::move(panoramas);
  }
  return outcome;
}

std::string StreetPanoramas::IdOf(std::size_t index) const {
  return std::string(spots_[index].id.data(), kPanoIdLength);
}

std::size_t StreetPanoramas::LinkEnd(std::size_t index) const {
  return index + 1 < spots_.size() ? spots_[index + 1].first_link : links_.size();
}

PanoRecord StreetPanoramas::MakeRecord(std::size_t index) const {
  const Spot& spot = spots_[index];
  const Street& street = streets_[spot.street];
  PanoRecord record;
  record.id = IdOf(index);
  record.place = spot.place;
  record.scene = spot.scene;
  record.level_id = streets_[spot.level_street].level.id;
  record.text = street.name;
  record.street_range = StreetRange(street, static_cast<double>(spot.offset_m));
  record.copyright = options_.copyright;
  record.image_date = street.image_date;
  record.image_width = kImageWidth;
  record.image_height = kImageHeight;
  record.tile_width = kTileSize;
  record.tile_height = kTileSize;
  record.pano_yaw_deg = static_cast<double>(spot.yaw_deg);
  for (std::size_t i = spot.first_link; i < LinkEnd(index); ++i) {
    record.links.push_back({IdOf(links_[i].to), static_cast<double>(links_[i].yaw_deg),
                            streets_[links_[i].street].road_argb});
  }
  AddLevels(index, &record);
  AddMaps(index, &record);
  return record;
}

void StreetPanoramas::AddLevels(std::size_t index, PanoRecord* record) const {
  const auto begin = std::lower_bound(levels_.begin(), levels_.end(), index,
                                      [](const std::pair<std::uint32_t, std::uint32_t>& entry,
                                         std::size_t spot) { return entry.first < spot; });
  for (auto entry = begin; entry != levels_.end() && entry->first == index; ++entry) {
    const StreetLevel& level = streets_[spots_[entry->second].level_street].level;
    record->levels.push_back(
        {level.id, IdOf(entry->second), level.ordinal, level.text, level.abbreviation});
  }
  std::stable_sort(record->levels.begin(), record->levels.end(),
                   [](const PanoLevel& a, const PanoLevel& b) { return a.ordinal < b.ordinal; });
}

void StreetPanoramas::AddMaps(std::size_t index, PanoRecord* record) const {
  const Spot& spot = spots_[index];
  const Street& street = streets_[spot.street];
  if (options_.depth_maps) {
    const bool along = spot.pieces <= 2;
    DepthScene scene;
    scene.camera_height_m = kCameraHeightMetres;
    scene.facade_height_m = kFacadeHeightMetres;
    scene.left_m = along && street.left_facade ? street.half_width_m : 0.0;
    scene.right_m = along && street.right_facade ? street.half_width_m : 0.0;
    record->depth_map = MakeDepthMap(scene);
  }
  if (options_.pano_maps) {
    std::vector<PanoMapEntry> entries;
    for (std::size_t i = spot.first_link; i < LinkEnd(index); ++i) {
      const LatLng& other = spots_[links_[i].to].place;
      const double metres = DistanceMetres(spot.place, other);
      const double bearing = BearingDegrees(spot.place, other) * kPi / 180.0;
      entries.push_back({IdOf(links_[i].to),
                         static_cast<double>(links_[i].yaw_deg) - record->pano_yaw_deg,
                         metres * std::sin(bearing), metres * std::cos(bearing)});
    }
    record->pano_map = MakePanoMap(entries);
  }
}

}  // namespace pelorin
