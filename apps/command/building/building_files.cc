// SPDX-License-Identifier: Apache-2.0
#include "apps/command/building/building_files.h"

#include <cmath>
#include <filesystem>
#include <utility>
#include <vector>

#include "apps/command/building/building_page.h"
#include "apps/command/obj_files.h"
#include "apps/command/output_file.h"
#include "apps/command/versions.h"
#include "apps/mesh/scene_writer.h"
#include "util/geometry3d/mesh/building_z_shape.h"
#include "vortan/diorama/building_z_coder.h"

namespace pelorin {
namespace command {
namespace {

using geometry3d::BuildingZ;
using geometry3d::BuildingZShape;
using geometry3d::IndexSet;
using geometry3d::Material;
using geometry3d::Shape;
using geometry3d::Vector3;

constexpr float kCreaseThreshold = 0.8f;

// The mesh with one index set for all faces and one for all edges: programs that draw a file are
// fast with few large sets and slow with hundreds of small ones.
bool MakeMesh(const BuildingZ& building, double base_m, Shape* mesh) {
  Material walls;
  walls.set_diffuse_color(Vector3<float>(0.68f, 0.66f, 0.68f));
  Material edges;
  edges.set_diffuse_color(Vector3<float>(1.0f, 0.86f, 0.68f));
  Shape apart;
  if (!BuildingZShape::CreateShape(building, &walls, &edges, base_m, true, kCreaseThreshold,
                                   &apart)) {
    return false;
  }
  *mesh->mutable_points() = std::move(*apart.mutable_points());
  *mesh->mutable_normals() = std::move(*apart.mutable_normals());
  for (const Material* const material : apart.materials()) {
    mesh->AppendMaterial(*material);
  }
  for (const IndexSet* const set : apart.index_sets()) {
    IndexSet* place = nullptr;
    for (IndexSet* const there : mesh->index_sets()) {
      if (there->IsCompatible(*set)) {
        place = there;
      }
    }
    if (place == nullptr) {
      mesh->AppendIndexSet(*set);
    } else {
      place->AppendIndexSet(*set);
    }
  }
  return true;
}

// z up becomes y up: east stays x, north is -z.
void PutYUp(Shape* mesh) {
  for (Vector3<double>& point : *mesh->mutable_points()) {
    point = {point.x, point.z, -point.y};
  }
  for (Vector3<float>& normal : *mesh->mutable_normals()) {
    normal = {normal.x, normal.z, -normal.y};
  }
}

Outcome WriteGlb(Shape* mesh, const std::string& path, bool overwrite) {
  PutYUp(mesh);
  std::string bytes;
  std::string error;
  if (!mesh::WriteScene(*mesh, "glb", &bytes, &error)) {
    return Outcome::Fail(ExitCode::kDataError, error, path);
  }
  return WriteOutput(path, overwrite, bytes);
}

std::string Page(const Shape& mesh, const BuildingReport& report) {
  BuildingPageTexts texts;
  texts.title = report.input == "standard input"
                    ? "Buildings"
                    : std::filesystem::path(report.input).filename().string();
  const auto metres = [](double length) { return std::to_string(std::lround(length)) + " m"; };
  texts.facts = {
      {"Polygons", std::to_string(report.polygons)},
      {"Points", std::to_string(report.points)},
      {"Roof triangles", std::to_string(report.triangles)},
      {"Triangles of the mesh", std::to_string(mesh.index_sets()[0]->point_indices().size() / 3)},
      {"Ground",
       metres(report.max_x - report.min_x) + " by " + metres(report.max_y - report.min_y)},
      {"Roofs", metres(report.lowest) + " to " + metres(report.highest)},
      {"Stream", std::to_string(report.stream_bytes) + " bytes at " +
                     std::to_string(report.point_bits) + " bits"},
  };
  // Data of others is shown with their names, and with the sign of their right in them.
  const bool is_signed = report.attribution.rfind("©", 0) == 0;
  texts.credit = (report.attribution.empty() || is_signed ? "" : "© ") + report.attribution;
  texts.made = "Made by " + VersionLine();
  return BuildingPage(mesh, texts);
}

}  // namespace

std::optional<BuildingFormat> BuildingFormatByName(std::string_view name) {
  if (name == "stream" || name == "zb") {
    return BuildingFormat::kStream;
  }
  if (name == "glb") {
    return BuildingFormat::kGlb;
  }
  if (name == "obj") {
    return BuildingFormat::kObj;
  }
  if (name == "html") {
    return BuildingFormat::kHtml;
  }
  return std::nullopt;
}

bool BuildingStream(const BuildingZ& building, int point_bits, std::string* stream) {
  vortan::BuildingZEncoder encoder;
  encoder.set_point_bits(point_bits);
  if (!encoder.EncodeBuildingZ(building)) {
    return false;
  }
  stream->assign(encoder.buffer(), static_cast<std::size_t>(encoder.buffer_size()));
  return true;
}

Outcome CheckMayWriteBuilding(BuildingFormat format, const std::string& path, bool overwrite) {
  const std::string library = format == BuildingFormat::kObj ? MaterialLibraryPath(path) : "";
  if (!library.empty()) {
    if (Outcome outcome = CheckMayWrite(library, overwrite); !outcome.ok()) {
      return outcome;
    }
  }
  return CheckMayWrite(path, overwrite);
}

Outcome WriteBuilding(const BuildingZ& building, const std::string& stream, BuildingFormat format,
                      double base_m, const std::string& path, bool overwrite,
                      const BuildingReport& report) {
  if (format == BuildingFormat::kStream) {
    return WriteOutput(path, overwrite, stream);
  }
  Shape mesh;
  std::string fault;
  if (!MakeMesh(building, base_m, &mesh) || !mesh.Validate(&fault)) {
    return Outcome::Fail(ExitCode::kDataError, "its polygons cannot be extruded", report.input);
  }
  switch (format) {
  case BuildingFormat::kGlb:
    return WriteGlb(&mesh, path, overwrite);
  case BuildingFormat::kObj:
    return WriteObjFiles(mesh, path, overwrite);
  default:
    return WriteOutput(path, overwrite, Page(mesh, report));
  }
}

}  // namespace command
}  // namespace pelorin
