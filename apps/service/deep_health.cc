// SPDX-License-Identifier: Apache-2.0
#include "apps/service/deep_health.h"

#include <cmath>
#include <limits>
#include <vector>

namespace pelorin {

namespace {

constexpr char kWell[] = "ok";
constexpr char kNone[] = "none";

std::string LookAtPanoramas(const Dataset& dataset) {
  if (dataset.counts().panoramas == 0)
    return kNone;
  NearestQuery anywhere;
  const BoundingBox& box = dataset.bounds();
  anywhere.place = {(box.south_deg + box.north_deg) / 2.0, (box.west_deg + box.east_deg) / 2.0};
  anywhere.radius_m = std::numeric_limits<double>::infinity();
  PanoRecord record;
  std::string error;
  switch (dataset.FindNearest(anywhere, true, &record, &error)) {
  case Answer::kFound:
    return kWell;
  case Answer::kNothing:
    return "none is found";
  case Answer::kFailed:
    break;
  }
  return error;
}

std::string LookAtHeights(const Dataset& dataset) {
  if (dataset.height_grids().empty())
    return kNone;
  std::vector<LatLng> places;
  for (const HeightGridInfo& grid : dataset.height_grids()) {
    const double down = static_cast<double>(grid.rows / 2) * grid.lat_step_deg;
    const double right = static_cast<double>(grid.columns / 2) * grid.lng_step_deg;
    places.push_back({grid.north_deg - down, std::remainder(grid.west_deg + right, 360.0)});
  }
  std::vector<Height> heights;
  std::string error;
  return dataset.FindHeights(places, {}, &heights, &error) == Answer::kFound ? kWell : error;
}

}  // namespace

bool DeepHealth::well() const {
  return (panoramas == kWell || panoramas == kNone) && (heights == kWell || heights == kNone);
}

DeepHealth LookDeeply(const Dataset& dataset) {
  return {LookAtPanoramas(dataset), LookAtHeights(dataset)};
}

}  // namespace pelorin
