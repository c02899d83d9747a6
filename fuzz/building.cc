// SPDX-License-Identifier: Apache-2.0
// Bytes that claim to be a building stream. Whatever decodes can be extruded, and where the encoder
// takes it, it must come back as it was.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <string>

#include "util/geometry3d/mesh/building_z_shape.h"
#include "vortan/diorama/building_z_coder.h"

namespace {

constexpr std::size_t kBudget = std::size_t{1} << 15;
// Beyond it numbers need not come back.
constexpr double kExactLimit = 1 << 30;

void Require(bool condition) {
  if (!condition) {
    std::abort();
  }
}

bool Decode(const char* data, std::size_t size, geometry3d::BuildingZ* building, int* point_bits) {
  vortan::BuildingZDecoder decoder;
  decoder.mutable_budget()->set_bytes(kBudget);
  decoder.Init(data, static_cast<int>(size));
  try {
    const bool good = decoder.DecodeBuildingZ(building);
    *point_bits = decoder.point_bits();
    return good;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

bool IsExact(double number, double factor) {
  return number * factor >= -kExactLimit && number * factor < kExactLimit;
}

bool ComesBack(const geometry3d::BuildingZ& building, double factor) {
  for (const geometry3d::PolygonZ* const polygon : building.polygons()) {
    for (const auto& point : polygon->points()) {
      if (!IsExact(point.x, factor) || !IsExact(point.y, factor)) {
        return false;
      }
    }
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  geometry3d::BuildingZ building;
  int point_bits = 0;
  if (!Decode(reinterpret_cast<const char*>(data), size, &building, &point_bits)) {
    return 0;
  }
  geometry3d::Shape shape;
  if (geometry3d::BuildingZShape::CreateShapeWithDefaults(building, &shape)) {
    std::string reason;
    shape.Validate(&reason);
  }
  vortan::BuildingZEncoder encoder;
  encoder.set_point_bits(point_bits);
  if (encoder.EncodeBuildingZ(building) && ComesBack(building, encoder.point_factor())) {
    geometry3d::BuildingZ again;
    Require(Decode(encoder.buffer(), static_cast<std::size_t>(encoder.buffer_size()), &again,
                   &point_bits));
    Require(again.IsEqual(building));
  }
  return 0;
}
