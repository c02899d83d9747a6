// SPDX-License-Identifier: Apache-2.0
#include "apps/dataset/pano_record.h"

#include <QByteArray>
#include <QCryptographicHash>
#include <algorithm>
#include <cmath>

namespace pelorin {

namespace {

double Radians(double degrees) {
  return degrees * (kPi / 180.0);
}
double Degrees(double radians) {
  return radians * (180.0 / kPi);
}

bool IsXmlCharacter(std::uint32_t code) {
  return code == 0x9 || code == 0xA || code == 0xD || (code >= 0x20 && code <= 0xD7FF) ||
         (code >= 0xE000 && code <= 0xFFFD) || (code >= 0x10000 && code <= 0x10FFFF);
}

unsigned char ByteAt(std::string_view text, std::size_t at) {
  return static_cast<unsigned char>(text[at]);
}

// The length of the sound UTF-8 sequence at `at` whose character XML can carry, or 0.
std::size_t SoundSequence(std::string_view text, std::size_t at) {
  const unsigned char lead = ByteAt(text, at);
  if (lead < 0x80) {
    return IsXmlCharacter(lead) ? 1 : 0;
  }
  const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || text.size() - at < length) {
    return 0;
  }
  std::uint32_t code = lead & (0xFFu >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) {
    const unsigned char next = ByteAt(text, at + i);
    if ((next & 0xC0u) != 0x80u) {
      return 0;
    }
    code = (code << 6) | (next & 0x3Fu);
  }
  const std::uint32_t lowest = length == 4 ? 0x10000 : length == 3 ? 0x800 : 0x80;
  return code >= lowest && IsXmlCharacter(code) ? length : 0;
}

}  // namespace

bool IsValidLatLng(const LatLng& place) {
  return std::fabs(place.lat_deg) <= 90.0 && std::fabs(place.lng_deg) <= 180.0;
}

double DistanceMetres(const LatLng& a, const LatLng& b) {
  const double lat_half = std::sin(Radians(b.lat_deg - a.lat_deg) / 2.0);
  const double lng_half = std::sin(Radians(b.lng_deg - a.lng_deg) / 2.0);
  const double h = lat_half * lat_half + std::cos(Radians(a.lat_deg)) *
                                             std::cos(Radians(b.lat_deg)) * lng_half * lng_half;
  return 2.0 * kPlanetRadiusMetres * std::asin(std::sqrt(std::min(1.0, h)));
}

double BearingDegrees(const LatLng& a, const LatLng& b) {
  const double lat_a = Radians(a.lat_deg);
  const double lat_b = Radians(b.lat_deg);
  const double lng = Radians(b.lng_deg - a.lng_deg);
  const double east = std::sin(lng) * std::cos(lat_b);
  const double north =
      std::cos(lat_a) * std::sin(lat_b) - std::sin(lat_a) * std::cos(lat_b) * std::cos(lng);
  return NormalizedDegrees(Degrees(std::atan2(east, north)));
}

LatLng PlaceAlong(const LatLng& start, double bearing_deg, double metres) {
  const double arc = metres / kPlanetRadiusMetres;
  const double lat = Radians(start.lat_deg);
  const double bearing = Radians(bearing_deg);
  const double sine =
      std::sin(lat) * std::cos(arc) + std::cos(lat) * std::sin(arc) * std::cos(bearing);
  const double lat_end = std::asin(std::clamp(sine, -1.0, 1.0));
  const double lng = std::atan2(std::sin(bearing) * std::sin(arc) * std::cos(lat),
                                std::cos(arc) - std::sin(lat) * std::sin(lat_end));
  return {Degrees(lat_end), std::remainder(start.lng_deg + Degrees(lng), 360.0)};
}

double NormalizedDegrees(double angle_deg) {
  if (!std::isfinite(angle_deg)) {
    return 0.0;
  }
  const double turned = std::fmod(angle_deg, 360.0);
  const double positive = turned < 0.0 ? turned + 360.0 : turned;
  // A tiny negative angle rounds up to the full turn.
  return positive < 360.0 ? positive + 0.0 : 0.0;
}

bool IsPanoId(std::string_view id) {
  return id.size() == kPanoIdLength && std::all_of(id.begin(), id.end(), [](char c) {
           return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
                  c == '-' || c == '_';
         });
}

std::string PanoIdFromSeed(std::string_view seed) {
  QCryptographicHash hash(QCryptographicHash::Sha256);
  hash.addData(seed.data(), static_cast<int>(seed.size()));
  // 16 bytes are 128 bits, which 22 characters of 6 bits just hold.
  return hash.result()
      .left(16)
      .toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals)
      .toStdString();
}

std::string XmlSafeText(std::string_view text) {
  std::string safe;
  safe.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t length = SoundSequence(text, at);
    if (length == 0) {
      safe += "\xEF\xBF\xBD";
      ++at;
    } else {
      safe.append(text, at, length);
      at += length;
    }
  }
  return safe;
}

}  // namespace pelorin
