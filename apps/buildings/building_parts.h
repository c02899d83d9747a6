// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "apps/buildings/tessellation.h"

namespace pelorin {

/// The parts of all buildings, on the plane: tells which outlines they stand for. For one thread.
class BuildingParts {
 public:
  /// A part's outer ring and its holes, all coordinates finite.
  void Add(std::vector<PlaneRing> rings);
  /// Ends the adding.
  void Sort();

  /// Whether the parts together cover nine tenths or more of a building's outline: what mappers
  /// leave between them is no building of its own, but an outline with a lone part in it still is.
  bool Replace(const std::vector<PlaneRing>& outline, Tessellator* tessellator) const;

 private:
  struct Box {
    PlanePoint low;
    PlanePoint high;
  };
  struct Part {
    Box box;
    std::vector<PlaneRing> rings;
  };

  static Box BoxOf(const PlaneRing& ring);

  std::vector<Part> parts_;  // By the west ends of their boxes.
  double widest_ = 0.0;
};

}  // namespace pelorin
