// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

#include "host/values.h"

namespace nimbara {
namespace test_support {

/// The chains around a panorama from their definition alone, over plain lists: what
/// `PanoRoadCreator` is compared with. A panorama is its number here; no graph and no strings.
class RoadTwin {
 public:
  struct Pano {
    Vec3<double> position;  ///< As stored: longitude and latitude / 180, altitude in radii.
    std::vector<std::size_t> links;
    bool is_loaded = true;
  };
  /// Numbers, front to back.
  using Chain = std::vector<std::size_t>;

  /// `panos` outlive the twin. `threshold` is the squared distance up to which streets are
  /// followed.
  RoadTwin(const std::vector<Pano>& panos, double threshold)
      : panos_(panos), threshold_(threshold) {}

  std::vector<Chain> Create(std::size_t centre) {
    std::vector<std::size_t> order = {centre};
    chains_ = {{centre}};
    for (std::size_t head = 0; head < order.size() && order.size() < 42; ++head) {
      const std::size_t from = order[head];
      if (Squared(centre, from) > threshold_) {
        continue;
      }
      for (const std::size_t found : panos_[from].links) {
        if (panos_[found].is_loaded && !IsInAny(found)) {
          Place(from, found);
          order.push_back(found);
        }
      }
    }
    return chains_;
  }

 private:
  static constexpr double kPi = 3.14159265358979323846;

  Vec3<double> Cartesian(std::size_t pano) const {
    const Vec3<double>& stored = panos_[pano].position;
    const double lon = stored.x * kPi;
    const double lat = stored.y * kPi;
    const double r = 1.0 + stored.z;
    return {r * std::cos(lat) * std::cos(lon), r * std::cos(lat) * std::sin(lon),
            r * std::sin(lat)};
  }
  double Squared(std::size_t a, std::size_t b) const {
    const Vec3<double> p = Cartesian(a);
    const Vec3<double> q = Cartesian(b);
    return (p.x - q.x) * (p.x - q.x) + (p.y - q.y) * (p.y - q.y) + (p.z - q.z) * (p.z - q.z);
  }
  bool IsInAny(std::size_t pano) const {
    return std::any_of(chains_.begin(), chains_.end(), [pano](const Chain& chain) {
      return std::count(chain.begin(), chain.end(), pano) > 0;
    });
  }
  bool Links(std::size_t a, std::size_t b) const {
    return std::count(panos_[a].links.begin(), panos_[a].links.end(), b) > 0;
  }
  // By the angle itself, in the plane.
  bool GoesOn(std::size_t a, std::size_t b, std::size_t c) const {
    const double turn = std::remainder(Direction(b, c) - Direction(a, b), 2.0 * kPi);
    return std::fabs(turn) < std::acos(0.708);
  }
  double Direction(std::size_t from, std::size_t to) const {
    const Vec3<double>& a = panos_[from].position;
    const Vec3<double>& b = panos_[to].position;
    return std::atan2(b.y - a.y, b.x - a.x);
  }
  void Place(std::size_t from, std::size_t found) {
    for (Chain& chain : chains_) {
      const std::size_t n = chain.size();
      if (Links(chain[0], found) && (n == 1 || GoesOn(chain[1], chain[0], found))) {
        chain.insert(chain.begin(), found);
        return;
      }
      if (n > 1 && Links(chain[n - 1], found) && GoesOn(chain[n - 2], chain[n - 1], found)) {
        chain.push_back(found);
        return;
      }
    }
    chains_.push_back({from, found});
  }

  const std::vector<Pano>& panos_;
  const double threshold_;
  std::vector<Chain> chains_;
};

}  // namespace test_support
}  // namespace nimbara
