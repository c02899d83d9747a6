// SPDX-License-Identifier: Apache-2.0
#include "apps/command/coordinates.h"

#include <array>
#include <charconv>
#include <cmath>
#include <system_error>
#include <vector>

namespace pelorin {
namespace command {
namespace {

constexpr int kMaxZoom = 30;

std::string_view Trimmed(std::string_view text) {
  const char* const kBlanks = " \t\r\n";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) {
    return {};
  }
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::vector<std::string_view> SplitAtCommas(std::string_view text) {
  std::vector<std::string_view> parts;
  for (;;) {
    const std::size_t comma = text.find(',');
    parts.push_back(text.substr(0, comma));
    if (comma == std::string_view::npos) {
      return parts;
    }
    text.remove_prefix(comma + 1);
  }
}

bool ParseWhole(std::string_view text, int* number) {
  const std::string_view digits = Trimmed(text);
  int value = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  if (digits.empty() || error != std::errc() || end != digits.data() + digits.size()) {
    return false;
  }
  *number = value;
  return true;
}

std::string Quoted(std::string_view text) {
  return "'" + std::string(text) + "'";
}

Outcome OutOfRange(std::string_view where, const char* name, std::string_view text, int limit) {
  const std::string bound = std::to_string(limit);
  return Outcome::Fail(ExitCode::kWrongUsage,
                       std::string(name) + " " + std::string(Trimmed(text)) + " is not between -" +
                           bound + " and " + bound,
                       std::string(where), "give lat,lng in degrees, latitude first");
}

}  // namespace

bool ParseNumber(std::string_view text, double* number) {
  std::string_view digits = Trimmed(text);
  if (!digits.empty() && digits.front() == '+') {
    digits.remove_prefix(1);
    if (!digits.empty() && digits.front() == '-') {
      return false;
    }
  }
  double value = 0.0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  if (digits.empty() || error != std::errc() || end != digits.data() + digits.size() ||
      !std::isfinite(value)) {
    return false;
  }
  *number = value;
  return true;
}

Outcome ParseLatLng(std::string_view text, std::string_view where, LatLng* place) {
  const std::vector<std::string_view> parts = SplitAtCommas(text);
  LatLng read;
  if (parts.size() != 2 || !ParseNumber(parts[0], &read.lat_deg) ||
      !ParseNumber(parts[1], &read.lng_deg)) {
    return Outcome::Fail(ExitCode::kWrongUsage, Quoted(text) + " is not a place",
                         std::string(where),
                         parts.size() > 2 ? "give lat,lng with a dot in each number, such as "
                                            "43.7339,7.4219"
                                          : "give lat,lng in degrees, such as 43.7339,7.4219");
  }
  if (std::abs(read.lat_deg) > 90.0) {
    return OutOfRange(where, "latitude", parts[0], 90);
  }
  if (std::abs(read.lng_deg) > 180.0) {
    return OutOfRange(where, "longitude", parts[1], 180);
  }
  *place = read;
  return Outcome::Done();
}

Outcome ParseTile(std::string_view text, std::string_view where, TileAddress* tile) {
  const std::vector<std::string_view> parts = SplitAtCommas(text);
  TileAddress read;
  if (parts.size() != 3 || !ParseWhole(parts[0], &read.x) || !ParseWhole(parts[1], &read.y) ||
      !ParseWhole(parts[2], &read.zoom)) {
    return Outcome::Fail(ExitCode::kWrongUsage, Quoted(text) + " is not a tile", std::string(where),
                         "give x,y,z as whole numbers, such as 34123,23900,16");
  }
  if (read.zoom < 0 || read.zoom > kMaxZoom) {
    return Outcome::Fail(ExitCode::kWrongUsage,
                         "zoom " + std::to_string(read.zoom) + " is not between 0 and 30",
                         std::string(where), "give x,y,z");
  }
  const int last = (1 << read.zoom) - 1;
  if (read.x < 0 || read.y < 0 || read.x > last || read.y > last) {
    return Outcome::Fail(ExitCode::kWrongUsage,
                         "tile " + Quoted(text) + " does not exist: column and row lie in 0 to " +
                             std::to_string(last) + " at zoom " + std::to_string(read.zoom),
                         std::string(where));
  }
  *tile = read;
  return Outcome::Done();
}

std::string DegreesText(double degrees) {
  if (!std::isfinite(degrees)) {
    return "?";
  }
  // The longest finite double has 309 digits before the point.
  std::array<char, 330> buffer{};
  const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), degrees,
                                    std::chars_format::fixed, 7);
  return std::string(buffer.data(), result.ptr);
}

std::string LatLngText(const LatLng& place) {
  return DegreesText(place.lat_deg) + "," + DegreesText(place.lng_deg);
}

}  // namespace command
}  // namespace pelorin
