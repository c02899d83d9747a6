// SPDX-License-Identifier: Apache-2.0
#include "apps/buildings/footprints.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <nlohmann/json.hpp>
#include <system_error>
#include <utility>

namespace pelorin {
namespace {

using Json = nlohmann::json;

// Collections in collections; nobody nests deeper, and the walk below is recursive.
constexpr int kMaxDepth = 32;
constexpr std::size_t kMaxWarnings = 100;
constexpr double kMaxHeight = 10000.0;
constexpr double kMetresPerFoot = 0.3048;
constexpr std::string_view kBlanks = " \t\r\n";

std::string_view Trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) {
    return {};
  }
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// The number at the front of `text`, which is moved behind it; false where there is none.
bool TakeNumber(std::string_view* text, double* number) {
  const char* const limit = text->data() + text->size();
  const auto [end, fault] = std::from_chars(text->data(), limit, *number);
  text->remove_prefix(static_cast<std::size_t>(end - text->data()));
  return fault == std::errc();
}

const Json& Member(const Json& object, const char* key) {
  static const Json nothing;
  if (!object.is_object()) {
    return nothing;
  }
  const auto member = object.find(key);
  return member == object.end() ? nothing : *member;
}

// A member as text; numbers as they are written, anything else as nothing.
std::string Text(const Json& object, const char* key) {
  const Json& member = Member(object, key);
  if (member.is_string()) {
    return member.get<std::string>();
  }
  return member.is_number() ? member.dump() : std::string();
}

std::size_t LineOf(std::string_view text, std::size_t byte) {
  const std::string_view before = text.substr(0, byte);
  return 1 + static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n'));
}

bool IsHeight(double metres) {
  return metres > 0.0 && metres <= kMaxHeight;
}

class Reader {
 public:
  Reader(const FootprintOptions& options, Footprints* found) : options_(options), found_(found) {}

  // True if `value` is a GeoJSON object, whatever it holds.
  bool ReadObject(const Json& value, const Json& properties, int depth) {
    const std::string type = Text(value, "type");
    if (depth > kMaxDepth) {
      found_->Warn("collections nested deeper than " + std::to_string(kMaxDepth) + " are left out");
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
    if (type == "Polygon") {
      ReadPolygon(Member(value, "coordinates"), properties);
      return true;
    }
    if (type == "MultiPolygon") {
      for (const Json& polygon : Member(value, "coordinates")) {
        ReadPolygon(polygon, properties);
      }
      return true;
    }
    if (type == "Point" || type == "MultiPoint" || type == "LineString" ||
        type == "MultiLineString") {
      ++found_->other_features;
      return true;
    }
    return false;
  }

 private:
  bool ReadAll(const Json& object, const char* key, const Json& properties, int depth) {
    const Json& list = Member(object, key);
    if (!list.is_array()) {
      return false;
    }
    for (const Json& item : list) {
      if (!ReadObject(item, properties, depth + 1)) {
        found_->Warn("an entry of \"" + std::string(key) + "\" is no GeoJSON object");
      }
    }
    return true;
  }

  bool ReadFeature(const Json& feature, int depth) {
    ++feature_;
    name_ = Text(feature, "id");
    if (name_.empty()) {
      name_ = "feature " + std::to_string(feature_);
    }
    const Json& geometry = Member(feature, "geometry");
    if (geometry.is_null()) {
      ++found_->other_features;
      return true;
    }
    return ReadObject(geometry, Member(feature, "properties"), depth + 1);
  }

  void ReadPolygon(const Json& rings, const Json& properties) {
    Footprint footprint;
    footprint.name = name_;
    if (rings.is_array()) {
      for (const Json& ring : rings) {
        if (!AddRing(ring, &footprint)) {
          return;
        }
      }
    }
    if (footprint.rings.empty()) {
      Warn("a polygon without an outline is left out");
      return;
    }
    footprint.height_m = HeightOf(properties);
    found_->footprints.push_back(std::move(footprint));
  }

  // False if the whole polygon is of no use.
  bool AddRing(const Json& positions, Footprint* footprint) {
    std::vector<LatLng> ring;
    if (positions.is_array()) {
      for (const Json& position : positions) {
        if (!position.is_array() || position.size() < 2 || !position[0].is_number() ||
            !position[1].is_number()) {
          Warn("a polygon with a position that is no pair of numbers is left out");
          return false;
        }
        const LatLng place{position[1].get<double>(), position[0].get<double>()};
        if (!IsValidLatLng(place)) {
          Warn("a polygon with a position outside the planet's degrees is left out");
          return false;
        }
        if (ring.empty() || !(ring.back() == place)) {
          ring.push_back(place);
        }
      }
    }
    if (ring.size() > 1 && ring.front() == ring.back()) {
      ring.pop_back();
    }
    if (ring.size() < 3) {
      // Without its outer ring a polygon is nothing; without a hole it is a little too large.
      Warn(footprint->rings.empty() ? "an outline of fewer than 3 places is left out"
                                    : "a hole of fewer than 3 places is left out");
      return !footprint->rings.empty();
    }
    footprint->rings.push_back(std::move(ring));
    return true;
  }

  double HeightOf(const Json& properties) {
    if (!Text(properties, "min_height").empty() ||
        !Text(properties, "building:min_level").empty()) {
      ++found_->above_ground;
    }
    double height = 0.0;
    const std::string told = Text(properties, "height");
    if (ParseHeight(told, &height)) {
      ++found_->from_height;
      return height;
    }
    if (!told.empty()) {
      Warn("\"" + told + "\" is no height and is passed over");
    }
    const std::string levels = Text(properties, "building:levels");
    std::string_view rest = Trimmed(levels);
    double number = 0.0;
    const bool is_number = TakeNumber(&rest, &number) && rest.empty();
    height = number * options_.level_height_m;
    if (is_number && IsHeight(height)) {
      ++found_->from_levels;
      return height;
    }
    // A shelter without storeys is honestly mapped as 0.
    if (!levels.empty() && !(is_number && number == 0.0)) {
      Warn("\"" + levels + "\" is no number of storeys and is passed over");
    }
    ++found_->from_default;
    return options_.default_height_m;
  }

  void Warn(const std::string& what) { found_->Warn(name_ + ": " + what); }

  const FootprintOptions& options_;
  Footprints* found_;
  std::uint64_t feature_ = 0;
  std::string name_ = "geometry";
};

}  // namespace

void Footprints::Warn(const std::string& warning) {
  if (warnings.size() < kMaxWarnings) {
    warnings.push_back(warning);
  }
  ++warning_count;
}

bool ParseHeight(std::string_view text, double* metres) {
  std::string_view rest = Trimmed(text);
  double number = 0.0;
  if (!TakeNumber(&rest, &number)) {
    return false;
  }
  const std::string_view unit = Trimmed(rest);
  if (unit == "ft" || unit == "'") {
    number *= kMetresPerFoot;
  } else if (!unit.empty() && unit != "m") {
    return false;
  }
  if (!IsHeight(number)) {
    return false;
  }
  *metres = number;
  return true;
}

bool ReadFootprints(std::string_view text, const FootprintOptions& options, Footprints* footprints,
                    std::string* error) {
  Json document;
  try {
    document = Json::parse(text);
  } catch (const Json::exception& fault) {
    const auto* const parse_fault = dynamic_cast<const Json::parse_error*>(&fault);
    const std::size_t byte = parse_fault != nullptr ? parse_fault->byte : 0;
    *error = "line " + std::to_string(LineOf(text, byte)) + ", byte " + std::to_string(byte) +
             ": not JSON, or damaged";
    return false;
  }
  Footprints found;
  found.attribution =
      Text(document, document.contains("attribution") ? "attribution" : "copyright");
  if (!Reader(options, &found).ReadObject(document, Json(), 0)) {
    *error = "JSON, but not GeoJSON";
    return false;
  }
  *footprints = std::move(found);
  return true;
}

}  // namespace pelorin
