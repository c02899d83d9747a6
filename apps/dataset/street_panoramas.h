// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "apps/dataset/pano_record.h"
#include "apps/dataset/street_network.h"

namespace pelorin {

/// Panoramas along a network of streets: one at each point where other than two street pieces meet
/// (junctions and ends) or where a street changes its storey, others between them at even
/// distances. Headings follow the street at the place. Every link has its way back. A scene for
/// each connected piece, 1 upwards, the largest first.
///
/// Equal streets in equal order give equal panoramas. Ids depend on the points between which a
/// panorama stands and on nothing else, so most survive a change elsewhere in the network.
///
/// Made once, then constant: safe from any thread. Holds no reference to the streets' points.
class StreetPanoramas {
 public:
  struct Options {
    double spacing_m = 10.0;  ///< Above 0. Even parts of a piece come as close to it as they can.
    /// Two successive points farther apart are no street but a gap in the data. Above 0.
    double longest_step_m = 10000.0;
    /// More would not fit into memory.
    std::size_t max_panoramas = 10000000;
    std::string copyright;
    bool depth_maps = false;
    bool pano_maps = false;
    /// Called from time to time with pieces done and in all; false cancels. Can be empty.
    std::function<bool(std::uint64_t, std::uint64_t)> on_progress;
  };

  struct Statistics {
    std::uint64_t junctions = 0;  ///< Points at which three or more street pieces meet.
    double metres = 0.0;          ///< Total length.
    std::uint64_t streets_used = 0;
    std::uint64_t invalid_points = 0;  ///< Stepped over: not on the planet or no number.
    std::uint64_t gaps = 0;            ///< Steps too long to be a street.
    std::uint64_t repeated_steps = 0;  ///< Steps that another street or the same had made already.
    std::uint64_t tiny_loops = 0;      ///< Loops too small to walk, left out.
  };

  enum class Outcome { kBuilt, kCancelled, kTooMany };

  /// Builds from `streets`, which are needed again only for `MakeRecord`. On any outcome but
  /// `kBuilt` `result` is as it was.
  static Outcome Build(std::vector<Street> streets, const Options& options,
                       std::unique_ptr<StreetPanoramas>* result);
  ~StreetPanoramas();
  StreetPanoramas(const StreetPanoramas&) = delete;
  StreetPanoramas& operator=(const StreetPanoramas&) = delete;

  std::size_t size() const { return spots_.size(); }
  const Statistics& statistics() const { return statistics_; }

  /// Of the panorama with this index, below `size()`.
  const LatLng& PlaceOf(std::size_t index) const { return spots_[index].place; }
  std::int32_t SceneOf(std::size_t index) const { return spots_[index].scene; }

  /// The panorama with this index, below `size()`. Its maps are in it if the options asked for
  /// them.
  PanoRecord MakeRecord(std::size_t index) const;

 private:
  friend class StreetPanoramasBuilder;

  struct Link {
    std::uint32_t from = 0;
    std::uint32_t to = 0;
    float yaw_deg = 0.0f;
    std::uint32_t street = 0;
  };

  struct Spot {
    LatLng place;
    float yaw_deg = 0.0f;
    float offset_m = 0.0f;  // Along its street.
    std::uint32_t street = 0;
    std::uint32_t level_street = 0;  // The street whose storey it lies on.
    std::uint32_t pieces = 0;        // How many street pieces meet here.
    std::int32_t scene = 0;
    std::uint32_t first_link = 0;  // In `links_`; the next spot's is the end.
    std::array<char, kPanoIdLength> id{};
  };

  StreetPanoramas(std::vector<Street> streets, const Options& options);
  std::string IdOf(std::size_t index) const;
  void AddLevels(std::size_t index, PanoRecord* record) const;
  void AddMaps(std::size_t index, PanoRecord* record) const;
  std::size_t LinkEnd(std::size_t index) const;

  std::vector<Street> streets_;  // Without their points.
  Options options_;
  Statistics statistics_;
  std::vector<Spot> spots_;
  std::vector<Link> links_;  // Sorted by `from`.
  // For spots on a storey, sorted by spot: the nearest spot of each storey around.
  std::vector<std::pair<std::uint32_t, std::uint32_t>> levels_;
};

}  // namespace pelorin
