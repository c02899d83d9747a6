// SPDX-License-Identifier: Apache-2.0
#include "apps/dataset/panorama_maps.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "apps/dataset/pano_record.h"

namespace pelorin {

namespace {

constexpr int kColumns = 64;
constexpr int kRows = 32;
constexpr char kHeaderByte = 8;
constexpr std::size_t kMaxEntries = 255;
// A neighbour's patch: this far to each side, and between these elevations.
constexpr double kPatchHalfWidthDeg = 20.0;
constexpr double kPatchLowestDeg = -30.0;
constexpr double kPatchHighestDeg = 10.0;

void AppendUint16(std::size_t value, std::string* bytes) {
  bytes->push_back(static_cast<char>(value & 0xFF));
  bytes->push_back(static_cast<char>(value >> 8));
}

void AppendFloat(double value, std::string* bytes) {
  const float narrow = static_cast<float>(value);
  std::uint32_t bits = 0;
  std::memcpy(&bits, &narrow, sizeof bits);
  for (int i = 0; i < 4; ++i) {
    bytes->push_back(static_cast<char>(bits >> (8 * i)));
  }
}

std::string Header(std::size_t entries) {
  std::string bytes(1, kHeaderByte);
  AppendUint16(entries, &bytes);
  AppendUint16(kColumns, &bytes);
  AppendUint16(kRows, &bytes);
  bytes.push_back(kHeaderByte);
  return bytes;
}

double AzimuthDeg(int column) {
  return (column + 0.5) / kColumns * 360.0 - 180.0;
}
double ElevationDeg(int row) {
  return 90.0 - (row + 0.5) / kRows * 180.0;
}

// The plane that the ray through the middle of a cell meets first.
char PlaneOfCell(const DepthScene& scene, int column, int row) {
  const double azimuth = AzimuthDeg(column) * kPi / 180.0;
  const double elevation = ElevationDeg(row) * kPi / 180.0;
  const double right = std::cos(elevation) * std::sin(azimuth);
  const double up = std::sin(elevation);
  const double facade_m = right > 0.0 ? scene.right_m : scene.left_m;
  const double ground_reach = up < 0.0 ? scene.camera_height_m / -up : HUGE_VAL;
  const double facade_reach = facade_m > 0.0 ? facade_m / std::fabs(right) : HUGE_VAL;
  if (facade_reach < ground_reach &&
      facade_reach * up + scene.camera_height_m <= scene.facade_height_m) {
    return right > 0.0 && scene.left_m > 0.0 ? 3 : 2;
  }
  return ground_reach < HUGE_VAL ? 1 : 0;
}

void AppendPlane(double x, double z, double d, std::string* bytes) {
  AppendFloat(x, bytes);
  AppendFloat(0.0, bytes);
  AppendFloat(z, bytes);
  AppendFloat(d, bytes);
}

std::size_t EntryOfCell(const std::vector<PanoMapEntry>& entries, std::size_t count, int column,
                        int row) {
  const double elevation = ElevationDeg(row);
  if (elevation < kPatchLowestDeg || elevation > kPatchHighestDeg) {
    return 0;
  }
  std::size_t best = 0;
  double best_deg = kPatchHalfWidthDeg;
  for (std::size_t i = 0; i < count; ++i) {
    const double off_deg =
        std::fabs(std::remainder(entries[i].yaw_deg - AzimuthDeg(column), 360.0));
    if (off_deg < best_deg) {
      best = i + 1;
      best_deg = off_deg;
    }
  }
  return best;
}

}  // namespace

std::string MakeDepthMap(const DepthScene& scene) {
  const std::size_t planes = 2u + (scene.left_m > 0.0 ? 1u : 0u) + (scene.right_m > 0.0 ? 1u : 0u);
  std::string bytes = Header(planes);
  for (int row = 0; row < kRows; ++row) {
    for (int column = 0; column < kColumns; ++column) {
      bytes.push_back(PlaneOfCell(scene, column, row));
    }
  }
  AppendPlane(0.0, 0.0, 0.0, &bytes);
  AppendPlane(0.0, 1.0, scene.camera_height_m, &bytes);
  if (scene.left_m > 0.0) {
    AppendPlane(1.0, 0.0, scene.left_m, &bytes);
  }
  if (scene.right_m > 0.0) {
    AppendPlane(-1.0, 0.0, scene.right_m, &bytes);
  }
  return bytes;
}

std::string MakePanoMap(const std::vector<PanoMapEntry>& entries) {
  const std::size_t count = std::min(entries.size(), kMaxEntries);
  std::string bytes = Header(count + 1);
  for (int row = 0; row < kRows; ++row) {
    for (int column = 0; column < kColumns; ++column) {
      bytes.push_back(static_cast<char>(EntryOfCell(entries, count, column, row)));
    }
  }
  for (std::size_t i = 0; i < count; ++i) {
    std::string id = entries[i].pano_id;
    id.resize(22, '\0');
    bytes += id;
  }
  for (std::size_t i = 0; i < count; ++i) {
    AppendFloat(entries[i].east_m, &bytes);
    AppendFloat(entries[i].north_m, &bytes);
  }
  return bytes;
}

}  // namespace pelorin
