// SPDX-License-Identifier: Apache-2.0
// The projection beside what others say: GeographicLib and PROJ over the globe, published points.
#include <gtest/gtest.h>
#include <proj.h>

#include <GeographicLib/TransverseMercatorExact.hpp>
#include <GeographicLib/UTMUPS.hpp>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "ostrand/base/utmzone.h"

namespace ostrand {
namespace {

using GeographicLib::TransverseMercatorExact;
using GeographicLib::UTMUPS;

constexpr double kRadiansPerDegree = 0.017453292519943295;
constexpr double kMetresPerDegree = 111319.5;

double MiddleOf(const UTMZone& zone) {
  return 6.0 * zone.longitude_zone() - 183.0;
}

// What the cut series may lie off, in metres, at so many degrees from the middle of the zone; the
// figures of docs/utm.md, rounded up.
double ForwardMetres(double dl) {
  return dl <= 4.0 ? 0.001 : (dl <= 5.0 ? 0.0035 : 0.012);
}
double InverseMetres(double dl) {
  if (dl <= 3.0) {
    return 0.0005;
  }
  return dl <= 4.0 ? 0.003 : (dl <= 5.0 ? 0.014 : 0.05);
}

// Calls `check` with a zone, a latitude and a longitude all over the UTM part of the globe.
template <typename Check>
void OverTheGlobe(const Check& check) {
  for (double lat = -80.0; lat <= 84.0; lat += 1.0) {
    for (double lng = -180.0; lng < 180.0; lng += 0.75) {
      check(UTMZone(lat, lng), lat, lng);
    }
  }
}

TEST(UTMPeers, ChooseTheSameZoneAsGeographicLib) {
  OverTheGlobe([](const UTMZone& zone, double lat, double lng) {
    // At 84 degrees GeographicLib is past UTM's end, where only forcing gives a zone.
    if (lat < 84.0) {
      EXPECT_EQ(zone.longitude_zone(), UTMUPS::StandardZone(lat, lng)) << lat << ' ' << lng;
    }
  });
}

TEST(UTMPeers, AgreeForwardWithTheExactProjection) {
  const TransverseMercatorExact& exact = TransverseMercatorExact::UTM();
  OverTheGlobe([&exact](const UTMZone& zone, double lat, double lng) {
    double x = 0.0;
    double y = 0.0;
    zone.LatLngToLocal(lat, lng, &x, &y);
    double true_x = 0.0;
    double true_y = 0.0;
    exact.Forward(MiddleOf(zone), lat, lng, true_x, true_y);
    const double dl = std::abs(lng - MiddleOf(zone));
    EXPECT_NEAR(x - 500000.0, true_x, ForwardMetres(dl)) << lat << ' ' << lng;
    EXPECT_NEAR(lat < 0.0 ? y - 1e7 : y, true_y, ForwardMetres(dl)) << lat << ' ' << lng;
  });
}

TEST(UTMPeers, AgreeBackwardWithTheExactProjection) {
  const TransverseMercatorExact& exact = TransverseMercatorExact::UTM();
  OverTheGlobe([&exact](const UTMZone& zone, double lat, double lng) {
    double true_x = 0.0;
    double true_y = 0.0;
    exact.Forward(MiddleOf(zone), lat, lng, true_x, true_y);
    double back_lat = 0.0;
    double back_lng = 0.0;
    zone.LocalToLatLng(true_x + 500000.0, lat < 0.0 ? true_y + 1e7 : true_y, &back_lat, &back_lng);
    const double metres = InverseMetres(std::abs(lng - MiddleOf(zone)));
    EXPECT_NEAR(back_lat, lat, metres / kMetresPerDegree) << lat << ' ' << lng;
    EXPECT_NEAR(back_lng, lng, metres / kMetresPerDegree / std::cos(lat * kRadiansPerDegree))
        << lat << ' ' << lng;
  });
}

TEST(UTMPeers, AgreeInScaleAndConvergenceByTheDerivatives) {
  const TransverseMercatorExact& exact = TransverseMercatorExact::UTM();
  OverTheGlobe([&exact](const UTMZone& zone, double lat, double lng) {
    double x = 0.0;
    double y = 0.0;
    Matrix2x2<double> partials;
    zone.LatLngToLocalWithPartials(lat, lng, &x, &y, &partials);
    double true_x = 0.0;
    double true_y = 0.0;
    double convergence = 0.0;
    double scale = 0.0;
    exact.Forward(MiddleOf(zone), lat, lng, true_x, true_y, convergence, scale);
    const double s = std::sin(lat * kRadiansPerDegree);
    const double W2 = 1.0 - 0.00669438 * s * s;
    const double metres_per_degree =
        6378137.0 * 0.99330562 / (W2 * std::sqrt(W2)) * kRadiansPerDegree;
    EXPECT_NEAR(std::hypot(partials(0, 0), partials(1, 0)) / metres_per_degree, scale, 2e-8)
        << lat << ' ' << lng;
    EXPECT_NEAR(std::atan2(-partials(0, 0), partials(1, 0)) / kRadiansPerDegree, convergence, 2e-6)
        << lat << ' ' << lng;
  });
}

TEST(UTMPeers, AgreeWithProj) {
  const std::unique_ptr<PJ_CONTEXT, PJ_CONTEXT* (*)(PJ_CONTEXT*)> context(proj_context_create(),
                                                                          &proj_context_destroy);
  for (int number = 1; number <= 60; number += 7) {
    const double middle = 6.0 * number - 183.0;
    const std::unique_ptr<PJ, PJ* (*)(PJ*)> peer(
        proj_create(context.get(),
                    ("+proj=utm +ellps=WGS84 +zone=" + std::to_string(number)).c_str()),
        &proj_destroy);
    ASSERT_NE(peer, nullptr);
    const UTMZone zone(static_cast<unsigned char>(number), 'N');
    for (double lat = -80.0; lat <= 84.0; lat += 0.5) {
      for (double dl = -3.0; dl <= 3.0; dl += 0.25) {
        double x = 0.0;
        double y = 0.0;
        zone.LatLngToLocal(lat, middle + dl, &x, &y);
        const PJ_COORD local = proj_trans(
            peer.get(), PJ_FWD,
            proj_coord((middle + dl) * kRadiansPerDegree, lat * kRadiansPerDegree, 0, 0));
        EXPECT_NEAR(x, local.xy.x, 0.001) << number << ' ' << lat << ' ' << dl;
        EXPECT_NEAR(y, local.xy.y, 0.001) << number << ' ' << lat << ' ' << dl;
        double back_lat = 0.0;
        double back_lng = 0.0;
        zone.LocalToLatLng(local.xy.x, local.xy.y, &back_lat, &back_lng);
        EXPECT_NEAR(back_lat, lat, 0.0005 / kMetresPerDegree);
        EXPECT_NEAR(back_lng, middle + dl,
                    0.0005 / kMetresPerDegree / std::cos(lat * kRadiansPerDegree));
      }
    }
  }
}

using Row = std::vector<std::string>;

// Fields of each line behind the first; a field in quotes may hold commas.
std::vector<Row> RowsOf(const std::string& path) {
  std::ifstream file(path);
  std::vector<Row> rows;
  std::string line;
  std::getline(file, line);
  while (std::getline(file, line)) {
    Row row(1);
    bool quoted = false;
    for (const char c : line) {
      if (c == '"') {
        quoted = !quoted;
      } else if (c == ',' && !quoted) {
        row.emplace_back();
      } else {
        row.back() += c;
      }
    }
    rows.push_back(row);
  }
  return rows;
}

double Number(const std::string& text) {
  return std::strtod(text.c_str(), nullptr);
}

TEST(UTMPublishedPoints, AreMetWithinTheirDigits) {
  const std::vector<Row> rows = RowsOf(PELORIN_SHARED_DATA "/utm/utm-points.csv");
  if (rows.empty()) {
    GTEST_SKIP() << "no points at " PELORIN_SHARED_DATA;
  }
  for (const Row& row : rows) {
    ASSERT_EQ(row.size(), 8u);
    const double lat = Number(row[1]);
    const double lng = Number(row[2]);
    const auto number = static_cast<unsigned char>(std::stoi(row[3]));
    const bool forced = row[7] == "yes";
    EXPECT_EQ(UTMZone(lat, lng).longitude_zone() != number, forced) << row[0];
    const UTMZone zone(number, row[4] == "N" ? 'N' : 'M');
    double x = 0.0;
    double y = 0.0;
    zone.LatLngToLocal(lat, lng, &x, &y);
    const std::size_t digits = row[5].size() - row[5].find('.') - 1;
    // The millimetre of the series, and half a unit of the last digit that is given.
    const double metres = 0.001 + 0.5 * std::pow(10.0, -static_cast<double>(digits));
    EXPECT_NEAR(x, Number(row[5]), metres) << row[0];
    EXPECT_NEAR(y, Number(row[6]), metres) << row[0];
  }
}

TEST(UTMPublishedPlaces, AreMetWithinAMetre) {
  const std::vector<Row> rows = RowsOf(PELORIN_SHARED_DATA "/utm/utm-places.csv");
  if (rows.empty()) {
    GTEST_SKIP() << "no places at " PELORIN_SHARED_DATA;
  }
  for (const Row& row : rows) {
    ASSERT_EQ(row.size(), 8u);
    const double lat = Number(row[1]);
    const double lng = Number(row[2]);
    const UTMZone zone(lat, lng);
    EXPECT_EQ(zone.StringRepresentation(), row[3] + row[4]) << row[0];
    double x = 0.0;
    double y = 0.0;
    zone.LatLngToLocal(lat, lng, &x, &y);
    EXPECT_NEAR(x, Number(row[5]), Number(row[7])) << row[0];
    EXPECT_NEAR(y, Number(row[6]), Number(row[7])) << row[0];
  }
}

}  // namespace
}  // namespace ostrand
