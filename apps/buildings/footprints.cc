// SPDX-License-Identifier: Apache-2.0
#include "apps/buildings/footprints.h"

#include <algorithm>
#include <charconv>
#include <system_error>
#include <utility>

#include "apps/geojson/geojson.h"

namespace pelorin {
namespace {

using Json = nlohmann::json;

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

bool IsHeight(double metres) {
  return metres > 0.0 && metres <= kMaxHeight;
}

class Reader {
 public:
  Reader(const FootprintOptions& options, Footprints* found) : options_(options), found_(found) {}

  void Read(const GeoJsonShape& shape) {
    if (shape.kind != GeoJsonShape::Kind::kPolygon) {
      ++found_->other_features;
      return;
    }
    name_ = shape.name;
    ReadPolygon(shape.coordinates, shape.properties);
  }

 private:
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
    footprint.is_part = IsPart(properties);
    found_->footprints.push_back(std::move(footprint));
  }

  // False if the whole polygon is of no use.
  bool AddRing(const Json& positions, Footprint* footprint) {
    std::vector<LatLng> ring;
    if (positions.is_array()) {
      for (const Json& position : positions) {
        LatLng place;
        if (const char* const fault = ReadGeoJsonPosition(position, &place)) {
          Warn(std::string("a polygon with a position ") + fault + " is left out");
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

  static bool IsPart(const Json& properties) {
    const std::string part = GeoJsonText(properties, "building:part");
    return !part.empty() && part != "no" && GeoJsonText(properties, "building").empty();
  }

  double HeightOf(const Json& properties) {
    if (!GeoJsonText(properties, "min_height").empty() ||
        !GeoJsonText(properties, "building:min_level").empty()) {
      ++found_->above_ground;
    }
    double height = 0.0;
    const std::string told = GeoJsonText(properties, "height");
    if (ParseHeight(told, &height)) {
      ++found_->from_height;
      return height;
    }
    if (!told.empty()) {
      Warn("\"" + told + "\" is no height and is passed over");
    }
    const std::string levels = GeoJsonText(properties, "building:levels");
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
  std::string name_;
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
  Footprints found;
  Reader reader(options, &found);
  const GeoJsonHandlers handlers{[&reader](const GeoJsonShape& shape) { reader.Read(shape); },
                                 [&found](const std::string& line) { found.Warn(line); }};
  if (!ReadGeoJson(text, handlers, &found.attribution, error)) {
    return false;
  }
  *footprints = std::move(found);
  return true;
}

}  // namespace pelorin
