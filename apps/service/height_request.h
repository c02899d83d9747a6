// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "apps/dataset/height_grid.h"

namespace pelorin {

/// What a request for heights asks for.
struct HeightRequest {
  /// Most places in one request, of a list or along a path.
  static constexpr std::size_t kMaxPlaces = 10000;

  std::vector<LatLng> places;  ///< 1 to `kMaxPlaces` valid ones.
  HeightQuery query;
};

/// Reads places: "lat,lng|lat,lng|..." in degrees, or an encoded polyline (latitude first, 1e-5
/// degrees, the published 5-bit form), with or without "enc:" before it; text without a comma is
/// one. False, with one line in `error`, which calls the text `name`, and `places` as they were,
/// for anything else, for places off the planet, for none and for more than
/// `HeightRequest::kMaxPlaces`.
bool ParsePlaces(const std::string& name, const std::string& text, std::vector<LatLng>* places,
                 std::string* error);

/// The ways to interpolate by the names that requests have for them: "nearest", "bilinear" and
/// "cubic".
const std::vector<std::string>& InterpolationNames();

/// Reads one of these names; the empty text stands for "bilinear". False, with one line in `error`
/// and `interpolation` as it was, for any other.
bool ParseInterpolation(const std::string& text, HeightInterpolation* interpolation,
                        std::string* error);

/// `samples` places at even distances along the path through `places`, both ends among them; the
/// first place alone for 1. `places` is not empty.
std::vector<LatLng> PlacesAlongPath(const std::vector<LatLng>& places, int samples);

/// Reads the parameters of a request:
///
///     locations      places, as above; or
///     path           places in whose stead such along the path through them are wanted,
///     samples        a number from 1 to `kMaxPlaces`: so many of them. With `locations` these are
///                    taken for a path; a `path` needs it.
///     interpolation  as above
///
/// Names that mean nothing here are passed over. False, with one line in `error` and `request` as
/// it was, if something is wrong.
bool ParseHeightRequest(const std::multimap<std::string, std::string>& parameters,
                        HeightRequest* request, std::string* error);

/// The parameters in a JSON object, numbers as their text. "locations" and "path" can also be
/// arrays of objects with "latitude" and "longitude". False, with one line in `error`, for anything
/// else.
bool ReadJsonParameters(const std::string& body,
                        std::multimap<std::string, std::string>* parameters, std::string* error);

}  // namespace pelorin
