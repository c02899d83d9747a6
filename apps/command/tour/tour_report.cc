// SPDX-License-Identifier: Apache-2.0
#include "apps/command/tour/tour_report.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace pelorin {
namespace command {
namespace {

struct RoadStyle {
  std::uint32_t rgb;
  const char* name;
  double width_metres;
};

/// The colours that the town and the importer give their streets.
constexpr std::array<RoadStyle, 7> kRoads{{
    {0xF2C14E, "a main street", 9.0},
    {0xF7E7A1, "a through street", 7.5},
    {0xFFFFFF, "a street", 6.5},
    {0xD9D2C5, "a lane or service road", 4.5},
    {0x9FB8A0, "a path", 3.0},
    {0x6FA8DC, "a quay", 5.5},
    {0xC27BA0, "a way for walkers only", 4.0},
}};
constexpr double kUnknownWidthMetres = 5.0;

const RoadStyle* StyleOf(std::uint32_t rgb) {
  const auto* const style = std::find_if(kRoads.begin(), kRoads.end(), [rgb](const RoadStyle& one) {
    return one.rgb == (rgb & 0xFFFFFFu);
  });
  return style == kRoads.end() ? nullptr : style;
}

}  // namespace

std::size_t TourReport::fetched_count() const {
  return static_cast<std::size_t>(
      std::count_if(panoramas.begin(), panoramas.end(),
                    [](const TourPanorama& panorama) { return panorama.fetched; }));
}

std::size_t TourReport::inferred_count() const {
  return static_cast<std::size_t>(std::count_if(
      edges.begin(), edges.end(), [](const TourEdge& edge) { return edge.inferred; }));
}

double TourReport::path_metres() const {
  double metres = 0.0;
  for (std::size_t i = 1; i < path.size(); ++i) {
    metres += DistanceMetres(panoramas[static_cast<std::size_t>(path[i - 1])].place,
                             panoramas[static_cast<std::size_t>(path[i])].place);
  }
  return metres;
}

double TourReport::panoramas_per_second() const {
  return figures.seconds > 0.0 ? static_cast<double>(fetched_count()) / figures.seconds : 0.0;
}

std::uint32_t RgbOf(std::uint32_t abgr) {
  return (abgr & 0xFFu) << 16 | (abgr & 0xFF00u) | (abgr >> 16 & 0xFFu);
}

std::string HexColour(std::uint32_t rgb) {
  std::array<char, 8> text{};
  std::snprintf(text.data(), text.size(), "#%06x", rgb & 0xFFFFFFu);
  return text.data();
}

std::string RoadClass(std::uint32_t rgb) {
  const RoadStyle* const style = StyleOf(rgb);
  return style == nullptr ? "" : style->name;
}

double RoadWidthMetres(std::uint32_t rgb) {
  const RoadStyle* const style = StyleOf(rgb);
  return style == nullptr ? kUnknownWidthMetres : style->width_metres;
}

}  // namespace command
}  // namespace pelorin
