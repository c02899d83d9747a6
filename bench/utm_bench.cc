// SPDX-License-Identifier: Apache-2.0
// UTM a point at a time: forward, forward with the derivatives, inverse. Beside them PROJ's
// approximate transverse Mercator (its fastest), its exact one, GeographicLib's series of the sixth
// order, and the sines and cosines alone. Then strata and traversal paths beside the bare
// arithmetic. Points lie at random in one zone, up to 3 degrees from its middle.
#include <benchmark/benchmark.h>
#include <proj.h>

#include <GeographicLib/TransverseMercator.hpp>
#include <cmath>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "ostrand/base/utmzone.h"
#include "vortan/common/internal/stratum_tools.h"

namespace {

using GeographicLib::TransverseMercator;
using ostrand::Matrix2x2;
using ostrand::UTMZone;
using vortan::StratumTools;

constexpr int kPoints = 4096;
constexpr unsigned kStart = 20261121;
constexpr double kMiddle = 15.0;
constexpr double kRadiansPerDegree = 0.017453292519943295;

struct Pair {
  double first;
  double second;
};

// Latitude and longitude in degrees.
const std::vector<Pair>& Places() {
  static const std::vector<Pair> places = [] {
    std::mt19937 random(kStart);
    std::uniform_real_distribution<double> lat(0.0, 84.0);
    std::uniform_real_distribution<double> lng(kMiddle - 3.0, kMiddle + 3.0);
    std::vector<Pair> made(kPoints);
    for (Pair& place : made) {
      place = {lat(random), lng(random)};
    }
    return made;
  }();
  return places;
}

// Easting and northing of the same places.
const std::vector<Pair>& Grid() {
  static const std::vector<Pair> grid = [] {
    const UTMZone zone(33, 'N');
    std::vector<Pair> made = Places();
    for (Pair& point : made) {
      zone.LatLngToLocal(point.first, point.second, &point.first, &point.second);
    }
    return made;
  }();
  return grid;
}

template <typename Work>
void ForEach(benchmark::State& state, const std::vector<Pair>& points, const Work& work) {
  for (auto unused : state) {
    for (const Pair& point : points) {
      Pair result = work(point);
      benchmark::DoNotOptimize(result);
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(points.size()));
}

void ForwardOurs(benchmark::State& state) {
  const UTMZone zone(33, 'N');
  ForEach(state, Places(), [&zone](const Pair& place) {
    Pair grid{};
    zone.LatLngToLocal(place.first, place.second, &grid.first, &grid.second);
    return grid;
  });
}

void ForwardWithPartialsOurs(benchmark::State& state) {
  const UTMZone zone(33, 'N');
  ForEach(state, Places(), [&zone](const Pair& place) {
    Pair grid{};
    Matrix2x2<double> partials;
    zone.LatLngToLocalWithPartials(place.first, place.second, &grid.first, &grid.second, &partials);
    benchmark::DoNotOptimize(partials);
    return grid;
  });
}

void InverseOurs(benchmark::State& state) {
  const UTMZone zone(33, 'N');
  ForEach(state, Grid(), [&zone](const Pair& grid) {
    Pair place{};
    zone.LocalToLatLng(grid.first, grid.second, &place.first, &place.second);
    return place;
  });
}

void ForwardGeographicLib(benchmark::State& state) {
  const TransverseMercator& utm = TransverseMercator::UTM();
  ForEach(state, Places(), [&utm](const Pair& place) {
    Pair grid{};
    utm.Forward(kMiddle, place.first, place.second, grid.first, grid.second);
    return grid;
  });
}

void ForwardWithScaleGeographicLib(benchmark::State& state) {
  const TransverseMercator& utm = TransverseMercator::UTM();
  ForEach(state, Places(), [&utm](const Pair& place) {
    Pair grid{};
    double convergence = 0.0;
    double scale = 0.0;
    utm.Forward(kMiddle, place.first, place.second, grid.first, grid.second, convergence, scale);
    benchmark::DoNotOptimize(convergence);
    benchmark::DoNotOptimize(scale);
    return grid;
  });
}

void InverseGeographicLib(benchmark::State& state) {
  const TransverseMercator& utm = TransverseMercator::UTM();
  ForEach(state, Grid(), [&utm](const Pair& grid) {
    Pair place{};
    utm.Reverse(kMiddle, grid.first - 500000.0, grid.second, place.first, place.second);
    return place;
  });
}

// A projection of PROJ in a context of its own.
class ProjZone {
 public:
  explicit ProjZone(const char* algorithm)
      : context_(proj_context_create(), &proj_context_destroy),
        projection_(
            proj_create(context_.get(), (std::string("+proj=tmerc +lon_0=15 +k=0.9996 +x_0=500000 "
                                                     "+ellps=WGS84 ") +
                                         algorithm)
                                            .c_str()),
            &proj_destroy) {}

  PJ_COORD Forward(double lat_deg, double lng_deg) const {
    return proj_trans(projection_.get(), PJ_FWD,
                      proj_coord(lng_deg * kRadiansPerDegree, lat_deg * kRadiansPerDegree, 0, 0));
  }
  PJ_COORD Inverse(double x, double y) const {
    return proj_trans(projection_.get(), PJ_INV, proj_coord(x, y, 0, 0));
  }
  PJ_FACTORS Factors(double lat_deg, double lng_deg) const {
    return proj_factors(projection_.get(),
                        proj_coord(lng_deg * kRadiansPerDegree, lat_deg * kRadiansPerDegree, 0, 0));
  }

 private:
  std::unique_ptr<PJ_CONTEXT, PJ_CONTEXT* (*)(PJ_CONTEXT*)> context_;
  std::unique_ptr<PJ, PJ* (*)(PJ*)> projection_;
};

void ForwardProj(benchmark::State& state, const char* algorithm) {
  const ProjZone zone(algorithm);
  ForEach(state, Places(), [&zone](const Pair& place) {
    const PJ_COORD grid = zone.Forward(place.first, place.second);
    return Pair{grid.xy.x, grid.xy.y};
  });
}

void ForwardWithFactorsProj(benchmark::State& state, const char* algorithm) {
  const ProjZone zone(algorithm);
  ForEach(state, Places(), [&zone](const Pair& place) {
    const PJ_COORD grid = zone.Forward(place.first, place.second);
    PJ_FACTORS factors = zone.Factors(place.first, place.second);
    benchmark::DoNotOptimize(factors);
    return Pair{grid.xy.x, grid.xy.y};
  });
}

void InverseProj(benchmark::State& state, const char* algorithm) {
  const ProjZone zone(algorithm);
  ForEach(state, Grid(), [&zone](const Pair& grid) {
    const PJ_COORD place = zone.Inverse(grid.first, grid.second);
    return Pair{place.lp.phi / kRadiansPerDegree, place.lp.lam / kRadiansPerDegree};
  });
}

// What the formulas cannot do without: one sine and one cosine forward, two of each back.
void ForwardSinesAlone(benchmark::State& state) {
  ForEach(state, Places(), [](const Pair& place) {
    const double phi = place.first * kRadiansPerDegree;
    return Pair{std::sin(phi), std::cos(phi)};
  });
}

void InverseSinesAlone(benchmark::State& state) {
  ForEach(state, Grid(), [](const Pair& grid) {
    const double mu = grid.second / 6364902.0;
    Pair at_mu{std::sin(mu), std::cos(mu)};
    benchmark::DoNotOptimize(at_mu);
    const double phi = mu + 0.005 * at_mu.first * at_mu.second;
    return Pair{std::sin(phi), std::cos(phi)};
  });
}

// The sines, cosines and the tangent as the formulas list them, each by a call.
void ForwardSinesAsListed(benchmark::State& state) {
  ForEach(state, Places(), [](const Pair& place) {
    const double phi = place.first * kRadiansPerDegree;
    return Pair{std::sin(phi) + std::cos(phi) + std::tan(phi),
                std::sin(2.0 * phi) + std::sin(4.0 * phi) + std::sin(6.0 * phi)};
  });
}

void InverseSinesAsListed(benchmark::State& state) {
  ForEach(state, Grid(), [](const Pair& grid) {
    const double mu = grid.second / 6364902.0;
    const double phi = mu + 0.0025 * std::sin(2.0 * mu) + 3.7e-6 * std::sin(4.0 * mu) +
                       7.4e-9 * std::sin(6.0 * mu);
    return Pair{std::sin(phi) + std::tan(phi), std::cos(phi)};
  });
}

BENCHMARK(ForwardOurs);
BENCHMARK_CAPTURE(ForwardProj, approximate, "+approx");
BENCHMARK_CAPTURE(ForwardProj, exact, "+algo=poder_engsager");
BENCHMARK(ForwardGeographicLib);
BENCHMARK(ForwardSinesAlone);
BENCHMARK(ForwardSinesAsListed);
BENCHMARK(ForwardWithPartialsOurs);
BENCHMARK_CAPTURE(ForwardWithFactorsProj, approximate, "+approx");
BENCHMARK(ForwardWithScaleGeographicLib);
BENCHMARK(InverseOurs);
BENCHMARK_CAPTURE(InverseProj, approximate, "+approx");
BENCHMARK_CAPTURE(InverseProj, exact, "+algo=poder_engsager");
BENCHMARK(InverseGeographicLib);
BENCHMARK(InverseSinesAlone);
BENCHMARK(InverseSinesAsListed);

constexpr int kLevel = 20;

const std::vector<int>& Numbers() {
  static const std::vector<int> numbers = [] {
    std::mt19937 random(kStart);
    std::vector<int> made(kPoints);
    for (int& number : made) {
      number = static_cast<int>(random() % (1u << kLevel));
    }
    return made;
  }();
  return numbers;
}

void CountNumbers(benchmark::State* state) {
  state->SetItemsProcessed(state->iterations() * kPoints);
}

void StratumOfAltitude(benchmark::State& state) {
  for (auto unused : state) {
    for (const int number : Numbers()) {
      benchmark::DoNotOptimize(
          StratumTools::StratumContainingKmlAltitude(number * 0.01 - 500.0, kLevel));
    }
  }
  CountNumbers(&state);
}

// The formula with its constants, without checks.
void StratumOfAltitudeBare(benchmark::State& state) {
  for (auto unused : state) {
    for (const int number : Numbers()) {
      const double altitude = (number * 0.01 - 500.0) / 6371010.0;
      benchmark::DoNotOptimize(
          static_cast<int>(std::floor((altitude + 3.814697265625e-06) / 5.7220458984375e-06)));
    }
  }
  CountNumbers(&state);
}

void PathOfCell(benchmark::State& state) {
  std::string path;
  for (auto unused : state) {
    for (const int number : Numbers()) {
      vortan::LevelRowColumnStratumToTraversalPath(kLevel, number, number ^ 0x55555, number & 0xFFF,
                                                   &path);
      benchmark::DoNotOptimize(path.data());
    }
  }
  CountNumbers(&state);
}

const std::vector<std::string>& Paths() {
  static const std::vector<std::string> paths = [] {
    std::vector<std::string> made;
    for (const int number : Numbers()) {
      made.emplace_back();
      vortan::LevelRowColumnStratumToTraversalPath(kLevel, number, number ^ 0x55555, number & 0xFFF,
                                                   &made.back());
    }
    return made;
  }();
  return paths;
}

void CellOfPath(benchmark::State& state) {
  for (auto unused : state) {
    for (const std::string& path : Paths()) {
      int cell[4];
      vortan::TraversalPathToLevelRowColumnStratum(path, &cell[0], &cell[1], &cell[2], &cell[3]);
      benchmark::DoNotOptimize(cell);
    }
  }
  CountNumbers(&state);
}

// A peer that reads the same digits as one number, by the C library.
void CellOfPathAsOctalNumber(benchmark::State& state) {
  for (auto unused : state) {
    for (const std::string& path : Paths()) {
      benchmark::DoNotOptimize(std::strtoull(path.c_str(), nullptr, 8));
    }
  }
  CountNumbers(&state);
}

BENCHMARK(StratumOfAltitude);
BENCHMARK(StratumOfAltitudeBare);
BENCHMARK(PathOfCell);
BENCHMARK(CellOfPath);
BENCHMARK(CellOfPathAsOctalNumber);

}  // namespace
