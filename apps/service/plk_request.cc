// SPDX-License-Identifier: Apache-2.0
#include "apps/service/plk_request.h"

#include <limits>
#include <utility>

#include "apps/service/number_text.h"

namespace pelorin {
namespace {

using Parameters = std::multimap<std::string, std::string>;

// Null if there is none.
const std::string* Find(const Parameters& parameters, const char* name) {
  const auto found = parameters.lower_bound(name);
  return found != parameters.end() && found->first == name ? &found->second : nullptr;
}

bool Refuse(std::string text, std::string* error) {
  *error = std::move(text);
  return false;
}

bool ParsePlace(const std::string& text, LatLng* place) {
  const std::size_t comma = text.find(',');
  return comma != std::string::npos &&
         ParseNumber(std::string_view(text).substr(0, comma), -90.0, 90.0, &place->lat_deg) &&
         ParseNumber(std::string_view(text).substr(comma + 1), -180.0, 180.0, &place->lng_deg);
}

bool ParseSwitch(const Parameters& parameters, const char* name, bool* on, std::string* error) {
  const std::string* const text = Find(parameters, name);
  if (text == nullptr || text->empty() || *text == "0")
    return true;
  if (*text != "1")
    return Refuse(std::string("\"") + name + "\" is neither 0 nor 1", error);
  *on = true;
  return true;
}

bool ParsePosition(const Parameters& parameters, const std::string& place, PlkRequest* request,
                   std::string* error) {
  request->kind = PlkRequest::Kind::kByPosition;
  if (!ParsePlace(place, &request->place)) {
    return Refuse("\"ll\" is no place: give degrees as lat,lng with lat from -90 to 90 and lng "
                  "from -180 to 180",
                  error);
  }
  const std::string* const radius = Find(parameters, "radius");
  if (radius != nullptr &&
      !ParseNumber(*radius, 0.0, std::numeric_limits<double>::max(), &request->radius_m)) {
    return Refuse("\"radius\" is no radius: give metres, 0 or above", error);
  }
  const std::string* const level_id = Find(parameters, "level_id");
  if (level_id != nullptr && !level_id->empty())
    request->level_id = *level_id;
  return true;
}

bool ParseMetadata(const Parameters& parameters, PlkRequest* request, std::string* error) {
  const std::string* const id = Find(parameters, "panoid");
  const std::string* const place = Find(parameters, "ll");
  if ((id == nullptr) == (place == nullptr)) {
    return Refuse("give either \"panoid\" or \"ll\"", error);
  }
  if (place != nullptr && !ParsePosition(parameters, *place, request, error))
    return false;
  if (id != nullptr) {
    if (id->empty())
      return Refuse("\"panoid\" is empty", error);
    request->kind = PlkRequest::Kind::kById;
    request->pano_id = *id;
  }
  return ParseSwitch(parameters, "dm", &request->depth_map, error) &&
         ParseSwitch(parameters, "pm", &request->pano_map, error);
}

bool ParseTile(const Parameters& parameters, PlkRequest* request, std::string* error) {
  request->kind = PlkRequest::Kind::kByTile;
  const std::string* const zoom = Find(parameters, "zoom");
  if (zoom == nullptr || !ParseNumber(*zoom, 0, PlkRequest::kMaxZoom, &request->zoom)) {
    return Refuse("\"zoom\" is no zoom: give a whole number from 0 to 30", error);
  }
  const int last = (1 << request->zoom) - 1;
  const std::string* const x = Find(parameters, "x");
  const std::string* const y = Find(parameters, "y");
  if (x == nullptr || y == nullptr || !ParseNumber(*x, 0, last, &request->x) ||
      !ParseNumber(*y, 0, last, &request->y)) {
    return Refuse("\"x\" and \"y\" are no tile: at this zoom give whole numbers from 0 to " +
                      std::to_string(last),
                  error);
  }
  return true;
}

bool ParseImageTile(const Parameters& parameters, PlkRequest* request, std::string* error) {
  request->kind = PlkRequest::Kind::kImageTile;
  const std::string* const id = Find(parameters, "panoid");
  if (id == nullptr || id->empty()) {
    return Refuse("\"panoid\" is missing or empty", error);
  }
  request->pano_id = *id;
  const std::string* const zoom = Find(parameters, "zoom");
  const std::string* const x = Find(parameters, "x");
  const std::string* const y = Find(parameters, "y");
  constexpr int kLast = std::numeric_limits<int>::max();
  if (zoom == nullptr || x == nullptr || y == nullptr ||
      !ParseNumber(*zoom, 0, PlkRequest::kMaxZoom, &request->zoom) ||
      !ParseNumber(*x, 0, kLast, &request->x) || !ParseNumber(*y, 0, kLast, &request->y)) {
    return Refuse(
        "\"zoom\", \"x\" and \"y\" are no image tile: give whole numbers, 0 or above, with "
        "zoom up to 30",
        error);
  }
  return true;
}

bool ParseReport(const Parameters& parameters, PlkRequest* request, std::string* error) {
  request->kind = PlkRequest::Kind::kUsageReport;
  const std::string* const events = Find(parameters, "ed");
  if (events == nullptr || events->empty())
    return Refuse("\"ed\" holds no events", error);
  return true;
}

}  // namespace

bool ParsePlkRequest(const Parameters& parameters, PlkRequest* request, std::string* error) {
  const std::string* const output = Find(parameters, "output");
  const std::string form = output == nullptr ? "" : *output;
  PlkRequest parsed;
  if (form == "xml") {
    if (!ParseMetadata(parameters, &parsed, error))
      return false;
  } else if (form == "metatile") {
    if (!ParseTile(parameters, &parsed, error))
      return false;
  } else if (form == "plrep") {
    if (!ParseReport(parameters, &parsed, error))
      return false;
  } else if (form == "tile") {
    if (!ParseImageTile(parameters, &parsed, error))
      return false;
  } else {
    return Refuse("\"output\" is none of xml, metatile, tile and plrep", error);
  }
  *request = std::move(parsed);
  return true;
}

}  // namespace pelorin
