// SPDX-License-Identifier: Apache-2.0
#include "apps/dataset/harbour_town.h"

#include <cmath>
#include <utility>
#include <vector>

#include "apps/dataset/dataset_writer.h"
#include "apps/dataset/harbour_heights.h"
#include "apps/dataset/harbour_houses.h"
#include "apps/dataset/harbour_plan.h"
#include "apps/dataset/schema.h"
#include "apps/dataset/street_panoramas.h"

namespace pelorin {

namespace {

constexpr char kCopyright[] = "The Pelorin authors";
constexpr double kCameraHeightMetres = 2.5;

StreetLevel LevelOf(const PlanStreet& street) {
  if (street.level_id.empty()) {
    return {};
  }
  const bool platforms = street.storey > 0;
  return {street.level_id, street.storey, platforms ? "Platforms" : "Concourse",
          platforms ? "P" : "C"};
}

Street StreetOf(const PlanStreet& plan) {
  Street street;
  street.name = plan.name;
  street.rank = plan.rank;
  street.road_argb = plan.road_argb;
  street.level = LevelOf(plan);
  street.half_width_m = plan.half_width_m;
  street.left_facade = plan.left_houses;
  street.right_facade = plan.right_houses;
  street.first_number = plan.first_number;
  const std::vector<PlanPoint> line = LineOf(plan);
  for (std::size_t i = 0; i < line.size(); ++i) {
    const std::int32_t storey = i == 0                 ? plan.first_storey
                                : i + 1 == line.size() ? plan.last_storey
                                                       : plan.storey;
    const LatLng place = PlaceOf(line[i]);
    street.points.push_back({place, NodeKey::OfPlace(place, storey)});
  }
  return street;
}

std::vector<Street> Streets() {
  std::vector<Street> streets;
  for (const PlanStreet& plan : HarbourStreets()) {
    streets.push_back(StreetOf(plan));
  }
  return streets;
}

// The town was driven through three times, a street in one of them.
std::string DateOfStreet(const std::string& name) {
  constexpr const char* kDrives[] = {"2022-09", "2024-05", "2025-06"};
  std::size_t sum = 0;
  for (const char c : name) {
    sum += static_cast<unsigned char>(c);
  }
  return kDrives[sum % 3];
}

void AddSights(PanoRecord* record) {
  for (const PlanSight& sight : HarbourSights()) {
    const LatLng place = PlaceOf(sight.point);
    const double metres = DistanceMetres(record->place, place);
    if (metres > sight.seen_within_m || metres < 1.0) {
      continue;
    }
    const double rise = sight.height_m - kCameraHeightMetres;
    const double pitch = std::atan2(rise, metres) * 180.0 / kPi;
    record->annotations.push_back(
        {sight.id, sight.title, std::round(BearingDegrees(record->place, place) * 10.0) / 10.0,
         std::round(pitch * 10.0) / 10.0, std::round(metres * 10.0) / 10.0});
  }
}

bool AddShapes(const std::vector<PlanShape>& shapes, DatasetWriter* writer, std::string* error) {
  for (const PlanShape& plan : shapes) {
    BackdropShape shape;
    shape.kind = plan.kind;
    shape.name = plan.name;
    shape.closed = plan.closed;
    for (const PlanPoint& point :
         plan.curved ? CurveThrough(plan.points, plan.closed) : plan.points) {
      shape.points.push_back(PlaceOf(point));
    }
    if (!writer->AddBackdrop(shape, error)) {
      return false;
    }
  }
  return true;
}

}  // namespace

std::unique_ptr<Dataset> MakeHarbourTown(std::string* error) {
  StreetPanoramas::Options options;
  options.copyright = kCopyright;
  options.depth_maps = true;
  options.pano_maps = true;
  std::unique_ptr<StreetPanoramas> panoramas;
  const std::unique_ptr<DatasetWriter> writer = DatasetWriter::InMemory(error);
  if (writer == nullptr) {
    return nullptr;
  }
  if (StreetPanoramas::Build(Streets(), options, &panoramas) != StreetPanoramas::Outcome::kBuilt) {
    Fail(error, "the harbour town cannot be built");
    return nullptr;
  }
  for (std::size_t i = 0; i < panoramas->size(); ++i) {
    PanoRecord record = panoramas->MakeRecord(i);
    record.image_date = DateOfStreet(record.text);
    AddSights(&record);
    if (!writer->Add(record, error)) {
      return nullptr;
    }
  }
  if (!AddShapes(HarbourShapes(), writer.get(), error) ||
      !AddShapes(HarbourHouses(), writer.get(), error) ||
      !writer->AddHeightGrid(HarbourHeights(), error)) {
    return nullptr;
  }
  DatasetInfo info;
  info.name = "Gull Haven";
  info.attribution = kCopyright;
  info.tour_from = PlaceOf(HarbourStreets()[1].points.back());
  info.tour_to = PlaceOf(HarbourSights()[5].point);
  return writer->Finish(info, error);
}

}  // namespace pelorin
