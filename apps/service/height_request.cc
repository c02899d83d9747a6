// SPDX-License-Identifier: Apache-2.0
#include "apps/service/height_request.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string_view>
#include <utility>

#include "apps/service/number_text.h"

namespace pelorin {

namespace {

constexpr double kPolylineUnitsPerDegree = 1e5;
constexpr char kPolylineMark[] = "enc:";

bool Refuse(const std::string& line, std::string* error) {
  *error = line;
  return false;
}

bool ParsePlace(std::string_view text, LatLng* place) {
  const std::size_t comma = text.find(',');
  return comma != std::string_view::npos &&
         ParseNumber(text.substr(0, comma), -90.0, 90.0, &place->lat_deg) &&
         ParseNumber(text.substr(comma + 1), -180.0, 180.0, &place->lng_deg);
}

bool ParseList(const std::string& name, std::string_view text, std::vector<LatLng>* places,
               std::string* error) {
  while (true) {
    const std::size_t bar = text.find('|');
    LatLng place;
    if (!ParsePlace(text.substr(0, bar), &place)) {
      return Refuse("place number " + std::to_string(places->size() + 1) + " of " + name +
                        " is not lat,lng in degrees",
                    error);
    }
    places->push_back(place);
    if (bar == std::string_view::npos)
      return true;
    text.remove_prefix(bar + 1);
  }
}

// One number of a polyline. False at a character that is none of its alphabet, at the end of the
// text and at a number larger than any difference of degrees.
bool TakeNumber(std::string_view* text, std::int64_t* number) {
  std::uint64_t bits = 0;
  for (int shift = 0; !text->empty() && shift < 35; shift += 5) {
    const int group = text->front() - 63;
    if (group < 0 || group > 63)
      return false;
    text->remove_prefix(1);
    bits |= static_cast<std::uint64_t>(group & 0x1F) << shift;
    if ((group & 0x20) == 0) {
      const std::int64_t half = static_cast<std::int64_t>(bits >> 1);
      *number = (bits & 1) != 0 ? ~half : half;
      return true;
    }
  }
  return false;
}

bool ParsePolyline(const std::string& name, std::string_view text, std::vector<LatLng>* places,
                   std::string* error) {
  std::int64_t lat = 0;
  std::int64_t lng = 0;
  while (!text.empty()) {
    std::int64_t lat_step = 0;
    std::int64_t lng_step = 0;
    if (!TakeNumber(&text, &lat_step) || !TakeNumber(&text, &lng_step))
      return Refuse(name + " is no encoded polyline", error);
    lat += lat_step;
    lng += lng_step;
    const LatLng place{static_cast<double>(lat) / kPolylineUnitsPerDegree,
                       static_cast<double>(lng) / kPolylineUnitsPerDegree};
    if (!IsValidLatLng(place))
      return Refuse("the polyline of " + name + " leaves the planet's degrees", error);
    places->push_back(place);
  }
  return true;
}

LatLng Between(const LatLng& a, const LatLng& b, double part) {
  // By the short way round.
  const double east = std::remainder(b.lng_deg - a.lng_deg, 360.0);
  return {a.lat_deg + part * (b.lat_deg - a.lat_deg),
          std::remainder(a.lng_deg + part * east, 360.0)};
}

// What stands at `name`, or the empty text; of a name that is there twice the first counts.
std::string Find(const std::multimap<std::string, std::string>& parameters,
                 const std::string& name) {
  const auto found = parameters.find(name);
  return found == parameters.end() ? std::string() : found->second;
}

std::string PlacesText(const nlohmann::json& array) {
  std::string text;
  for (const nlohmann::json& place : array) {
    const double lat = place.at("latitude").get<double>();
    const double lng = place.at("longitude").get<double>();
    text += (text.empty() ? "" : "|") + ShortestText(lat) + "," + ShortestText(lng);
  }
  return text;
}

// The places that stand under `name`; of a path `samples` along it.
bool FindPlaces(const std::multimap<std::string, std::string>& parameters, const std::string& name,
                const std::string& samples, std::vector<LatLng>* places, std::string* error) {
  if (!ParsePlaces(name, Find(parameters, name), places, error))
    return false;
  if (samples.empty())
    return true;
  int count = 0;
  if (!ParseNumber(samples, 1, static_cast<int>(HeightRequest::kMaxPlaces), &count)) {
    return Refuse("samples is not a number from 1 to " + std::to_string(HeightRequest::kMaxPlaces),
                  error);
  }
  *places = PlacesAlongPath(*places, count);
  return true;
}

}  // namespace

bool ParsePlaces(const std::string& name, const std::string& text, std::vector<LatLng>* places,
                 std::string* error) {
  std::vector<LatLng> found;
  const bool marked = text.rfind(kPolylineMark, 0) == 0;
  const bool is_list = !marked && text.find(',') != std::string::npos;
  const std::string_view polyline = std::string_view(text).substr(marked ? 4 : 0);
  if (!(is_list ? ParseList(name, text, &found, error)
                : ParsePolyline(name, polyline, &found, error)))
    return false;
  if (found.empty())
    return Refuse(name + " is missing: lat,lng|lat,lng or an encoded polyline", error);
  if (found.size() > HeightRequest::kMaxPlaces) {
    return Refuse(
        "more than " + std::to_string(HeightRequest::kMaxPlaces) + " places in one request", error);
  }
  *places = std::move(found);
  return true;
}

const std::vector<std::string>& InterpolationNames() {
  // In the order of the enumerators.
  static const std::vector<std::string> names = {"nearest", "bilinear", "cubic"};
  return names;
}

bool ParseInterpolation(const std::string& text, HeightInterpolation* interpolation,
                        std::string* error) {
  const std::vector<std::string>& names = InterpolationNames();
  const auto name = std::find(names.begin(), names.end(), text.empty() ? "bilinear" : text);
  if (name == names.end())
    return Refuse("interpolation is none of nearest, bilinear and cubic", error);
  *interpolation = static_cast<HeightInterpolation>(name - names.begin());
  return true;
}

std::vector<LatLng> PlacesAlongPath(const std::vector<LatLng>& places, int samples) {
  std::vector<double> reached = {0.0};
  for (std::size_t i = 1; i < places.size(); ++i)
    reached.push_back(reached.back() + DistanceMetres(places[i - 1], places[i]));
  std::vector<LatLng> along = {places.front()};
  std::size_t next = 1;
  for (int i = 1; i < samples; ++i) {
    const double metres = reached.back() * i / (samples - 1);
    while (next < places.size() && reached[next] < metres)
      ++next;
    if (i + 1 == samples || next >= places.size()) {
      along.push_back(places.back());
      continue;
    }
    const double leg = reached[next] - reached[next - 1];
    const double part = leg > 0.0 ? (metres - reached[next - 1]) / leg : 0.0;
    along.push_back(Between(places[next - 1], places[next], part));
  }
  return along;
}

bool ParseHeightRequest(const std::multimap<std::string, std::string>& parameters,
                        HeightRequest* request, std::string* error) {
  const std::string samples = Find(parameters, "samples");
  const bool is_path = !Find(parameters, "path").empty();
  if (is_path && !Find(parameters, "locations").empty())
    return Refuse("locations and path are both given", error);
  if (is_path && samples.empty())
    return Refuse("a path needs samples, the number of places along it", error);
  HeightRequest found;
  if (!FindPlaces(parameters, is_path ? "path" : "locations", samples, &found.places, error) ||
      !ParseInterpolation(Find(parameters, "interpolation"), &found.query.interpolation, error)) {
    return false;
  }
  *request = std::move(found);
  return true;
}

bool ReadJsonParameters(const std::string& body,
                        std::multimap<std::string, std::string>* parameters, std::string* error) {
  std::multimap<std::string, std::string> found;
  try {
    const nlohmann::json json = nlohmann::json::parse(body);
    if (!json.is_object())
      return Refuse("the body is JSON, but no object", error);
    for (const auto& [name, value] : json.items()) {
      if (value.is_string()) {
        found.emplace(name, value.get<std::string>());
      } else if (value.is_array() && (name == "locations" || name == "path")) {
        found.emplace(name, PlacesText(value));
      } else if (value.is_number()) {
        found.emplace(name, value.dump());
      }
    }
  } catch (const nlohmann::json::parse_error&) {
    return Refuse("the body is no JSON", error);
  } catch (const nlohmann::json::exception&) {
    return Refuse("the places are no list of objects with latitude and longitude", error);
  }
  *parameters = std::move(found);
  return true;
}

}  // namespace pelorin
