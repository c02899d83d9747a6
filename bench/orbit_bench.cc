// SPDX-License-Identifier: Apache-2.0
// Places of the eight planets at many dates, beside ERFA's `eraPlan94` (which gives velocities too)
// and libnova's VSOP87 series, and beside the bare cost of the sines and cosines that our formulas
// need: twelve pairs a place, seven of them one after the other. One item is one planet at one
// date.
#include <benchmark/benchmark.h>
#include <erfa.h>
#include <libnova/libnova.h>

#include <cmath>
#include <cstddef>
#include <vector>

#include "spatial/orbit/orbit_manager.h"
#include "spatial/orbit/orbit_utils.h"
#include "spatial/orbit/solar_system_data.h"

namespace nimbara {
namespace bench {
namespace {

using namespace spatial;

constexpr int kPlanets = 8;
constexpr int kDates = 128;

double JulianDate(int date) {
  return 2451545.0 + date * 287.3;  // A century in steps that no planet repeats.
}

std::vector<DateTime> Dates() {
  std::vector<DateTime> dates;
  for (int i = 0; i < kDates; ++i) {
    dates.push_back(DateTime::FromJulianDate(JulianDate(i)));
  }
  return dates;
}

void CountItems(benchmark::State& state) {
  state.SetItemsProcessed(state.iterations() * kPlanets * kDates);
}

void Ours(benchmark::State& state) {
  const std::vector<DateTime> dates = Dates();
  for (auto _ : state) {
    for (const DateTime& date : dates) {
      for (int planet = kOrbitMercury; planet <= kOrbitNeptune; ++planet) {
        benchmark::DoNotOptimize(
            OrbitUtils::CalcRelativePosition(date, solarsystemdata::orbital_parameters[planet]));
      }
    }
  }
  CountItems(state);
}

// By name through the manager, relative to the Earth: four places a planet, since the Sun's and the
// Earth's are computed with it.
void OursByName(benchmark::State& state) {
  const std::vector<DateTime> dates = Dates();
  OrbitManager orbits;
  orbits.LoadSolarSystem();
  const QString earth = solarsystemdata::GetOrbitName(kOrbitEarth);
  for (auto _ : state) {
    for (const DateTime& date : dates) {
      for (int planet = kOrbitMercury; planet <= kOrbitNeptune; ++planet) {
        benchmark::DoNotOptimize(
            orbits.CalcOrbitPosition(solarsystemdata::orbit_names_[planet], earth, date));
      }
    }
  }
  CountItems(state);
  orbits.Clear();
}

void Erfa(benchmark::State& state) {
  for (auto _ : state) {
    for (int date = 0; date < kDates; ++date) {
      for (int planet = 1; planet <= kPlanets; ++planet) {
        double pv[2][3];
        benchmark::DoNotOptimize(eraPlan94(JulianDate(date), 0.0, planet, pv));
        benchmark::DoNotOptimize(pv);
      }
    }
  }
  CountItems(state);
}

void Libnova(benchmark::State& state) {
  // libnova keeps the place of the last date of each planet, so every date must be a new one.
  using Place = void (*)(double, ln_helio_posn*);
  const Place places[kPlanets] = {ln_get_mercury_helio_coords, ln_get_venus_helio_coords,
                                  ln_get_earth_helio_coords,   ln_get_mars_helio_coords,
                                  ln_get_jupiter_helio_coords, ln_get_saturn_helio_coords,
                                  ln_get_uranus_helio_coords,  ln_get_neptune_helio_coords};
  for (auto _ : state) {
    for (int date = 0; date < kDates; ++date) {
      for (const Place place : places) {
        ln_helio_posn at;
        place(JulianDate(date), &at);
        benchmark::DoNotOptimize(at);
      }
    }
  }
  CountItems(state);
}

// The twelve pairs of a place and nothing else. Each Newton step needs the step before it, so its
// pair waits for that one's; here the wait is kept and the division between them left out.
void SinesAndCosines(benchmark::State& state) {
  for (auto _ : state) {
    for (int date = 0; date < kDates; ++date) {
      for (int planet = 1; planet <= kPlanets; ++planet) {
        double angle = (date * kPlanets + planet) * (6.28 / (kDates * kPlanets));
        double sum = 0.0;
        for (int pair = 0; pair < 12; ++pair) {
          double sine;
          double cosine;
          ::sincos(angle, &sine, &cosine);
          if (pair < 8) {
            angle += sine * 1e-3;
          } else {
            angle = angle * 0.5 + 0.3;  // Node, inclination and argument wait for nothing.
          }
          sum += sine + cosine;
        }
        benchmark::DoNotOptimize(sum);
      }
    }
  }
  CountItems(state);
}

// The same twelve without any waiting.
void SinesAndCosinesFree(benchmark::State& state) {
  for (auto _ : state) {
    for (int date = 0; date < kDates; ++date) {
      for (int planet = 1; planet <= kPlanets; ++planet) {
        const double angle = (date * kPlanets + planet) * (6.28 / (kDates * kPlanets));
        double sum = 0.0;
        for (int pair = 0; pair < 12; ++pair) {
          double sine;
          double cosine;
          ::sincos(angle + pair * 1e-3, &sine, &cosine);
          sum += sine + cosine;
        }
        benchmark::DoNotOptimize(sum);
      }
    }
  }
  CountItems(state);
}

BENCHMARK(Ours);
BENCHMARK(OursByName);
BENCHMARK(Erfa);
BENCHMARK(Libnova);
BENCHMARK(SinesAndCosines);
BENCHMARK(SinesAndCosinesFree);

}  // namespace
}  // namespace bench
}  // namespace nimbara
