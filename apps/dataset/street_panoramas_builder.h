// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "apps/dataset/street_panoramas.h"

namespace pelorin {

/// Fills a `StreetPanoramas` once. Internal to this room; lives for the length of one `Build`.
///
/// The streets become nodes (points, by identity) and steps (pairs of successive nodes). A node
/// with other than two steps, or between two storeys, is a stop. A piece is the way from stop to
/// stop.
class StreetPanoramasBuilder {
 public:
  explicit StreetPanoramasBuilder(StreetPanoramas* target);

  StreetPanoramas::Outcome Run();

 private:
  using Spot = StreetPanoramas::Spot;
  using Link = StreetPanoramas::Link;

  struct Node {
    LatLng place;
    NodeKey key;
  };
  struct Step {
    std::uint32_t a = 0;  // In the street's direction.
    std::uint32_t b = 0;
    std::uint32_t street = 0;
    float offset_m = 0.0f;  // Of `a`, along the street.
    double metres = 0.0;
  };
  // A piece as it is walked: nodes, and the steps between them.
  struct Piece {
    std::vector<std::uint32_t> nodes;
    std::vector<std::uint32_t> steps;
    double metres = 0.0;
  };

  // Row and column to the spots there.
  using SpotGrid = std::map<std::pair<std::int64_t, std::int64_t>, std::vector<std::uint32_t>>;

  // One end of a link.
  struct Exit {
    std::uint32_t spot = 0;
    double yaw_deg = 0.0;
    std::uint32_t street = 0;
  };
  // How a piece passes one place.
  struct Passage {
    LatLng place;
    double forward_yaw = 0.0;
    double back_yaw = 0.0;
    std::uint32_t street = 0;
  };

  void CollectSteps();
  void AddStreetSteps(std::uint32_t street, const std::vector<std::uint32_t>& nodes,
                      std::vector<std::uint32_t>* merged);
  void FinishSteps(std::vector<std::uint32_t>* merged);
  void IndexSteps();
  std::uint32_t Degree(std::uint32_t node) const;
  bool IsStop(std::uint32_t node) const;
  bool WalkPieces(StreetPanoramas::Outcome* outcome);
  bool Report() const;
  void Walk(std::uint32_t start, std::uint32_t first_step, Piece* piece);
  void PlacePiece(const Piece& piece);
  Passage PassageAt(const Piece& piece, std::size_t at, double step_m) const;
  std::uint32_t AddSpotAlong(const Piece& piece, std::size_t at, double step_m, std::uint64_t part,
                             const Passage& passage);
  std::uint32_t SpotOfStop(std::uint32_t node);
  std::uint32_t MainStepAt(std::uint32_t node) const;
  std::uint32_t LevelStreetAt(std::uint32_t node) const;
  void LinkBoth(const Exit& one, const Exit& other);
  void SortLinks();
  void NumberScenes();
  void FindLevels();
  const std::string& LevelIdOf(std::uint32_t spot) const;
  std::map<std::string, std::pair<double, std::uint32_t>>
  NearestOnEachLevel(const SpotGrid& grid, std::uint32_t spot) const;
  double YawAt(std::uint32_t node, std::uint32_t step) const;
  std::uint32_t OtherEnd(std::uint32_t step, std::uint32_t node) const;

  StreetPanoramas* target_;
  std::vector<Node> nodes_;
  std::vector<Step> steps_;
  std::uint64_t walked_steps_ = 0;
  std::vector<bool> used_;                   // By step: walked already.
  std::vector<std::uint32_t> first_at_;      // By node, into `steps_at_`; one more at the end.
  std::vector<std::uint32_t> steps_at_;      // Steps at each node, in their order.
  std::vector<std::uint32_t> spot_of_node_;  // `kNone` if it has none yet.
};

}  // namespace pelorin
