// SPDX-License-Identifier: Apache-2.0
#include "apps/buildings/stream_file.h"

#include <algorithm>
#include <limits>
#include <new>

#include "vortan/diorama/building_z_coder.h"

namespace pelorin {
namespace {

using geometry3d::BuildingZ;
using geometry3d::PolygonZ;

constexpr std::size_t kBudget = std::size_t{1} << 30;
constexpr std::size_t kHeaderSize = 4;
// Zeros behind the stream, as the decoder reads them there anyway. That it has consumed some tells
// that the stream was cut.
constexpr std::size_t kZeros = 64;

// What is wrong with a polygon, or null.
const char* FaultOf(const PolygonZ& polygon) {
  const auto point_count = polygon.points().size();
  if (point_count < 3) {
    return "has fewer than 3 points";
  }
  std::size_t covered = 0;
  for (const int size : polygon.contour_sizes()) {
    if (size <= 0) {
      return "has a contour without points";
    }
    covered += static_cast<std::size_t>(size);
  }
  if (covered != point_count) {
    return "has contours that do not cover its points";
  }
  const auto& indices = polygon.triangle_indices();
  if (indices.empty() || indices.size() % 3 != 0) {
    return "has no whole triangles";
  }
  const auto is_out = [point_count](int index) {
    return index < 0 || static_cast<std::size_t>(index) >= point_count;
  };
  return std::any_of(indices.begin(), indices.end(), is_out) ? "has a triangle without its points"
                                                             : nullptr;
}

}  // namespace

bool IsBuildingStream(const std::string& bytes) {
  return bytes.size() >= 2 && bytes[0] == 'Z' && bytes[1] == 'B';
}

bool ReadBuildingStream(const std::string& bytes, BuildingZ* building, StreamFacts* facts,
                        std::string* error) {
  if (bytes.size() > std::numeric_limits<int>::max() - kZeros) {
    *error = "larger than a building stream can be";
    return false;
  }
  const std::string padded = bytes + std::string(kZeros, '\0');
  vortan::BuildingZDecoder decoder;
  decoder.mutable_budget()->set_bytes(kBudget);
  decoder.Init(padded.data(), static_cast<int>(padded.size()));
  try {
    if (bytes.size() < kHeaderSize || !decoder.DecodeBuildingZ(building)) {
      *error = "no building stream of version 1";
      return false;
    }
  } catch (const std::bad_alloc&) {
    *error = "damaged: its counts want more than a gigabyte";
    return false;
  }
  const auto decoded = static_cast<std::size_t>(decoder.BytesDecoded());
  if (decoded > bytes.size()) {
    *error = "cut: it goes on behind its " + std::to_string(bytes.size()) + " bytes";
    return false;
  }
  for (std::size_t i = 0; i < building->polygons().size(); ++i) {
    if (const char* const fault = FaultOf(*building->polygons()[i])) {
      *error = "damaged: polygon " + std::to_string(i) + " " + fault;
      return false;
    }
  }
  facts->point_bits = decoder.point_bits();
  facts->bytes_behind_end = bytes.size() - decoded;
  return true;
}

}  // namespace pelorin
