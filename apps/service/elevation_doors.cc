// SPDX-License-Identifier: Apache-2.0
#include "apps/service/elevation_doors.h"

#include <cmath>
#include <map>
#include <nlohmann/json.hpp>
#include <vector>

#include "apps/service/height_request.h"
#include "apps/service/number_text.h"
#include "apps/service/request_signature.h"

namespace pelorin {

namespace {

using Reply = ElevationDoors::Reply;

constexpr char kViewerPath[] = "/elevation/json";
constexpr char kSetPath[] = "/v1/";
constexpr char kAllGrids[] = "heights";
constexpr double kPartsOfMetre = 1000.0;

Reply Refusal(int http_status, const char* status, const std::string& error) {
  const nlohmann::json json = {{"status", status}, {"error", error}};
  return {http_status, json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n",
          0};
}

Reply BadRequest(const std::string& error) {
  return Refusal(400, "INVALID_REQUEST", error);
}

// Numbers and names of grids only, so there is nothing to escape.
std::string Results(const std::vector<LatLng>& places, const std::vector<Height>& heights,
                    const std::vector<HeightGridInfo>* names) {
  std::string body = "{\"results\":[";
  for (std::size_t i = 0; i < places.size(); ++i) {
    const Height& height = heights[i];
    body += i == 0 ? "{\"elevation\":" : ",{\"elevation\":";
    body += ShortestText(std::round(height.metres * kPartsOfMetre) / kPartsOfMetre + 0.0);
    body += ",\"location\":{\"lat\":" + ShortestText(places[i].lat_deg) +
            ",\"lng\":" + ShortestText(places[i].lng_deg) + "}";
    if (names != nullptr && height.grid >= 0)
      body += ",\"dataset\":\"" + (*names)[static_cast<std::size_t>(height.grid)].name + "\"";
    body += height.filled ? ",\"filled\":true}" : "}";
  }
  return body + "],\"status\":\"OK\"}\n";
}

Reply Answered(const Dataset& dataset, const HeightRequest& request, bool with_names) {
  std::vector<Height> heights;
  std::string error;
  switch (dataset.FindHeights(request.places, request.query, &heights, &error)) {
  case Answer::kNothing:
    return Refusal(404, "INVALID_REQUEST", "there are no such heights here");
  case Answer::kFailed:
    return Refusal(500, "SERVER_ERROR", "the dataset cannot be read: " + error);
  case Answer::kFound:
    break;
  }
  return {200, Results(request.places, heights, with_names ? &dataset.height_grids() : nullptr),
          heights.size()};
}

std::vector<std::string> SplitNames(const std::string& text) {
  std::vector<std::string> names;
  std::size_t from = 0;
  for (std::size_t comma = text.find(','); comma != std::string::npos;
       comma = text.find(',', from)) {
    names.push_back(text.substr(from, comma - from));
    from = comma + 1;
  }
  names.push_back(text.substr(from));
  return names;
}

bool IsJson(const httplib::Request& request) {
  return request.get_header_value("Content-Type").rfind("application/json", 0) == 0;
}

}  // namespace

bool ElevationDoors::Owns(const std::string& path) {
  return path == kViewerPath || path.rfind(kSetPath, 0) == 0;
}

bool ElevationDoors::TakesBody(const std::string& path) {
  return path.rfind(kSetPath, 0) == 0;
}

Reply ElevationDoors::Serve(const httplib::Request& request) const {
  return request.path == kViewerPath ? ServeViewer(request) : ServeSet(request);
}

Reply ElevationDoors::ServeViewer(const httplib::Request& request) const {
  if (!HasGoodSignature(request.target, key_))
    return Refusal(403, "REQUEST_DENIED", "the signature is missing or wrong");
  HeightRequest wanted;
  std::string error;
  if (!ParsePlaces("locations", request.get_param_value("locations"), &wanted.places, &error) ||
      !ParseInterpolation(request.get_param_value("interpolation"), &wanted.query.interpolation,
                          &error)) {
    return BadRequest(error);
  }
  return Answered(dataset_, wanted, false);
}

Reply ElevationDoors::ServeSet(const httplib::Request& request) const {
  std::multimap<std::string, std::string> parameters(request.params.begin(), request.params.end());
  std::string error;
  if (request.method == "POST" && IsJson(request) &&
      !ReadJsonParameters(request.body, &parameters, &error)) {
    return BadRequest(error);
  }
  HeightRequest wanted;
  if (!ParseHeightRequest(parameters, &wanted, &error))
    return BadRequest(error);
  const std::string set = request.path.substr(sizeof kSetPath - 1);
  if (set != kAllGrids)
    wanted.query.grids = SplitNames(set);
  return Answered(dataset_, wanted, true);
}

}  // namespace pelorin
