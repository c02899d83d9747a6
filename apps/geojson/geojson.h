// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "apps/dataset/pano_record.h"

namespace pelorin {

/// One shape of a GeoJSON text. Refers to the document, so it is good during the call that brings
/// it. Nobody has looked at `coordinates` and `properties` yet: any JSON can stand there.
struct GeoJsonShape {
  enum class Kind {
    kLine,     ///< `coordinates` should be a list of positions.
    kPolygon,  ///< `coordinates` should be a list of rings, each a list of positions.
    kOther,    ///< Points, and features without a shape.
  };
  Kind kind;
  /// For messages: the id of its feature, or its number such as "feature 3"; "geometry" outside of
  /// features.
  const std::string& name;
  const nlohmann::json& coordinates;
  const nlohmann::json& properties;  ///< Of its feature.
};

/// Who hears what is in a GeoJSON text.
struct GeoJsonHandlers {
  /// Called for each shape, those of multiple geometries one by one. Not null.
  std::function<void(const GeoJsonShape& shape)> on_shape;
  /// Called with one line for each oddity that is stepped over. Not null.
  std::function<void(const std::string& line)> on_warning;
};

/// Walks through a GeoJSON text: any object, collections nested up to 32 deep. `*attribution`
/// becomes what the text says about its makers, often nothing. The entries of the outermost
/// "features" are in memory one at a time. False, with one line in `*error` (line and byte where
/// they are known), for a text that is no GeoJSON, and for more than five million values in one
/// feature or outside of all; some shapes may have been told of by then. What the handlers throw
/// passes through.
bool ReadGeoJson(std::string_view text, const GeoJsonHandlers& handlers, std::string* attribution,
                 std::string* error);

/// A member of `object` as text: numbers as they are written; empty for anything else, and where
/// there is no such member or no object at all.
std::string GeoJsonText(const nlohmann::json& object, const char* key);

/// Reads a position, longitude first. Null, or, with `*place` as it was, what it is instead, to
/// follow "a position ".
const char* ReadGeoJsonPosition(const nlohmann::json& position, LatLng* place);

}  // namespace pelorin
