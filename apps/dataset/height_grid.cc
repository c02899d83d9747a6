// SPDX-License-Identifier: Apache-2.0
#include "apps/dataset/height_grid.h"

#include <algorithm>
#include <cmath>

namespace pelorin {

namespace {

constexpr std::size_t kMaxNameLength = 64;
constexpr std::int64_t kMaxSide = 1000000;
// A tenth of a millimetre. Far below it the number of steps round the planet is beyond all numbers.
constexpr double kSmallestStepDegrees = 1e-9;
constexpr double kLargestStepDegrees = 360.0;
// Steps are often written with few digits, and a row may stand half a step beyond.
constexpr double kSlackDegrees = 1e-6;

bool IsStep(double degrees) {
  return degrees >= kSmallestStepDegrees && degrees <= kLargestStepDegrees;
}

bool IsNameCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '_';
}

bool IsName(const std::string& name) {
  return !name.empty() && name.size() <= kMaxNameLength &&
         std::all_of(name.begin(), name.end(), IsNameCharacter);
}

}  // namespace

std::string FaultOf(const HeightGridInfo& info) {
  if (!IsName(info.name)) {
    return "not a name for heights: \"" + XmlSafeText(info.name) + "\"";
  }
  if (info.rows < 1 || info.rows > kMaxSide || info.columns < 1 || info.columns > kMaxSide) {
    return "the heights " + info.name + " have a side that is not from 1 to 1000000";
  }
  if (!IsValidLatLng({info.north_deg, info.west_deg})) {
    return "the heights " + info.name + " begin outside the planet's degrees";
  }
  if (!IsStep(info.lat_step_deg) || !IsStep(info.lng_step_deg)) {
    return "the heights " + info.name + " have steps that are not from 1e-9 to 360 degrees";
  }
  const double south = info.north_deg - static_cast<double>(info.rows - 1) * info.lat_step_deg;
  const double round = static_cast<double>(info.columns) * info.lng_step_deg;
  if (!(south >= -90.0 - kSlackDegrees && round <= 360.0 + info.lng_step_deg + kSlackDegrees)) {
    return "the heights " + info.name + " end outside the planet's degrees";
  }
  return {};
}

std::string HeightGridName(const std::string& text) {
  std::string name = text.substr(0, kMaxNameLength);
  for (char& c : name) {
    c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    c = IsNameCharacter(c) ? c : '-';
  }
  return name.empty() ? "heights" : name;
}

}  // namespace pelorin
