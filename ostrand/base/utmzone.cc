// SPDX-License-Identifier: Apache-2.0
#include "ostrand/base/utmzone.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/logging.h"
#include "strings/stringprintf.h"

namespace ostrand {
namespace {

constexpr double kSemiMajorAxis = 6378137.0;
// The eccentricity is rounded to eight decimals; every constant of the series belongs to this
// value.
constexpr double kE2 = 0.00669438;
constexpr double kOneMinusE2 = 0.99330562;
constexpr double kSecondE2 = 0.006739496752268451;
constexpr double kTwiceSecondE2 = 0.013478993504536902;
constexpr double kScale = 0.9996;
constexpr double kFalseEasting = 500000.0;
constexpr double kSouthernFalseNorthing = 1e7;
constexpr double kRadiansPerDegree = 0.017453292519943295;
constexpr double kDegreesPerRadian = 57.29577951308232;

// The meridian's arc by latitude, in units of the semi-major axis.
constexpr double kArc = 0.9983242984503243;
constexpr double kArcSin2 = 0.002514607064228144;
constexpr double kArcSin4 = 2.639046602129982e-6;
constexpr double kArcSin6 = 3.418046101696858e-9;

// Latitude by the meridian's arc: metres a radian, then the terms of the footpoint latitude.
constexpr double kMetresPerRadian = 6367449.145945056;
constexpr double kFootSin2 = 0.002518826588112575;
constexpr double kFootSin4 = 3.7009490465577744e-6;
constexpr double kFootSin6 = 7.447813800519332e-9;
// kSemiMajorAxis * (1 - kE2), the numerator of the meridian's radius of curvature.
constexpr double kMeridianRadius = 6335439.32722994;

// Zone numbers beyond it, of longitudes far outside the range, are not converted to int: that
// could overflow.
constexpr double kLargestZone = 1e9;

struct MultipleSines {
  double of_2;
  double of_4;
  double of_6;
};

// The sines of 2, 4 and 6 times an angle from its own sine and cosine: sin 2x = 2 sin x cos x, and
// sin 3x = sin x (3 - 4 sin^2 x).
MultipleSines SinesOfMultiples(double sine, double cosine) {
  const double sin2 = 2.0 * sine * cosine;
  const double cos2 = 1.0 - 2.0 * sine * sine;
  return {sin2, 2.0 * sin2 * cos2, sin2 * (3.0 - 4.0 * sin2 * sin2)};
}

// The letter is compared as a signed character on every machine. The parameter has the name of the
// field, since the entry of a failed check quotes the condition.
void CheckLetter(signed char latitude_zone_) {
  PELORIN_CHECK_GE(latitude_zone_, 'A');
  PELORIN_CHECK_LE(latitude_zone_, 'Z');
}

// Reads `text` as sscanf reads "%d%c%c", and returns the count of items or EOF likewise, but for a
// number of any length: sscanf has no defined result for one beyond `int`. What is not read is left
// alone.
int ReadZoneText(const char* text, long long* number, char* letter) {
  char* behind = nullptr;
  const long long read = std::strtoll(text, &behind, 10);
  if (behind == text) {
    text += std::strspn(text, " \t\n\v\f\r");
    return *text == '\0' ? EOF : 0;
  }
  *number = read;
  if (behind[0] == '\0') {
    return 1;
  }
  *letter = behind[0];
  return behind[1] == '\0' ? 2 : 3;
}

// Zone 32 reaches west to 3 degrees in southern Norway, and the even zones around Svalbard give way
// to their neighbours.
int ZoneWithExceptions(double lat, double turned_lng, int regular_zone) {
  if (lat >= 56.0 && lat < 64.0 && turned_lng >= 3.0 && turned_lng < 12.0) {
    return 32;
  }
  if (lat >= 72.0 && lat < 84.0 && turned_lng >= 0.0 && turned_lng < 42.0) {
    if (turned_lng < 9.0) {
      return 31;
    }
    if (turned_lng < 21.0) {
      return 33;
    }
    return turned_lng < 33.0 ? 35 : 37;
  }
  return regular_zone;
}

}  // namespace

MapProjection::~MapProjection() = default;

UTMZone::UTMZone(unsigned char longitude_zone, char latitude_zone)
    : longitude_zone_(longitude_zone), latitude_zone_(latitude_zone) {
  CheckRanges();
}

UTMZone::UTMZone(const std::string& zone) {
  long long number = 0;
  const int items = ReadZoneText(zone.c_str(), &number, &latitude_zone_);
  PELORIN_INTERNAL_CHECK_OP(items, ==, 2,
                            "sscanf(zone.c_str(), \"%d%c%c\", &lng, &latitude_zone_, &dummy)==2")
      << "UTM zone name parse error";
  longitude_zone_ = static_cast<unsigned char>(number);
  CheckRanges();
}

UTMZone::UTMZone(double lat, double lng) {
  Set(lat, lng);
}

UTMZone::UTMZone(double lat, double lng, bool set_origin) {
  Set(lat, lng, set_origin);
}

void UTMZone::Set(double lat, double lng) {
  Set(lat, lng, false);
}

void UTMZone::Set(double lat, double lng, bool set_origin) {
  // Truncation and not floor: longitudes below -180 stay where they are.
  const double turns = std::trunc((lng + 180.0) / 360.0);
  const double turned_lng = (lng + 180.0) - 360.0 * turns - 180.0;
  const double zone = (180.0 + turned_lng) / 6.0;
  const bool has_zone = zone > -kLargestZone && zone < kLargestZone;
  const int regular_zone = has_zone ? static_cast<int>(zone) + 1 : 0;
  longitude_zone_ = static_cast<unsigned char>(ZoneWithExceptions(lat, turned_lng, regular_zone));
  latitude_zone_ = ComputeUTMZoneLetter(lat);
  utm_origin_ = Point2<double>();
  if (set_origin) {
    Point2<double> origin;
    LatLngToLocal(lat, lng, &origin.x, &origin.y);
    utm_origin_ = origin;
  }
  reference_set_ = true;
  reference_lat_ = lat;
  reference_lng_ = lng;
}

void UTMZone::SetReference(double lat, double lng) {
  Set(lat, lng, true);
}

void UTMZone::GetReference(double* lat, double* lng) const {
  PELORIN_CHECK(IsReferenceSet());
  *lat = reference_lat_;
  *lng = reference_lng_;
}

void UTMZone::set_utm_origin(const Point2<double>& origin) {
  PELORIN_CHECK(IsValid());
  utm_origin_ = origin;
  if (origin != Point2<double>()) {
    LocalToLatLng(0.0, 0.0, &reference_lat_, &reference_lng_);
    reference_set_ = true;
  }
}

std::string UTMZone::StringRepresentation() const {
  return StringPrintf("%u%c", static_cast<unsigned>(longitude_zone_), latitude_zone_);
}

char UTMZone::ComputeUTMZoneLetter(double latitude) {
  if (latitude >= -80.0 && latitude <= 84.0) {
    // From the topmost band down, by comparison alone: sums and quotients would round the last
    // numbers below an edge up to it.
    static constexpr char kLetters[] = "CDEFGHJKLMNPQRSTUVWX";
    int band = 19;
    while (latitude < -80.0 + 8.0 * band) {
      --band;
    }
    return kLetters[band];
  }
  if (latitude > 84.0) {
    return 'Z';
  }
  if (latitude < -80.0) {
    return 'A';
  }
  PELORIN_LOG_FATAL() << "Impossible: " << latitude;
  return 'Z';
}

void UTMZone::LatLngToLocal(double lat, double lng, double* x, double* y) const {
  LatLngToLocalWithPartials(lat, lng, x, y, nullptr);
}

void UTMZone::LatLngToLocalWithPartials(double lat, double lng, double* x, double* y,
                                        Matrix2x2<double>* partials) const {
  PELORIN_CHECK(longitude_zone_ > 0);
  const double phi = lat * kRadiansPerDegree;
  double dl = lng - CentralMeridian();
  if (dl > 180.0) {
    dl -= 360.0;
  }
  if (dl < -180.0) {
    dl += 360.0;
  }
  const double lam = dl * kRadiansPerDegree;

  // The names are those of the published formulas.
  const double s = std::sin(phi);
  const double c = std::cos(phi);
  const double t = s / c;
  const double W2 = 1.0 - kE2 * s * s;
  const double N = kSemiMajorAxis / std::sqrt(W2);
  const double T = t * t;
  const double C = kSecondE2 * c * c;
  const double A = c * lam;
  const double A2 = A * A;
  const double A3 = A2 * A;
  const double A4 = A2 * A2;
  const double A5 = A4 * A;
  const double A6 = A4 * A2;
  const double P1 = (1.0 - T + C) / 6.0;
  const double P2 = (5.0 - T + 9.0 * C + 4.0 * C * C) / 24.0;
  const double P3 = (5.0 - 18.0 * T + T * T + 72.0 * C - 0.39089081163157013) / 120.0;
  const double P4 = (61.0 - 58.0 * T + T * T + 600.0 * C - 2.2240339282485886) / 720.0;
  const double Sx = A + P1 * A3 + P3 * A5;
  const double Sy = A2 / 2.0 + P2 * A4 + P4 * A6;
  const MultipleSines sin = SinesOfMultiples(s, c);
  const double M = kSemiMajorAxis *
                   (kArc * phi - kArcSin2 * sin.of_2 + kArcSin4 * sin.of_4 - kArcSin6 * sin.of_6);
  *x = kFalseEasting + kScale * N * Sx - utm_origin_.x;
  *y = kScale * (N * t * Sy + M) + FalseNorthing() - utm_origin_.y;
  if (partials == nullptr) {
    return;
  }

  const double D1 = 1.0 + 3.0 * A2 * P1 + 5.0 * A4 * P3;
  const double D2 = A + 4.0 * A3 * P2 + 6.0 * A5 * P4;
  const double dA = -s * lam;
  const double dN = kE2 * (N / W2) * s * c;
  const double dT = 2.0 * t / (c * c);
  const double dT2 = 2.0 * T * dT;
  const double dC = -kTwiceSecondE2 * c * s;
  const double dSx_coefficients =
      ((dC - dT) / 6.0) * A3 + ((-18.0 * dT + dT2 + 72.0 * dC) / 120.0) * A5;
  const double dSy_coefficients =
      ((9.0 * dC - dT + 8.0 * C * dC) / 24.0) * A4 + ((-58.0 * dT + dT2 + 600.0 * dC) / 720.0) * A6;
  const double meridian_slope = kOneMinusE2 * N / W2;
  partials->m[0] = kScale * kRadiansPerDegree * (Sx * dN + N * D1 * dA + N * dSx_coefficients);
  partials->m[1] = kScale * N * D1 * c * kRadiansPerDegree;
  partials->m[2] = kScale * kRadiansPerDegree *
                   (dN * t * Sy + meridian_slope + (N / (c * c)) * Sy + N * t * D2 * dA +
                    N * t * dSy_coefficients);
  partials->m[3] = kScale * N * t * D2 * c * kRadiansPerDegree;
}

void UTMZone::LocalToLatLng(double x, double y, double* lat, double* lng) const {
  PELORIN_CHECK(longitude_zone_ > 0);
  const double x2 = x - kFalseEasting + utm_origin_.x;
  const double y2 = y + utm_origin_.y - FalseNorthing();

  // The latitude whose arc from the equator is y2.
  const double mu = y2 / kScale / kMetresPerRadian;
  const MultipleSines sin = SinesOfMultiples(std::sin(mu), std::cos(mu));
  const double p1 = mu + kFootSin2 * sin.of_2 + kFootSin4 * sin.of_4 + kFootSin6 * sin.of_6;

  const double s = std::sin(p1);
  const double c = std::cos(p1);
  const double W2 = 1.0 - kE2 * s * s;
  const double W = std::sqrt(W2);
  const double N1 = kSemiMajorAxis / W;
  const double t = s / c;
  const double T = t * t;
  const double C = kSecondE2 * c * c;
  const double R1 = kMeridianRadius / (W2 * W);
  const double D = x2 / (kScale * N1);
  const double D2 = D * D;
  const double D3 = D2 * D;
  const double D4 = D2 * D2;
  const double D5 = D4 * D;
  const double D6 = D4 * D2;
  *lat =
      (p1 -
       (t * N1 / R1) *
           (D2 / 2.0 - (5.0 + 3.0 * T + 10.0 * C - 4.0 * C * C - 0.06065547077041606) * D4 / 24.0 +
            (61.0 + 90.0 * T + 298.0 * C + 45.0 * T * T - 1.6983531815716497 - 3.0 * C * C) * D6 /
                720.0)) *
      kDegreesPerRadian;
  *lng =
      (D - (1.0 + 2.0 * T + C) * D3 / 6.0 +
       (5.0 - 2.0 * C + 28.0 * T - 3.0 * C * C + 0.05391597401814761 + 24.0 * T * T) * D5 / 120.0) /
          c * kDegreesPerRadian +
      CentralMeridian();
}

UTMZone* UTMZone::Clone() const {
  return new UTMZone(*this);
}

void UTMZone::CheckRanges() const {
  PELORIN_CHECK_GE(longitude_zone_, 1);
  PELORIN_CHECK_LE(longitude_zone_, 60);
  CheckLetter(static_cast<signed char>(latitude_zone_));
}

double UTMZone::CentralMeridian() const {
  return 6 * longitude_zone_ - 183;
}

double UTMZone::FalseNorthing() const {
  return static_cast<signed char>(latitude_zone_) < 'N' ? kSouthernFalseNorthing : 0.0;
}

}  // namespace ostrand
