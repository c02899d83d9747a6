// SPDX-License-Identifier: Apache-2.0
#include "apps/command/mesh_report.h"

#include <cmath>
#include <iomanip>
#include <locale>
#include <nlohmann/json.hpp>
#include <sstream>

#include "apps/mesh/mesh_file.h"

namespace pelorin {
namespace command {
namespace {

using Json = nlohmann::ordered_json;

Json Corner(const geometry3d::Vector3<double>& corner) {
  return Json::array({corner.x, corner.y, corner.z});
}

Json Extents(const geometry3d::BBox3<double>& box) {
  if (box.IsEmpty()) {
    return nullptr;
  }
  return {{"min", Corner(box.GetMin())},
          {"max", Corner(box.GetMax())},
          {"size", Corner(box.GetSize())}};
}

Json Sections(const MeshReport& report) {
  if (!report.sections) {
    return nullptr;
  }
  const vortan::ShapeEncoderStats& s = *report.sections;
  const int known = s.material_bytes + s.point_bytes + s.normal_bytes + s.tex_coord_bytes +
                    s.point_index_bytes + s.normal_index_bytes + s.tex_coord_index_bytes;
  return {{"materials", s.material_bytes},
          {"points", s.point_bytes},
          {"normals", s.normal_bytes},
          {"tex_coords", s.tex_coord_bytes},
          {"point_indices", s.point_index_bytes},
          {"normal_indices", s.normal_index_bytes},
          {"tex_coord_indices", s.tex_coord_index_bytes},
          {"header_and_rest", static_cast<int>(report.stream_bytes) - known}};
}

Json Error(const MeshReport& report) {
  if (!report.error) {
    return nullptr;
  }
  const mesh::MeshError& e = *report.error;
  return {{"max", e.max},
          {"rms", e.rms},
          {"max_axis", e.max_axis},
          {"max_normal", e.max_normal},
          {"max_tex_coord", e.max_tex_coord}};
}

Json BitsPerTriangle(const MeshReport& report) {
  if (report.triangles == 0) {
    return nullptr;
  }
  return 8.0 * static_cast<double>(report.stream_bytes) / static_cast<double>(report.triangles);
}

Json ToJson(const MeshReport& report) {
  return {{"file", report.file},
          {"format", report.format},
          {"version", report.settings.version},
          {"points_bits", report.settings.point_bits},
          {"normal_bits", report.settings.normal_bits},
          {"tex_bits", report.settings.tex_coord_bits},
          {"triangles", report.triangles},
          {"lines", report.lines},
          {"points", report.points},
          {"normals", report.normals},
          {"tex_coords", report.tex_coords},
          {"index_sets", report.index_sets},
          {"materials", report.materials},
          {"textures", report.textures},
          {"stream_bytes", report.stream_bytes},
          {"bits_per_triangle", BitsPerTriangle(report)},
          {"sections", Sections(report)},
          {"extents", Extents(report.extents)},
          {"error", Error(report)}};
}

// For reading: nine digits tell apart what the eye does.
std::string Plain(const Json& value) {
  if (value.is_array()) {
    std::string text;
    for (const Json& item : value) {
      text += (text.empty() ? "" : ", ") + Plain(item);
    }
    return text.empty() ? "-" : text;
  }
  if (value.is_number_float()) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << std::setprecision(9) << value.get<double>();
    return text.str();
  }
  return value.is_string() ? value.get<std::string>() : value.is_null() ? "-" : value.dump();
}

}  // namespace

void CountMesh(const geometry3d::Shape& shape, MeshReport* report) {
  report->triangles = mesh::CountTriangles(shape);
  report->lines = mesh::CountLines(shape);
  report->points = shape.points().size();
  report->normals = shape.normals().size();
  report->tex_coords = shape.tex_coords().size();
  report->index_sets = shape.index_sets().size();
  report->materials = shape.materials().size();
  for (const geometry3d::Material* material : shape.materials()) {
    if (!material->texture_uri().empty()) {
      report->textures.push_back(material->texture_uri());
    }
  }
  for (const auto& point : shape.points()) {
    report->extents.ExtendToContainPoint(point);
  }
}

std::string MeshReportText(const MeshReport& report) {
  const Json json = ToJson(report);
  std::string text;
  for (const auto& [key, value] : json.items()) {
    if (!value.is_object()) {
      text += key + ": " + Plain(value) + "\n";
      continue;
    }
    for (const auto& [inner, number] : value.items()) {
      text += key + "." + inner + ": " + Plain(number) + "\n";
    }
  }
  return text;
}

std::string MeshReportJson(const MeshReport& report) {
  // A name of a texture may be any bytes.
  return ToJson(report).dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace command
}  // namespace pelorin
