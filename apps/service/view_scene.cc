// SPDX-License-Identifier: Apache-2.0
#include "apps/service/view_scene.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace pelorin {
namespace {

// The layout of a depth map: a header, a plane number for each cell, four floats for each plane.
constexpr std::size_t kHeaderBytes = 8;
constexpr std::size_t kPlaneBytes = 16;
constexpr double kUpright = 0.3;  // A plane is a wall with less of its normal pointing up.
constexpr double kFarthestMetres = 1000.0;

// Plasters of a northern harbour town.
constexpr std::uint32_t kPaints[] = {0xD9C9A3, 0xC98F6B, 0xB7B2A8, 0xA85B4A,
                                     0xD8D3C4, 0x8FA3A0, 0xC7A45E, 0x9C8B7A};

std::uint32_t PaintOf(const std::string& street, std::size_t wall) {
  std::uint32_t mixed = 2166136261u;
  for (const char c : street) {
    mixed = (mixed ^ static_cast<unsigned char>(c)) * 16777619u;
  }
  return kPaints[(mixed / 7 + wall * 3) % std::size(kPaints)];
}

// Numbers of a depth map, lowest byte first.
class MapReader {
 public:
  explicit MapReader(const std::string& bytes) : bytes_(bytes) {}

  std::size_t Byte(std::size_t at) const { return static_cast<unsigned char>(bytes_[at]); }
  std::size_t Word(std::size_t at) const { return Byte(at) | Byte(at + 1) << 8; }
  double Float(std::size_t at) const {
    const std::uint32_t bits = static_cast<std::uint32_t>(Word(at) | Word(at + 2) << 16);
    float number = 0.0f;
    std::memcpy(&number, &bits, sizeof number);
    return static_cast<double>(number);
  }

 private:
  const std::string& bytes_;
};

// How high above the camera the cells of plane `number` reach.
double TopOf(const ViewScene::Wall& wall, const MapReader& map, std::size_t number,
             std::size_t width, std::size_t height) {
  double top_m = -HUGE_VAL;
  for (std::size_t cell = 0; cell < width * height; ++cell) {
    if (map.Byte(kHeaderBytes + cell) != number) {
      continue;
    }
    const double azimuth =
        ((static_cast<double>(cell % width) + 0.5) / static_cast<double>(width) - 0.5) * 2.0 * kPi;
    const double pitch =
        (0.5 - (static_cast<double>(cell / width) + 0.5) / static_cast<double>(height)) * kPi;
    const double towards = wall.x * std::sin(azimuth) + wall.y * std::cos(azimuth);
    const double reach_m = -wall.d / towards;
    if (reach_m > 0.0 && reach_m < kFarthestMetres) {
      top_m = std::max(top_m, reach_m * std::tan(pitch));
    }
  }
  return top_m;
}

void AddWalls(const PanoRecord& record, ViewScene* scene) {
  const MapReader map(record.depth_map);
  const std::size_t size = record.depth_map.size();
  if (size < kHeaderBytes) {
    return;
  }
  const std::size_t planes = map.Word(1);
  const std::size_t width = map.Word(3);
  const std::size_t height = map.Word(5);
  const std::size_t plane_offset = kHeaderBytes + width * height;
  if (size != plane_offset + planes * kPlaneBytes) {
    return;
  }
  for (std::size_t number = 1; number < planes; ++number) {
    const std::size_t at = plane_offset + number * kPlaneBytes;
    const double x = map.Float(at);
    const double y = map.Float(at + 4);
    const double z = map.Float(at + 8);
    const double d = map.Float(at + 12);
    const double across = std::hypot(x, y);
    if (std::fabs(z) > 0.9 && d / z > 0.1 && d / z < 100.0) {
      scene->camera_height_m = d / z;
    } else if (std::fabs(z) < kUpright && across > 0.5 && across < 2.0 &&
               std::fabs(d) < kFarthestMetres) {
      ViewScene::Wall wall{x / across, y / across, d / across, 0.0, PaintOf(record.text, number)};
      wall.top_m = TopOf(wall, map, number, width, height);
      scene->walls.push_back(wall);
    }
  }
}

}  // namespace

ViewScene SceneOf(const PanoRecord& record) {
  ViewScene scene;
  scene.heading_deg = NormalizedDegrees(record.pano_yaw_deg);
  scene.street = record.text;
  scene.caption = record.image_date;
  if (!record.copyright.empty()) {
    scene.caption += (scene.caption.empty() ? "" : "  ") + record.copyright;
  }
  AddWalls(record, &scene);
  for (const PanoLink& link : record.links) {
    scene.roads.push_back(
        {NormalizedDegrees(link.yaw_deg - scene.heading_deg), link.road_argb & 0xFFFFFF});
  }
  for (const PanoAnnotation& annotation : record.annotations) {
    scene.labels.push_back({annotation.title, NormalizedDegrees(annotation.yaw - scene.heading_deg),
                            annotation.pitch});
  }
  return scene;
}

}  // namespace pelorin
