// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace pelorin {

/// Plain values of the service dataset. Text is UTF-8; what a dataset hands out is text that XML
/// can carry as it is but for escaping (no byte that is not UTF-8, no control character).

/// Half the circumference of the unit circle.
constexpr double kPi = 3.14159265358979323846;
/// The planet, and what a degree of latitude measures on it.
constexpr double kPlanetRadiusMetres = 6371010.0;
constexpr double kMetresPerDegree = kPlanetRadiusMetres * kPi / 180.0;

/// A place on the planet in degrees: latitude -90 to 90 (north positive), longitude -180 to 180
/// (east positive).
struct LatLng {
  double lat_deg = 0.0;
  double lng_deg = 0.0;

  friend bool operator==(const LatLng& a, const LatLng& b) {
    return a.lat_deg == b.lat_deg && a.lng_deg == b.lng_deg;
  }
};

/// True if both numbers lie in the ranges of `LatLng`; false for not-a-number.
bool IsValidLatLng(const LatLng& place);

/// The great-circle distance in metres on the sphere of 6371010 m.
double DistanceMetres(const LatLng& a, const LatLng& b);

/// The initial bearing from `a` to `b`, in degrees clockwise from north, 0 up to (not including)
/// 360. Of two equal places: 0.
double BearingDegrees(const LatLng& a, const LatLng& b);

/// The place `metres` from `start` in direction `bearing_deg` along the great circle.
LatLng PlaceAlong(const LatLng& start, double bearing_deg, double metres);

/// `angle_deg` brought into 0 up to (not including) 360; not-a-number and infinities give 0.
double NormalizedDegrees(double angle_deg);

/// The length of every panorama id, in characters.
constexpr std::size_t kPanoIdLength = 22;

/// True for 22 characters out of A-Z, a-z, 0-9, '-' and '_'.
bool IsPanoId(std::string_view id);

/// The id that belongs to `seed`, the same on every machine: a hash of it as 22 such characters.
std::string PanoIdFromSeed(std::string_view seed);

/// `text` with every byte sequence that is not UTF-8 and every character that XML 1.0 forbids
/// replaced by U+FFFD. Sound text comes back as it is.
std::string XmlSafeText(std::string_view text);

/// One link of a panorama.
struct PanoLink {
  std::string pano_id;                   ///< The panorama it leads to.
  double yaw_deg = 0.0;                  ///< Heading in which the link leaves, 0 up to 360.
  std::uint32_t road_argb = 0xFFFFFFFF;  ///< Colour of the road: alpha, red, green, blue.
};

/// One level of the building in which a panorama lies.
struct PanoLevel {
  std::string level_id;
  std::string pano_id;       ///< A panorama on that level.
  std::int32_t ordinal = 0;  ///< 0 is the ground floor; negative ones lie below.
  std::string text;          ///< Name for display.
  std::string abbreviation;  ///< Short name for display.
};

/// One label in a panorama's image.
struct PanoAnnotation {
  std::string id;
  std::string title;
  double yaw = 0.0;    ///< Heading of the label, degrees, 0 up to 360.
  double pitch = 0.0;  ///< Elevation of the label, degrees, -90 to 90.
  double d = 0.0;      ///< Distance of what is labelled, metres.
};

/// One panorama as a dataset holds it: the fields of the service's answer, in its units.
struct PanoRecord {
  std::string id;  ///< 22 characters (`IsPanoId`), unique in a dataset.
  LatLng place;
  std::int32_t scene = 0;
  std::string level_id;      ///< Empty outside buildings with levels.
  std::string text;          ///< Street name; can be empty.
  std::string street_range;  ///< House numbers here; can be empty.
  std::string copyright;
  std::string image_date;        ///< When the image was taken, such as "2024-05"; can be empty.
  std::int32_t image_width = 0;  ///< Pixels; 0 or above, as are the next three.
  std::int32_t image_height = 0;
  std::int32_t tile_width = 0;
  std::int32_t tile_height = 0;
  double pano_yaw_deg = 0.0;    ///< Heading of the image's centre, 0 up to 360.
  double tilt_yaw_deg = 0.0;    ///< Heading of the tilt axis, 0 up to 360.
  double tilt_pitch_deg = 0.0;  ///< Size of the tilt, -90 to 90.
  std::uint64_t info_level = 0;
  std::int32_t info_value = 2000;
  std::vector<PanoLink> links;    ///< In the order of the answer.
  std::vector<PanoLevel> levels;  ///< Likewise.
  std::vector<PanoAnnotation> annotations;

  bool has_depth_map = false;  ///< The dataset holds a depth map, loaded into the record or not.
  bool has_pano_map = false;   ///< Likewise for the pano map.
  /// The inflated payload of the depth map (header byte 8, plane count, width, height, byte 8,
  /// cells, planes; little-endian), or empty. At most 528392 bytes.
  std::string depth_map;
  /// The inflated payload of the pano map, or empty. At most 140800 bytes.
  std::string pano_map;
};

/// One shape to draw beneath the streets of a map.
struct BackdropShape {
  /// "sea", "land", "park", "square", "quay", "mole", "building", "rail" or "water"; a drawer skips
  /// what it does not know.
  std::string kind;
  std::string name;     ///< Can be empty.
  bool closed = false;  ///< True: a polygon, its first point not repeated. False: a line.
  std::vector<LatLng> points;
};

/// A box in degrees, edges included. If `west_deg` is above `east_deg`, the box crosses longitude
/// 180.
struct BoundingBox {
  double south_deg = 0.0;
  double west_deg = 0.0;
  double north_deg = 0.0;
  double east_deg = 0.0;
};

}  // namespace pelorin
