// SPDX-License-Identifier: Apache-2.0
#include "apps/dataset/harbour_houses.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>

namespace pelorin {

namespace {

// Clear ground between a house and the edge of any street.
constexpr double kPavementMetres = 1.0;
constexpr double kGapMetres = 2.0;
// No part of a house lies farther than this from the box of two opposite corners, its gap included.
constexpr double kLargestHouseMetres = 22.0;

// The widths and depths of houses: any sequence will do, as long as it is the same everywhere.
class Draw {
 public:
  double Between(double low, double high) {
    state_ = state_ * 6364136223846793005u + 1442695040888963407u;
    return low + (high - low) * static_cast<double>(state_ >> 40) / static_cast<double>(1u << 24);
  }

 private:
  std::uint64_t state_ = 20;
};

// False if `p` is certainly farther than `metres` from the line; nearly all are.
bool MayReach(const PlanPoint& p, const PlanPoint& a, const PlanPoint& b, double metres) {
  return p.x >= std::min(a.x, b.x) - metres && p.x <= std::max(a.x, b.x) + metres &&
         p.y >= std::min(a.y, b.y) - metres && p.y <= std::max(a.y, b.y) + metres;
}

// The corners, the middles of the sides and the centre stand for a house: at its size no street or
// house slips between them.
std::vector<PlanPoint> Probes(const std::vector<PlanPoint>& house) {
  std::vector<PlanPoint> probes = house;
  PlanPoint centre;
  for (std::size_t i = 0; i < house.size(); ++i) {
    const PlanPoint& next = house[(i + 1) % house.size()];
    probes.push_back({(house[i].x + next.x) / 2.0, (house[i].y + next.y) / 2.0});
    centre.x += house[i].x / static_cast<double>(house.size());
    centre.y += house[i].y / static_cast<double>(house.size());
  }
  probes.push_back(centre);
  return probes;
}

class Builder {
 public:
  Builder() {
    for (const PlanStreet& street : HarbourStreets()) {
      lines_.push_back({LineOf(street), street.half_width_m + kPavementMetres});
    }
    for (const PlanShape& shape : HarbourShapes()) {
      std::vector<PlanPoint> ring =
          shape.curved ? CurveThrough(shape.points, shape.closed) : shape.points;
      if (shape.kind == "land") {
        land_.push_back(std::move(ring));
      } else if (shape.kind == "rail") {
        lines_.push_back({std::move(ring), 12.0});
      } else if (shape.kind != "sea") {
        kept_free_.push_back(std::move(ring));
      }
    }
  }

  std::vector<PlanShape> Build() {
    for (const PlanStreet& street : HarbourStreets()) {
      if (street.left_houses) {
        BuildAlong(street, 1.0);
      }
      if (street.right_houses) {
        BuildAlong(street, -1.0);
      }
    }
    return std::move(houses_);
  }

 private:
  struct Line {
    std::vector<PlanPoint> points;
    double clear_m = 0.0;
  };

  // `side` is 1 for the left of the street and -1 for its right.
  void BuildAlong(const PlanStreet& street, double side) {
    const std::vector<PlanPoint> line = LineOf(street);
    double wait_m = draw_.Between(4.0, 9.0);
    for (std::size_t i = 1; i < line.size(); ++i) {
      const double x = line[i].x - line[i - 1].x;
      const double y = line[i].y - line[i - 1].y;
      const double length = std::hypot(x, y);
      double at = wait_m;
      for (; at < length; at += kTryMetres) {
        const double width = draw_.Between(8.0, 14.0);
        const double depth = draw_.Between(8.0, 13.0);
        const PlanPoint middle{line[i - 1].x + x * at / length, line[i - 1].y + y * at / length};
        const PlanPoint along{x / length, y / length};
        if (TryHouse(House(middle, along, side, street.half_width_m + kPavementMetres + 0.5, width,
                           depth))) {
          at += width;
        }
      }
      wait_m = at - length;
    }
  }

  static std::vector<PlanPoint> House(const PlanPoint& middle, const PlanPoint& along, double side,
                                      double setback, double width, double depth) {
    const PlanPoint out{-along.y * side, along.x * side};
    const auto corner = [&](double forward, double away) {
      return PlanPoint{middle.x + along.x * forward + out.x * away,
                       middle.y + along.y * forward + out.y * away};
    };
    return {corner(-width / 2, setback), corner(width / 2, setback),
            corner(width / 2, setback + depth), corner(-width / 2, setback + depth)};
  }

  bool TryHouse(const std::vector<PlanPoint>& house) {
    const std::vector<PlanPoint> probes = Probes(house);
    const bool free = std::all_of(probes.begin(), probes.end(),
                                  [this](const PlanPoint& probe) { return IsFree(probe); });
    if (!free || HoldsCornerOfAnother(house)) {
      return false;
    }
    houses_.push_back({"building", "", true, false, house});
    return true;
  }

  bool IsFree(const PlanPoint& p) const {
    const auto holds = [&p](const std::vector<PlanPoint>& ring) { return Inside(p, ring); };
    if (std::none_of(land_.begin(), land_.end(), holds) ||
        std::any_of(kept_free_.begin(), kept_free_.end(), holds)) {
      return false;
    }
    for (const Line& line : lines_) {
      for (std::size_t i = 1; i < line.points.size(); ++i) {
        if (MayReach(p, line.points[i - 1], line.points[i], line.clear_m) &&
            DistanceToLine(p, line.points[i - 1], line.points[i]) < line.clear_m) {
          return false;
        }
      }
    }
    return std::none_of(houses_.begin(), houses_.end(),
                        [&p](const PlanShape& other) { return NearHouse(p, other.points); });
  }

  static bool NearHouse(const PlanPoint& p, const std::vector<PlanPoint>& house) {
    if (!MayReach(p, house[0], house[2], kLargestHouseMetres)) {
      return false;
    }
    if (Inside(p, house)) {
      return true;
    }
    for (std::size_t i = 0; i < house.size(); ++i) {
      if (DistanceToLine(p, house[i], house[(i + 1) % house.size()]) < kGapMetres) {
        return true;
      }
    }
    return false;
  }

  bool HoldsCornerOfAnother(const std::vector<PlanPoint>& house) const {
    return std::any_of(houses_.begin(), houses_.end(), [&house](const PlanShape& other) {
      return std::any_of(other.points.begin(), other.points.end(),
                         [&house](const PlanPoint& corner) { return Inside(corner, house); });
    });
  }

  static constexpr double kTryMetres = 3.0;

  std::vector<Line> lines_;
  std::vector<std::vector<PlanPoint>> land_;
  std::vector<std::vector<PlanPoint>> kept_free_;
  std::vector<PlanShape> houses_;
  Draw draw_;
};

}  // namespace

std::vector<PlanShape> HarbourHouses() {
  return Builder().Build();
}

}  // namespace pelorin
