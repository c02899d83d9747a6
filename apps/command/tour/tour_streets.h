// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "apps/dataset/pano_record.h"
#include "host/loculus/photo_overlay.h"
#include "host/loculus/placemark.h"
#include "host/referent.h"

namespace pelorin {
namespace command {

/// What a camera met on its walk: the streets as the library drew them, the corridors that held it,
/// and the way it took. Like the rest of a report none of it points into the graph; the KML objects
/// are counted plainly, for one thread. `stop` is an index in `TourReport::path`.

/// One line of a street, let down onto the surface that the stop sees.
struct TourRoad {
  int stop = 0;
  std::uint32_t rgb = 0xFFFFFF;  ///< Red highest, without alpha.
  std::string street;            ///< Can be empty.
  nimbara::RefPtr<nimbara::loculus::Placemark> line;
};

/// A street's name, where it leaves a stop.
struct TourLabel {
  int stop = 0;
  std::string street;
  LatLng place;
  nimbara::RefPtr<nimbara::loculus::Placemark> mark;
};

/// The image around a stop.
struct TourOverlay {
  int stop = 0;
  bool has_surface = false;  ///< The record had a depth map.
  nimbara::RefPtr<nimbara::loculus::PhotoOverlay> overlay;
};

/// The one tile that holds the whole image around a stop, and what it says about itself.
struct TourTile {
  enum class State {
    kDated,       ///< Its comment names the date on which it was taken.
    kUndated,     ///< An image without such a comment, or with a damaged one.
    kUnreadable,  ///< What came is no image.
    kMissing,     ///< Nothing came.
  };
  int stop = 0;
  State state = State::kMissing;
  std::string date;  ///< "2024-05-17", "2024-05" or "2024"; empty unless dated.
};

/// The corridor of one link. Half widths are in metres from north to south; see `stored_place.h`.
struct TourCorridor {
  LatLng a;
  LatLng b;
  double half_width_a_m = 0.0;
  double half_width_b_m = 0.0;
  std::string street;  ///< Of either end; can be empty.
};

/// The rounded corner between two corridors.
struct TourFillet {
  LatLng corner;            ///< The panorama at which both meet.
  std::string name;         ///< Its address; can be empty.
  double radius_m = 0.0;    ///< Of the circle, from north to south.
  std::vector<LatLng> arc;  ///< From the edge of the one corridor to that of the other.
};

/// One step of the camera.
struct CameraStep {
  double seconds = 0.0;  ///< Since the walk began, on its own clock.
  int stop = 0;          ///< The last one reached; of a replay, the one that is active.
  LatLng pushed;         ///< Where it was pushed to.
  LatLng held;           ///< Where the corridor let it stand: the same place if it was inside.
  bool has_depth = false;
  /// How deep in the corridor the push ended, in metres from north to south; negative outside.
  /// Without meaning where nothing held the camera.
  double depth_m = 0.0;
  double heading_deg = 0.0;     ///< Where it looked, clockwise from north, 0 up to 360.
  double turn_deg_per_s = 0.0;  ///< How fast it was turned back along the street; right positive.

  /// True where the corridor had to push back.
  bool was_outside() const { return has_depth && depth_m < 0.0; }
};

/// What the panorama service was told about the use of its panoramas.
struct TourUsage {
  std::uint64_t panoramas = 0;
  std::uint64_t viewpoints = 0;
  std::uint64_t fields_of_view = 0;
  std::uint64_t reports = 0;   ///< Sent.
  std::uint64_t answered = 0;  ///< Of these: the service took them.
  /// Well-formed reports that reached the service, by its own count, so that one sent again counts
  /// again; as many as were answered where the service is somebody else's.
  std::uint64_t received = 0;
};

struct TourStreets {
  std::vector<TourRoad> roads;        ///< Ascending by stop.
  std::vector<TourLabel> labels;      ///< Likewise.
  std::vector<TourOverlay> overlays;  ///< Likewise, at most one a stop.
  std::vector<TourTile> tiles;        ///< Likewise.
  std::vector<TourCorridor> corridors;
  std::vector<TourFillet> fillets;
  std::vector<CameraStep> camera;  ///< In the order of time.
  /// How often the camera came no farther by itself and was put at its next stop.
  int placed = 0;
  TourUsage usage;

  std::size_t surface_count() const {
    std::size_t count = 0;
    for (const TourOverlay& one : overlays) {
      count += one.has_surface ? 1 : 0;
    }
    return count;
  }
  std::size_t tile_count(TourTile::State state) const {
    std::size_t count = 0;
    for (const TourTile& tile : tiles) {
      count += tile.state == state ? 1 : 0;
    }
    return count;
  }
  /// The dates that the tiles name, and of how many tiles each is.
  std::map<std::string, std::size_t> dates() const {
    std::map<std::string, std::size_t> counts;
    for (const TourTile& tile : tiles) {
      if (tile.state == TourTile::State::kDated) {
        ++counts[tile.date];
      }
    }
    return counts;
  }
  std::size_t pushed_back_count() const {
    std::size_t count = 0;
    for (const CameraStep& step : camera) {
      count += step.was_outside() ? 1 : 0;
    }
    return count;
  }
  /// The farthest that a push ended outside, in metres; 0 if none did.
  double farthest_outside_m() const {
    double farthest = 0.0;
    for (const CameraStep& step : camera) {
      farthest = step.was_outside() && -step.depth_m > farthest ? -step.depth_m : farthest;
    }
    return farthest;
  }
};

}  // namespace command
}  // namespace pelorin
