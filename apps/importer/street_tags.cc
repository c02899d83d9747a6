// SPDX-License-Identifier: Apache-2.0
#include "apps/importer/street_tags.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <string_view>

#include "apps/jpeg/acquisition_date.h"

namespace pelorin {

namespace {

struct StreetClass {
  std::string_view highway;
  std::int32_t rank;
  std::uint32_t road_argb;
  double half_width_m;
};

constexpr std::string_view kBlanks = " \t\r\n";

constexpr std::uint32_t kMainArgb = 0xFFF2C14E;
constexpr std::uint32_t kMiddleArgb = 0xFFF7E7A1;
constexpr std::uint32_t kStreetArgb = 0xFFFFFFFF;
constexpr std::uint32_t kServiceArgb = 0xFFD9D2C5;
constexpr std::uint32_t kWalkArgb = 0xFFC27BA0;
constexpr std::uint32_t kPathArgb = 0xFF9FB8A0;

constexpr StreetClass kClasses[] = {
    {"primary", 0, kMainArgb, 12.0},        {"primary_link", 1, kMainArgb, 8.0},
    {"secondary", 1, kMainArgb, 10.0},      {"secondary_link", 2, kMainArgb, 8.0},
    {"tertiary", 2, kMiddleArgb, 8.0},      {"tertiary_link", 3, kMiddleArgb, 7.0},
    {"unclassified", 3, kStreetArgb, 7.0},  {"residential", 3, kStreetArgb, 7.0},
    {"living_street", 4, kStreetArgb, 6.0}, {"pedestrian", 4, kWalkArgb, 6.0},
    {"road", 5, kStreetArgb, 7.0},          {"", 5, kStreetArgb, 7.0},
    {"service", 6, kServiceArgb, 5.0},      {"track", 7, kPathArgb, 5.0},
    {"footway", 8, kPathArgb, 4.0},         {"path", 8, kPathArgb, 4.0},
    {"cycleway", 8, kPathArgb, 4.0},        {"bridleway", 8, kPathArgb, 4.0},
    {"steps", 9, kPathArgb, 3.0},           {"corridor", 9, kWalkArgb, 3.0},
};

constexpr double kHighestStorey = 1000.0;

bool IsOneOf(std::string_view text, std::initializer_list<std::string_view> list) {
  return std::find(list.begin(), list.end(), text) != list.end();
}

bool MayBeWalked(const StreetTags& tags) {
  if (!tags.foot.empty()) {
    return !IsOneOf(tags.foot, {"no", "private"});
  }
  return !IsOneOf(tags.access, {"no", "private"});
}

bool IsBesideAnotherStreet(const StreetTags& tags) {
  return IsOneOf(tags.service, {"driveway", "parking_aisle", "drive-through"}) ||
         IsOneOf(tags.footway, {"sidewalk", "crossing", "traffic_island"});
}

// The first number of a list such as "0;1", "-1" or "0-3".
std::optional<double> FirstStorey(const std::string& level) {
  // A dash behind the first digit parts two numbers; one before it is a sign.
  const std::size_t digit = level.find_first_of("0123456789");
  const std::size_t end = std::min(level.find(';'), level.find('-', digit));
  const std::optional<double> storey = NumberFromText(level.substr(0, end));
  return storey && std::fabs(*storey) <= kHighestStorey ? storey : std::nullopt;
}

// "-1", "0.5": the shortest text that reads back as the number.
std::string StoreyText(double storey) {
  char text[32];
  const std::to_chars_result end = std::to_chars(text, text + sizeof text, storey + 0.0);
  return std::string(text, end.ptr);
}

StreetLevel LevelFromTags(const StreetTags& tags) {
  const bool indoors = tags.highway == "corridor" || (!tags.indoor.empty() && tags.indoor != "no");
  const std::optional<double> storey = tags.level.empty() ? std::nullopt : FirstStorey(tags.level);
  if (!storey || (*storey == 0.0 && !indoors)) {
    return {};
  }
  const std::string text = StoreyText(*storey);
  return {text, static_cast<std::int32_t>(std::floor(*storey)), "Level " + text, text};
}

}  // namespace

std::optional<Street> StreetFromTags(const StreetTags& tags) {
  const auto street_class =
      std::find_if(std::begin(kClasses), std::end(kClasses),
                   [&tags](const StreetClass& one) { return one.highway == tags.highway; });
  if (street_class == std::end(kClasses) || tags.area == "yes" || !MayBeWalked(tags) ||
      IsBesideAnotherStreet(tags)) {
    return std::nullopt;
  }
  Street street;
  street.name = tags.name;
  street.rank = street_class->rank;
  street.road_argb = street_class->road_argb;
  street.half_width_m = street_class->half_width_m;
  street.level = LevelFromTags(tags);
  street.image_date = SeenDate(tags.date);
  return street;
}

std::string SeenDate(const std::string& text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string::npos) {
    return "";
  }
  const std::size_t end = std::min(text.find('T', first), text.find_first_of(kBlanks, first));
  vortan::JpegCommentDate date;
  return ParseDate(text.substr(first, end - first), &date) ? DateForPeople(date) : "";
}

std::optional<double> NumberFromText(const std::string& text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string::npos) {
    return std::nullopt;
  }
  const std::size_t last = text.find_last_not_of(kBlanks) + 1;
  // A plus sign is common in coordinates, but unknown to the conversion.
  const char* begin = text.data() + first + (text[first] == '+' ? 1 : 0);
  double value = 0.0;
  const std::from_chars_result result = std::from_chars(begin, text.data() + last, value);
  if (result.ec != std::errc() || result.ptr != text.data() + last) {
    return std::nullopt;
  }
  return value;
}

}  // namespace pelorin
