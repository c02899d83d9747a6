// SPDX-License-Identifier: Apache-2.0
#include "apps/service/view_pixels.h"

#include <algorithm>
#include <cmath>

namespace pelorin {
namespace {

constexpr double kHazeMetres = 220.0;  // By here half of a colour has gone into the haze.
constexpr double kRoadHalfWidthMetres = 3.2;
constexpr double kFloorMetres = 3.0;
constexpr double kWindowMetres = 2.6;  // From one window to the next.

struct Colour {
  double r, g, b;
};

constexpr Colour kZenith{92, 142, 205};
constexpr Colour kHaze{218, 229, 238};
constexpr Colour kPaving{150, 146, 138};
constexpr Colour kAsphalt{96, 97, 100};
constexpr Colour kLine{232, 230, 220};
constexpr Colour kGlass{74, 92, 108};
constexpr Colour kFrame{236, 232, 222};
constexpr Colour kPlinth{112, 106, 100};

Colour FromRgb(std::uint32_t rgb) {
  return {static_cast<double>(rgb >> 16 & 0xFF), static_cast<double>(rgb >> 8 & 0xFF),
          static_cast<double>(rgb & 0xFF)};
}

Colour Mix(const Colour& a, const Colour& b, double of_b) {
  return {a.r + (b.r - a.r) * of_b, a.g + (b.g - a.g) * of_b, a.b + (b.b - a.b) * of_b};
}

Colour Shaded(const Colour& colour, double light) {
  return {colour.r * light, colour.g * light, colour.b * light};
}

Colour Hazy(const Colour& colour, double metres) {
  return Mix(colour, kHaze, metres / (metres + kHazeMetres));
}

// A direction, of length 1.
struct Ray {
  double x, y, z;
};

// Position within a repeating pattern, 0 up to 1.
double Phase(double at, double period) {
  return at / period - std::floor(at / period);
}

Colour SkyAt(const Ray& ray) {
  return Mix(kHaze, kZenith, std::pow(std::clamp(ray.z, 0.0, 1.0), 0.55));
}

Colour GroundAt(const ViewScene& scene, double x, double y) {
  Colour colour = kPaving;
  for (const ViewScene::Road& road : scene.roads) {
    const double azimuth = road.azimuth_deg * kPi / 180.0;
    const double along = x * std::sin(azimuth) + y * std::cos(azimuth);
    const double aside = std::fabs(x * std::cos(azimuth) - y * std::sin(azimuth));
    if (along < 0.0 || aside > kRoadHalfWidthMetres) {
      continue;
    }
    colour = Mix(kAsphalt, FromRgb(road.rgb), 0.18);
    const bool dash = aside < 0.09 && Phase(along, 4.0) < 0.5 && along > kRoadHalfWidthMetres;
    if (dash || aside > kRoadHalfWidthMetres - 0.15) {
      return Mix(colour, kLine, 0.8);
    }
  }
  return colour;
}

Colour WallAt(const ViewScene& scene, const ViewScene::Wall& wall, double x, double y, double z) {
  const double along = x * -wall.y + y * wall.x;
  const double above_ground = z + scene.camera_height_m;
  // Light falls from the south-east.
  const double heading = scene.heading_deg * kPi / 180.0;
  const double east = wall.x * std::cos(heading) + wall.y * std::sin(heading);
  const double north = wall.y * std::cos(heading) - wall.x * std::sin(heading);
  const double light = 0.86 + 0.14 * (east - north) / std::sqrt(2.0);
  // Houses stand in a row, each with a paint of its own.
  const double house = std::floor(along / (3.0 * kWindowMetres));
  const double tint = 0.86 + 0.14 * std::fabs(std::sin(house * 2.4));
  const Colour paint = Shaded(FromRgb(wall.rgb), light * tint);
  if (above_ground < 0.5) {
    return Shaded(kPlinth, light);
  }
  if (z > wall.top_m - 0.35) {
    return Shaded(paint, 0.72);  // The eaves.
  }
  const double across = std::fabs(Phase(along, kWindowMetres) - 0.5) * kWindowMetres;
  const double up = Phase(above_ground - 0.6, kFloorMetres) * kFloorMetres;
  const bool in_frame = across < 0.62 && up > 0.45 && up < 2.15;
  const bool in_glass = across < 0.52 && up > 0.55 && up < 2.05 && across > 0.04;
  return in_glass   ? Mix(kGlass, kHaze, 0.10 + 0.12 * light)
         : in_frame ? Shaded(kFrame, light)
                    : paint;
}

Colour ColourOf(const ViewScene& scene, const Ray& ray) {
  double nearest = ray.z < -1e-9 ? scene.camera_height_m / -ray.z : HUGE_VAL;
  const ViewScene::Wall* hit = nullptr;
  for (const ViewScene::Wall& wall : scene.walls) {
    const double towards = wall.x * ray.x + wall.y * ray.y;
    const double reach = -wall.d / towards;
    if (reach > 0.0 && reach < nearest && reach * ray.z <= wall.top_m) {
      nearest = reach;
      hit = &wall;
    }
  }
  if (hit != nullptr) {
    return Hazy(WallAt(scene, *hit, nearest * ray.x, nearest * ray.y, nearest * ray.z), nearest);
  }
  return nearest < HUGE_VAL ? Hazy(GroundAt(scene, nearest * ray.x, nearest * ray.y), nearest)
                            : SkyAt(ray);
}

std::uint8_t Channel(double value) {
  return static_cast<std::uint8_t>(std::clamp(std::lround(value), 0L, 255L));
}

}  // namespace

RgbImage DrawView(const ViewScene& scene, const ViewPart& part) {
  RgbImage image{part.width, part.height, {}};
  image.pixels.reserve(static_cast<std::size_t>(part.width) *
                       static_cast<std::size_t>(part.height) * 3);
  for (int row = 0; row < part.height; ++row) {
    const double pitch = (0.5 - (part.top + row + 0.5) / part.image_height) * kPi;
    for (int column = 0; column < part.width; ++column) {
      const double azimuth = ((part.left + column + 0.5) / part.image_width - 0.5) * 2.0 * kPi;
      const Colour colour = ColourOf(scene, {std::cos(pitch) * std::sin(azimuth),
                                             std::cos(pitch) * std::cos(azimuth), std::sin(pitch)});
      image.pixels.push_back(Channel(colour.r));
      image.pixels.push_back(Channel(colour.g));
      image.pixels.push_back(Channel(colour.b));
    }
  }
  return image;
}

}  // namespace pelorin
