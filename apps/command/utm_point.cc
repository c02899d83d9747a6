// SPDX-License-Identifier: Apache-2.0
#include "apps/command/utm_point.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <vector>

#include "apps/command/coordinates.h"
#include "ostrand/base/utmzone.h"

namespace pelorin {
namespace command {
namespace {

using ostrand::Matrix2x2;
using ostrand::UTMZone;

constexpr double kRadiansPerDegree = 0.017453292519943295;
constexpr double kMetresPerDegree = 111319.5;
constexpr double kMostMetresOff = 1.0;
// UTM text is rounded to the centimetre, so the last place of UTM can come back a little outside.
constexpr double kRoundedOutDegrees = 1e-7;

bool IsBand(char letter) {
  return letter >= 'C' && letter <= 'X' && letter != 'I' && letter != 'O';
}

Outcome OutsideUtm(double lat_deg) {
  return Outcome::Fail(ExitCode::kNothingFound,
                       "latitude " + DegreesText(lat_deg) +
                           " is outside UTM, which ends at 80 degrees south and 84 north");
}

// Metres of a degree of the meridian on WGS84.
double MeridianMetresPerDegree(double lat_deg) {
  constexpr double kE2 = 0.00669438;
  const double s = std::sin(lat_deg * kRadiansPerDegree);
  const double w2 = 1.0 - kE2 * s * s;
  return 6378137.0 * (1.0 - kE2) / (w2 * std::sqrt(w2)) * kRadiansPerDegree;
}

double BroughtToTheEdge(double lat_deg) {
  const double inside = std::clamp(lat_deg, -80.0, 84.0);
  return std::abs(lat_deg - inside) <= kRoundedOutDegrees ? inside : lat_deg;
}

double TurnedLongitude(double lng_deg) {
  return std::remainder(lng_deg, 360.0);
}

// Fills in what follows from the place and the zone. False if the series do not lead back there.
bool Complete(const UTMZone& zone, UtmPoint* point) {
  const LatLng& place = point->place;
  Matrix2x2<double> partials;
  zone.LatLngToLocalWithPartials(place.lat_deg, place.lng_deg, &point->easting_m,
                                 &point->northing_m, &partials);
  point->zone = zone.longitude_zone();
  point->band = UTMZone::ComputeUTMZoneLetter(place.lat_deg);
  point->is_south = zone.latitude_zone() < 'N';
  point->scale =
      std::hypot(partials(0, 0), partials(1, 0)) / MeridianMetresPerDegree(place.lat_deg);
  // The sum makes no minus of the zero in the middle of the zone.
  point->convergence_deg = std::atan2(-partials(0, 0), partials(1, 0)) / kRadiansPerDegree + 0.0;
  point->own_zone = UTMZone(place.lat_deg, place.lng_deg).longitude_zone();
  LatLng back;
  zone.LocalToLatLng(point->easting_m, point->northing_m, &back.lat_deg, &back.lng_deg);
  const double north = back.lat_deg - place.lat_deg;
  const double east =
      TurnedLongitude(back.lng_deg - place.lng_deg) * std::cos(place.lat_deg * kRadiansPerDegree);
  return std::hypot(north, east) * kMetresPerDegree <= kMostMetresOff;
}

Outcome TooFar(int zone) {
  return Outcome::Fail(ExitCode::kNothingFound,
                       "the point lies too far from the middle of zone " + std::to_string(zone));
}

std::vector<std::string_view> SplitAtBlanksAndCommas(std::string_view text) {
  const char* const kApart = " \t,;";
  std::vector<std::string_view> parts;
  for (;;) {
    const std::size_t start = text.find_first_not_of(kApart);
    if (start == std::string_view::npos) {
      return parts;
    }
    text.remove_prefix(start);
    const std::size_t end = std::min(text.find_first_of(kApart), text.size());
    parts.push_back(text.substr(0, end));
    text.remove_prefix(end);
  }
}

char UpperCase(char c) {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

struct UtmTextParts {
  int zone = 0;
  char band = '?';
  double easting_m = 0.0;
  double northing_m = 0.0;
};

// Reads the parts from front to back.
class UtmTextReader {
 public:
  explicit UtmTextReader(std::string_view text) : parts_(SplitAtBlanksAndCommas(text)) {}

  bool Read(UtmTextParts* read) {
    return ReadZone(read) && ReadMetres("E", &read->easting_m) &&
           ReadMetres(read->band < 'N' ? "S" : "N", &read->northing_m) && AtEnd();
  }

 private:
  bool AtEnd() const { return next_ == parts_.size(); }

  // "33T", or "33" and "T".
  bool ReadZone(UtmTextParts* read) {
    if (AtEnd()) {
      return false;
    }
    std::string_view number = parts_[next_++];
    std::string_view letter;
    const std::size_t digits = std::min(number.find_first_not_of("0123456789"), number.size());
    if (digits < number.size()) {
      letter = number.substr(digits);
      number = number.substr(0, digits);
    } else if (!AtEnd()) {
      letter = parts_[next_++];
    }
    const auto [end, error] =
        std::from_chars(number.data(), number.data() + number.size(), read->zone);
    if (error != std::errc() || end != number.data() + number.size() || letter.size() != 1) {
      return false;
    }
    read->band = UpperCase(letter[0]);
    return true;
  }

  // A number, and behind it "m" and the direction or neither.
  bool ReadMetres(std::string_view direction, double* metres) {
    if (AtEnd() || !ParseNumber(parts_[next_++], metres)) {
      return false;
    }
    if (!AtEnd() && parts_[next_] == "m") {
      ++next_;
      return !AtEnd() && parts_[next_++] == direction;
    }
    return true;
  }

  std::vector<std::string_view> parts_;
  std::size_t next_ = 0;
};

std::string ExtentWords(int from, int to, const char* positive, const char* negative) {
  return from < 0 ? std::to_string(-from) + " to " + std::to_string(-to) + " degrees " + negative
                  : std::to_string(from) + " to " + std::to_string(to) + " degrees " + positive;
}

}  // namespace

Outcome UtmFromPlace(const LatLng& place, int forced_zone, UtmPoint* point) {
  const UTMZone own(place.lat_deg, place.lng_deg);
  if (!IsBand(own.latitude_zone())) {
    return OutsideUtm(place.lat_deg);
  }
  const UTMZone zone = forced_zone == 0
                           ? own
                           : UTMZone(static_cast<unsigned char>(forced_zone), own.latitude_zone());
  UtmPoint made;
  made.place = place;
  if (!Complete(zone, &made)) {
    return TooFar(zone.longitude_zone());
  }
  *point = made;
  return Outcome::Done();
}

Outcome UtmFromText(std::string_view text, std::string_view where, UtmPoint* point) {
  UtmTextParts parts;
  if (!UtmTextReader(text).Read(&parts)) {
    return Outcome::Fail(ExitCode::kWrongUsage, "'" + std::string(text) + "' is not a UTM point",
                         std::string(where),
                         "give zone, band, easting and northing, such as 33T 292948.96 4652799.81");
  }
  if (parts.zone < 1 || parts.zone > 60) {
    return Outcome::Fail(ExitCode::kWrongUsage,
                         "zone " + std::to_string(parts.zone) + " is not between 1 and 60",
                         std::string(where));
  }
  if (!IsBand(parts.band)) {
    return Outcome::Fail(ExitCode::kWrongUsage,
                         "band '" + std::string(1, parts.band) +
                             "' is not a letter from C to X, without I and O",
                         std::string(where));
  }
  const UTMZone zone(static_cast<unsigned char>(parts.zone), parts.band);
  UtmPoint made;
  LatLng place;
  zone.LocalToLatLng(parts.easting_m, parts.northing_m, &place.lat_deg, &place.lng_deg);
  if (!std::isfinite(place.lat_deg) || !std::isfinite(place.lng_deg) ||
      std::abs(place.lat_deg) > 90.0 || std::abs(place.lng_deg) > 540.0) {
    return TooFar(parts.zone);
  }
  place.lat_deg = BroughtToTheEdge(place.lat_deg);
  place.lng_deg = TurnedLongitude(place.lng_deg);
  if (!IsBand(UTMZone::ComputeUTMZoneLetter(place.lat_deg))) {
    return OutsideUtm(place.lat_deg);
  }
  made.place = place;
  if (!Complete(zone, &made) || std::abs(made.easting_m - parts.easting_m) > kMostMetresOff ||
      std::abs(made.northing_m - parts.northing_m) > kMostMetresOff) {
    return TooFar(parts.zone);
  }
  // As they were given, not as the series come back.
  made.easting_m = parts.easting_m;
  made.northing_m = parts.northing_m;
  *point = made;
  return Outcome::Done();
}

std::string ZoneExtentWords(int zone, char band) {
  struct Exception {
    char band;
    int zone;
    int west;
    int east;
  };
  static constexpr std::array<Exception, 6> kExceptions{{{'V', 31, 0, 3},
                                                         {'V', 32, 3, 12},
                                                         {'X', 31, 0, 9},
                                                         {'X', 33, 9, 21},
                                                         {'X', 35, 21, 33},
                                                         {'X', 37, 33, 42}}};
  int west = 6 * zone - 186;
  int east = west + 6;
  for (const Exception& exception : kExceptions) {
    if (exception.band == band && exception.zone == zone) {
      west = exception.west;
      east = exception.east;
    }
  }
  return ExtentWords(west, east, "east", "west");
}

std::string BandExtentWords(char band) {
  static constexpr std::string_view kBands = "CDEFGHJKLMNPQRSTUVWX";
  const int south = 8 * static_cast<int>(kBands.find(band)) - 80;
  return ExtentWords(south, band == 'X' ? 84 : south + 8, "north", "south");
}

std::string FixedText(double number, int decimals) {
  // The longest finite double has 309 digits before the point.
  std::array<char, 340> buffer{};
  const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number,
                                    std::chars_format::fixed, decimals);
  return std::string(buffer.data(), result.ptr);
}

}  // namespace command
}  // namespace pelorin
