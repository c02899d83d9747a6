// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>

#include "apps/importer/street_source.h"
#include "apps/importer/street_tags.h"

namespace pelorin {

namespace {

using Json = nlohmann::json;

// A document in memory takes some ten times its text.
constexpr std::size_t kMaxBytes = std::size_t{1} << 29;
// Collections in collections; nobody nests deeper, and the walk below is recursive.
constexpr int kMaxDepth = 32;

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

std::size_t LineOf(const std::string& text, std::size_t byte) {
  const std::size_t end = std::min(byte, text.size());
  return 1 + static_cast<std::size_t>(
                 std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(end), '\n'));
}

// A member as text; numbers as they are written, anything else as nothing.
std::string Text(const Json& object, const char* key) {
  if (!object.is_object()) {
    return {};
  }
  const auto member = object.find(key);
  if (member == object.end()) {
    return {};
  }
  if (member->is_string()) {
    return member->get<std::string>();
  }
  return member->is_number() ? member->dump() : std::string();
}

// When the line was seen, under the first of these names that has a date.
std::string DateOf(const Json& properties) {
  for (const char* key : {"date", "capture_time", "survey:date", "check_date"}) {
    std::string date = Text(properties, key);
    if (!SeenDate(date).empty()) {
      return date;
    }
  }
  return {};
}

StreetTags TagsOf(const Json& properties) {
  const auto tag = [&properties](const char* key) { return Text(properties, key); };
  return {tag("highway"), tag("name"),    tag("level"),   tag("area"),   tag("access"),
          tag("foot"),    tag("service"), tag("footway"), tag("indoor"), DateOf(properties)};
}

class Reader {
 public:
  Reader(std::string path, StreetSource* source) : path_(std::move(path)), source_(source) {}

  // True if `value` is a GeoJSON object, whatever it holds.
  bool ReadObject(const Json& value, const Json& properties, int depth) {
    const std::string type = Text(value, "type");
    if (depth > kMaxDepth) {
      source_->Warn(path_ + ": collections nested deeper than " + std::to_string(kMaxDepth) +
                    " are left out");
      return true;
    }
    if (type == "FeatureCollection") {
      return ReadAll(value, "features", properties, depth);
    }
    if (type == "GeometryCollection") {
      return ReadAll(value, "geometries", properties, depth);
    }
    if (type == "Feature") {
      return ReadFeature(value, depth);
    }
    if (type == "LineString") {
      ReadLine(Member(value, "coordinates"), properties);
      return true;
    }
    if (type == "MultiLineString") {
      for (const Json& line : Member(value, "coordinates")) {
        ReadLine(line, properties);
      }
      return true;
    }
    return type == "Point" || type == "MultiPoint" || type == "Polygon" || type == "MultiPolygon";
  }

 private:
  static const Json& Member(const Json& object, const char* key) {
    static const Json nothing;
    const auto member = object.find(key);
    return member == object.end() ? nothing : *member;
  }

  bool ReadAll(const Json& object, const char* key, const Json& properties, int depth) {
    const Json& list = Member(object, key);
    if (!list.is_array()) {
      return false;
    }
    for (const Json& item : list) {
      if (!ReadObject(item, properties, depth + 1)) {
        source_->Warn(path_ + ": an entry of \"" + key + "\" is no GeoJSON object");
      }
    }
    return true;
  }

  bool ReadFeature(const Json& feature, int depth) {
    ++feature_;
    const Json& geometry = Member(feature, "geometry");
    return geometry.is_null() || ReadObject(geometry, Member(feature, "properties"), depth + 1);
  }

  void ReadLine(const Json& positions, const Json& properties) {
    ++source_->lines_read;
    std::optional<Street> street = StreetFromTags(TagsOf(properties));
    if (!street) {
      return;
    }
    if (!positions.is_array()) {
      Warn("a line without positions");
      return;
    }
    for (const Json& position : positions) {
      if (!position.is_array() || position.size() < 2 || !position[0].is_number() ||
          !position[1].is_number()) {
        Warn("a position that is no pair of numbers is stepped over");
        continue;
      }
      const LatLng place{position[1].get<double>(), position[0].get<double>()};
      if (!IsValidLatLng(place)) {
        Warn("a position outside the planet's degrees is stepped over");
        continue;
      }
      street->points.push_back({place, NodeKey::OfPlace(place)});
    }
    source_->streets.push_back(*std::move(street));
  }

  void Warn(const std::string& what) {
    source_->Warn(path_ + ": feature " + std::to_string(feature_) + ": " + what);
  }

  std::string path_;
  StreetSource* source_;
  std::uint64_t feature_ = 0;
};

}  // namespace

void ReadGeoJson(const std::string& path, StreetSource* source) {
  const std::string text = ReadText(path, source);
  Json document;
  try {
    document = Json::parse(text);
  } catch (const Json::exception& fault) {
    const auto* parse_fault = dynamic_cast<const Json::parse_error*>(&fault);
    const std::size_t byte = parse_fault != nullptr ? parse_fault->byte : 0;
    throw InputFault(path + ": line " + std::to_string(LineOf(text, byte)) + ", byte " +
                     std::to_string(byte) + ": not JSON, or damaged");
  }
  if (source->attribution.empty()) {
    source->attribution =
        Text(document, document.contains("attribution") ? "attribution" : "copyright");
  }
  if (!Reader(path, source).ReadObject(document, Json(), 0)) {
    throw InputFault(path + ": JSON, but not GeoJSON");
  }
}

}  // namespace pelorin
