// SPDX-License-Identifier: Apache-2.0
// A mesh into a stream and back, and a building out of its stream into a mesh with walls.
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>

#include "util/geometry3d/mesh/building_z.h"
#include "util/geometry3d/mesh/building_z_shape.h"
#include "util/geometry3d/mesh/shape.h"
#include "vortan/diorama/building_z_coder.h"
#include "vortan/diorama/shape_coder.h"

using geometry3d::BuildingZ;
using geometry3d::BuildingZShape;
using geometry3d::IndexSet;
using geometry3d::Material;
using geometry3d::PolygonZ;
using geometry3d::Shape;
using vortan::BuildingZDecoder;
using vortan::BuildingZEncoder;
using vortan::ShapeDecoder;
using vortan::ShapeEncoder;

namespace {

// A square of two triangles, 12 bits for its points.
bool EncodeSquare(std::string* stream) {
  Shape square;
  *square.mutable_points() = {{0, 0, 0}, {0.3, 0, 0}, {0.3, 0.3, 0}, {0, 0.3, 0}};
  IndexSet* const faces = square.AddNewIndexSet();
  faces->set_format(IndexSet::kTriangles);
  *faces->mutable_point_indices() = {0, 1, 2, 0, 2, 3};
  const std::unique_ptr<ShapeEncoder> encoder(
      ShapeEncoder::CreateEncoder(ShapeEncoder::kDefaultCodecVersion));
  encoder->set_point_bits(12);
  if (!encoder->EncodeShape(square)) {
    return false;
  }
  encoder->get_buffer(stream);
  return true;
}

// A house of 10 by 8 metres, 6 high.
bool EncodeHouse(std::string* stream) {
  BuildingZ house;
  PolygonZ* const roof = house.AddNewPolygon();
  *roof->mutable_points() = {{0, 0}, {10, 0}, {10, 8}, {0, 8}};
  *roof->mutable_contour_sizes() = {4};
  *roof->mutable_triangle_indices() = {0, 1, 2, 0, 2, 3};
  roof->set_z(6);
  BuildingZEncoder encoder;
  if (!encoder.EncodeBuildingZ(house)) {
    return false;
  }
  stream->assign(encoder.buffer(), static_cast<std::size_t>(encoder.buffer_size()));
  return true;
}

}  // namespace

int main() {
  std::string stream;
  Shape square;
  if (!EncodeSquare(&stream) || !ShapeDecoder::DecodeFromBuffer(stream, &square)) {
    return 1;
  }
  std::printf("square: %zu bytes, a corner moved by %.5f\n", stream.size(),
              std::fabs(square.points()[1].x - 0.3));

  BuildingZ house;
  BuildingZDecoder decoder;
  // What a damaged stream may take at most; it ends in std::bad_alloc.
  decoder.mutable_budget()->set_bytes(1 << 20);
  if (!EncodeHouse(&stream)) {
    return 1;
  }
  decoder.Init(stream.data(), static_cast<int>(stream.size()));
  Material walls;
  Material edges;
  Shape mesh;
  if (!decoder.DecodeBuildingZ(&house) ||
      !BuildingZShape::CreateShape(house, &walls, &edges, 0.0, true, 0.8f, &mesh)) {
    return 1;
  }
  std::printf("house: %zu bytes, %zu triangles, %zu edges\n", stream.size(),
              mesh.index_sets()[0]->point_indices().size() / 3,
              mesh.index_sets()[1]->point_indices().size() / 2);
  return 0;
}
