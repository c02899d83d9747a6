// SPDX-License-Identifier: Apache-2.0
#include <string>
#include <utility>

#include "apps/geojson/geojson.h"
#include "apps/importer/street_source.h"
#include "apps/importer/street_tags.h"

namespace pelorin {

namespace {

// The text is in memory whole.
constexpr std::size_t kMaxBytes = std::size_t{1} << 29;

std::string ReadText(const std::string& path, StreetSource* source) {
  std::string text;
  ReadUnpacked(path, [&](const std::string& bytes) {
    text += bytes;
    if (text.size() > kMaxBytes) {
      throw InputFault(path + ": larger than " + std::to_string(kMaxBytes) +
                       " bytes; cut it into parts");
    }
    if (source->on_bytes) {
      source->on_bytes(bytes.size());
    }
    return true;
  });
  return text;
}

// When the line was seen, under the first of these names that has a date.
std::string DateOf(const nlohmann::json& properties) {
  for (const char* key : {"date", "capture_time", "survey:date", "check_date"}) {
    std::string date = GeoJsonText(properties, key);
    if (!SeenDate(date).empty()) {
      return date;
    }
  }
  return {};
}

StreetTags TagsOf(const nlohmann::json& properties) {
  const auto tag = [&properties](const char* key) { return GeoJsonText(properties, key); };
  return {tag("highway"), tag("name"),    tag("level"),   tag("area"),   tag("access"),
          tag("foot"),    tag("service"), tag("footway"), tag("indoor"), DateOf(properties)};
}

void AddLine(const GeoJsonShape& line, const std::string& path, StreetSource* source) {
  ++source->lines_read;
  std::optional<Street> street = StreetFromTags(TagsOf(line.properties));
  if (!street) {
    return;
  }
  const auto warn = [&](const std::string& what) {
    source->Warn(path + ": " + line.name + ": " + what);
  };
  if (!line.coordinates.is_array()) {
    warn("a line without positions");
    return;
  }
  for (const nlohmann::json& position : line.coordinates) {
    LatLng place;
    if (const char* const fault = ReadGeoJsonPosition(position, &place)) {
      warn(std::string("a position ") + fault + " is stepped over");
      continue;
    }
    street->points.push_back({place, NodeKey::OfPlace(place)});
  }
  source->streets.push_back(*std::move(street));
}

}  // namespace

void ReadGeoJsonLines(const std::string& path, StreetSource* source) {
  GeoJsonHandlers handlers;
  handlers.on_shape = [&](const GeoJsonShape& shape) {
    if (shape.kind == GeoJsonShape::Kind::kLine) {
      AddLine(shape, path, source);
    }
  };
  handlers.on_warning = [&](const std::string& line) { source->Warn(path + ": " + line); };
  std::string attribution;
  std::string error;
  if (!ReadGeoJson(ReadText(path, source), handlers, &attribution, &error)) {
    throw InputFault(path + ": " + error);
  }
  if (source->attribution.empty()) {
    source->attribution = attribution;
  }
}

}  // namespace pelorin
