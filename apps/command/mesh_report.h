// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "apps/mesh/mesh_error.h"
#include "apps/mesh/mesh_stream.h"
#include "util/geometry3d/mesh/bbox.h"

namespace pelorin {
namespace command {

/// What `pelorin mesh info` tells of a mesh and its stream. A plain value.
struct MeshReport {
  std::string file;
  std::string format;  ///< Of that file: obj, ply, glb or shape.
  mesh::StreamSettings settings;
  std::size_t stream_bytes = 0;
  std::size_t triangles = 0;
  std::size_t lines = 0;
  std::size_t points = 0;
  std::size_t normals = 0;
  std::size_t tex_coords = 0;
  std::size_t index_sets = 0;
  std::size_t materials = 0;
  std::vector<std::string> textures;  ///< Names of images, without the empty ones.
  geometry3d::BBox3<double> extents;  ///< In the mesh's units; empty without points.
  /// Bytes of each section; nothing for a stream that our encoder would have written otherwise.
  std::optional<vortan::ShapeEncoderStats> sections;
  /// Against the source; nothing where there is none.
  std::optional<mesh::MeshError> error;
};

/// Fills in what can be counted in `shape`.
void CountMesh(const geometry3d::Shape& shape, MeshReport* report);

/// Lines for people.
std::string MeshReportText(const MeshReport& report);
/// One JSON object on one line; what is not known is null.
std::string MeshReportJson(const MeshReport& report);

}  // namespace command
}  // namespace pelorin
