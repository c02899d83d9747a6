// SPDX-License-Identifier: Apache-2.0
#include "apps/geojson/geojson.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace pelorin {
namespace {

using Json = nlohmann::json;
using Kind = GeoJsonShape::Kind;

// Collections in collections; nobody nests deeper, and the walk below is recursive.
constexpr int kMaxDepth = 32;

// Of one feature, or of all that is no feature; some hundreds of megabytes in memory.
constexpr std::size_t kMaxValues = 5000000;

constexpr char kNoFeature[] = "geometry";

const Json kNothing;

const Json& Member(const Json& object, const char* key) {
  if (!object.is_object()) {
    return kNothing;
  }
  const auto member = object.find(key);
  return member == object.end() ? kNothing : *member;
}

std::size_t LineOf(std::string_view text, std::size_t byte) {
  const std::string_view before = text.substr(0, byte);
  return 1 + static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n'));
}

std::string PlaceOf(std::string_view text, std::size_t byte) {
  return "line " + std::to_string(LineOf(text, byte)) + ", byte " + std::to_string(byte) + ": ";
}

// The JSON library does not say where such a number stands, but quotes it.
std::string NumberFault(std::string_view text, const std::string& message) {
  const std::size_t open = message.find('\'');
  const std::size_t close = message.rfind('\'');
  if (open == std::string::npos || close <= open) {
    return message;
  }
  const std::string number = message.substr(open + 1, close - open - 1);
  const std::size_t at = text.find(number);
  return (at == std::string_view::npos ? "" : PlaceOf(text, at + 1)) + "the number " + number +
         " is larger than any";
}

class Walk {
 public:
  explicit Walk(const GeoJsonHandlers& handlers) : handlers_(handlers) {}

  // True if `value` is a GeoJSON object, whatever it holds.
  bool Visit(const Json& value, const Json& properties, int depth) {
    const std::string type = GeoJsonText(value, "type");
    if (depth > kMaxDepth) {
      handlers_.on_warning("collections nested deeper than " + std::to_string(kMaxDepth) +
                           " are left out");
      return true;
    }
    if (type == "FeatureCollection") {
      return VisitAll(value, "features", properties, depth);
    }
    if (type == "GeometryCollection") {
      return VisitAll(value, "geometries", properties, depth);
    }
    return type == "Feature" ? VisitFeature(value, depth) : TellGeometry(type, value, properties);
  }

  // The same for an entry of the list `key`, which may be anything.
  void VisitEntry(const char* key, const Json& entry, const Json& properties, int depth) {
    if (!Visit(entry, properties, depth)) {
      handlers_.on_warning("an entry of \"" + std::string(key) + "\" is no GeoJSON object");
    }
  }

 private:
  bool VisitAll(const Json& object, const char* key, const Json& properties, int depth) {
    const Json& list = Member(object, key);
    if (!list.is_array()) {
      return false;
    }
    for (const Json& item : list) {
      VisitEntry(key, item, properties, depth + 1);
    }
    return true;
  }

  bool VisitFeature(const Json& feature, int depth) {
    ++feature_;
    name_ = GeoJsonText(feature, "id");
    if (name_.empty()) {
      name_ = "feature " + std::to_string(feature_);
    }
    const Json& geometry = Member(feature, "geometry");
    const Json& properties = Member(feature, "properties");
    bool is_shape = true;
    if (geometry.is_null()) {
      Tell(Kind::kOther, kNothing, properties);
    } else {
      is_shape = Visit(geometry, properties, depth + 1);
    }
    name_ = kNoFeature;
    return is_shape;
  }

  bool TellGeometry(const std::string& type, const Json& geometry, const Json& properties) {
    const Json& coordinates = Member(geometry, "coordinates");
    if (type == "LineString" || type == "Polygon") {
      Tell(type == "Polygon" ? Kind::kPolygon : Kind::kLine, coordinates, properties);
    } else if (type == "MultiLineString" || type == "MultiPolygon") {
      for (const Json& one : coordinates) {
        Tell(type == "MultiPolygon" ? Kind::kPolygon : Kind::kLine, one, properties);
      }
    } else if (type == "Point" || type == "MultiPoint") {
      Tell(Kind::kOther, coordinates, properties);
    } else {
      return false;
    }
    return true;
  }

  void Tell(Kind kind, const Json& coordinates, const Json& properties) {
    handlers_.on_shape({kind, name_, coordinates, properties});
  }

  const GeoJsonHandlers& handlers_;
  std::uint64_t feature_ = 0;
  std::string name_ = kNoFeature;
};

struct TooManyValues {};

// Tells of the entries of the outermost "features" as each ends, and lets it go: what the text
// holds is many times its size in memory. "type" may stand behind the list, so the name has to do.
class Entries {
 public:
  explicit Entries(Walk* walk) : walk_(walk) {}

  // False for a value that need not be kept.
  bool On(int depth, Json::parse_event_t event, const Json& parsed) {
    using Event = Json::parse_event_t;
    if (event == Event::key) {
      is_features_ = depth == 1 ? parsed == "features" : is_features_;
      return true;
    }
    if (depth == 1) {
      is_list_ = is_features_ && event == Event::array_start;
    }
    const bool is_inside = is_list_ && depth > 1;
    const bool is_end = event == Event::object_end || event == Event::array_end;
    if (!is_end && ++(is_inside ? values_inside_ : values_outside_) > kMaxValues) {
      throw TooManyValues();
    }
    if (!is_inside || depth != 2 || !(is_end || event == Event::value)) {
      return true;
    }
    walk_->VisitEntry("features", parsed, kNothing, 1);
    values_inside_ = 0;
    return false;
  }

 private:
  Walk* walk_;
  bool is_features_ = false;
  bool is_list_ = false;
  std::size_t values_inside_ = 0;
  std::size_t values_outside_ = 0;
};

}  // namespace

bool ReadGeoJson(std::string_view text, const GeoJsonHandlers& handlers, std::string* attribution,
                 std::string* error) {
  Walk walk(handlers);
  Entries entries(&walk);
  Json document;
  try {
    document = Json::parse(text, [&entries](int depth, Json::parse_event_t event, Json& parsed) {
      return entries.On(depth, event, parsed);
    });
  } catch (const Json::parse_error& fault) {
    *error = PlaceOf(text, fault.byte) + "not JSON, or damaged";
    return false;
  } catch (const Json::out_of_range& fault) {
    *error = NumberFault(text, fault.what());
    return false;
  } catch (const TooManyValues&) {
    *error = "more than " + std::to_string(kMaxValues) + " values in one piece; cut it into parts";
    return false;
  }
  *attribution =
      GeoJsonText(document, document.contains("attribution") ? "attribution" : "copyright");
  if (!walk.Visit(document, kNothing, 0)) {
    *error = "JSON, but not GeoJSON";
    return false;
  }
  return true;
}

std::string GeoJsonText(const Json& object, const char* key) {
  const Json& member = Member(object, key);
  if (member.is_string()) {
    return member.get<std::string>();
  }
  return member.is_number() ? member.dump() : std::string();
}

const char* ReadGeoJsonPosition(const Json& position, LatLng* place) {
  if (!position.is_array() || position.size() < 2 || !position[0].is_number() ||
      !position[1].is_number()) {
    return "that is no pair of numbers";
  }
  const LatLng read{position[1].get<double>(), position[0].get<double>()};
  if (!IsValidLatLng(read)) {
    return "outside the planet's degrees";
  }
  *place = read;
  return nullptr;
}

}  // namespace pelorin
