// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "apps/command/tour/tour_streets.h"
#include "apps/dataset/pano_record.h"

namespace pelorin {
namespace command {

/// What a tour leaves behind, without any pointer into the graph, so that every writer (page, KML,
/// summary) tells the same story after the fetcher has stopped. Texts are UTF-8.
/// Indices point into `TourReport::panoramas` unless they say otherwise.

/// One panorama of the graph.
struct TourPanorama {
  std::string id;
  /// Where it stands; of a placeholder, where the link that leads to it points.
  LatLng place;
  /// False for a placeholder: known by its id alone; every text below is then empty.
  bool fetched = false;
  double heading_deg = 0.0;  ///< Of the image's centre, 0 up to 360.
  std::int32_t scene = 0;
  std::string street;
  std::string street_range;
  std::string address;
  std::string date;
  std::string copyright;
  std::string level_id;
  std::string level_name;
  std::int32_t level_ordinal = 0;
};

/// One edge of the graph. `a` and `b` are equal for a panorama that names itself.
struct TourEdge {
  int a = 0;
  int b = 0;
  std::uint32_t road_rgb = 0xFFFFFF;  ///< Colour of the road, red highest, without alpha.
  bool inferred = false;              ///< No record declares it.
};

/// A sharp turn of the walk.
struct TourTurn {
  int stop = 0;  ///< Index in `path`.
  bool left = false;
  double angle_deg = 0.0;  ///< Between the two legs, 0 up to 180.
  LatLng aim;              ///< The point to head for, on the inside of the bend.
};

/// One line of the directions.
struct TourStep {
  enum class Kind { kStart, kLeft, kRight, kAlong, kArrive };
  Kind kind = Kind::kStart;
  int stop = 0;         ///< Index in `path`.
  double metres = 0.0;  ///< From the start, along the walk.
  std::string text;     ///< "Turn left onto Rope Lane".
};

/// The figures of a tour.
struct TourFigures {
  std::uint64_t id_requests = 0;
  std::uint64_t position_requests = 0;
  std::uint64_t tile_requests = 0;
  std::uint64_t depth_requests = 0;  ///< For depth maps alone.
  std::uint64_t image_requests = 0;  ///< For image tiles.
  std::uint64_t refused = 0;         ///< Repeats of what was under way.
  std::uint64_t failed = 0;          ///< Requests that ended without an answer.
  std::uint64_t retried = 0;         ///< Attempts made again after a failure.
  double seconds = 0.0;              ///< From the first request to the last answer.
  std::uint64_t peak_memory_bytes = 0;
};

struct TourReport {
  std::string title;
  std::string attribution;
  LatLng from;  ///< As asked for.
  LatLng to;
  std::vector<TourPanorama> panoramas;  ///< In ascending order of their ids.
  std::vector<TourEdge> edges;          ///< Ascending by `a`, then `b`; `a` is at most `b`.
  std::vector<int> path;                ///< The walk, start first; all fetched.
  std::vector<TourTurn> turns;          ///< In walking order.
  std::vector<TourStep> steps;          ///< In walking order.
  std::vector<BackdropShape> backdrop;  ///< To draw beneath, in this order.
  TourStreets streets;                  ///< What the camera met; empty if none walked.
  TourFigures figures;

  std::size_t fetched_count() const;
  std::size_t placeholder_count() const { return panoramas.size() - fetched_count(); }
  std::size_t inferred_count() const;
  /// Length of the walk along its panoramas, in metres.
  double path_metres() const;
  /// Fetched panoramas for each second of the tour; 0 for a tour that took no time.
  double panoramas_per_second() const;
};

/// A link's colour (alpha, blue, green, red from the top) as a map wants it: red, green, blue. It
/// is its own inverse but for the alpha.
std::uint32_t RgbOf(std::uint32_t abgr);

/// "#1a2b3c".
std::string HexColour(std::uint32_t rgb);

/// The class of road that a colour stands for in datasets of this program's making ("primary",
/// "footway"); empty for any other colour.
std::string RoadClass(std::uint32_t rgb);
/// How wide such a road is drawn, in metres; a medium width for an unknown colour.
double RoadWidthMetres(std::uint32_t rgb);

}  // namespace command
}  // namespace pelorin
