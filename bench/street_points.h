// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

#include "host/values.h"

namespace nimbara {
namespace bench {

/// `count` stored positions (degrees / 180) as panoramas stand: every ten metres or so along
/// streets of 200 to 2000 metres, in towns that lie about the globe. In the order in which a car
/// would have taken them. The same points for the same seed.
inline std::vector<Vec2<double>> StreetPoints(std::size_t count, std::uint32_t seed = 20261121) {
  constexpr double kMetre = 1.0 / 20015000.0;  // Half a great circle is one unit.
  constexpr double kPi = 3.14159265358979323846;
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> longitude(-0.95, 0.95);
  std::uniform_real_distribution<double> latitude(-0.35, 0.35);
  std::normal_distribution<double> in_town(0.0, 3000 * kMetre);
  std::uniform_real_distribution<double> heading(0.0, 2 * kPi);
  std::uniform_real_distribution<double> step(9 * kMetre, 11 * kMetre);
  std::uniform_int_distribution<int> street_length(20, 200);
  constexpr int kStreetsInATown = 100;
  std::vector<Vec2<double>> points;
  points.reserve(count);
  Vec2<double> town{};
  for (int street = 0; points.size() < count; ++street) {
    if (street % kStreetsInATown == 0) {
      town = {longitude(random), latitude(random)};
    }
    Vec2<double> at{town.x + in_town(random), town.y + in_town(random)};
    double direction = heading(random);
    for (int left = street_length(random); left > 0 && points.size() < count; --left) {
      points.push_back(at);
      direction += 0.01 * (heading(random) - kPi);
      const double length = step(random);
      at = {at.x + length * std::sin(direction), at.y + length * std::cos(direction)};
    }
  }
  return points;
}

}  // namespace bench
}  // namespace nimbara
