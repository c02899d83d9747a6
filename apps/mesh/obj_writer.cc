// SPDX-License-Identifier: Apache-2.0
#include "apps/mesh/obj_writer.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <vector>

#include "apps/mesh/faces.h"
#include "apps/mesh/mesh_file.h"

namespace pelorin {
namespace mesh {
namespace {

template <typename Number>
void AppendNumber(Number number, std::string* text) {
  std::array<char, 40> buffer;
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number);
  *text += ' ';
  text->append(buffer.data(), end.ptr);
}

void AppendColor(const char* keyword, const geometry3d::Vector3<float>& color, std::string* text) {
  *text += keyword;
  AppendNumber(color.x, text);
  AppendNumber(color.y, text);
  AppendNumber(color.z, text);
  *text += '\n';
}

// Entries are counted from 1.
std::string Entry(const std::vector<int>& indices, int position) {
  return std::to_string(indices[static_cast<std::size_t>(position)] + 1);
}

std::string CornerText(const geometry3d::IndexSet& set, int position) {
  std::string text = Entry(set.point_indices(), position);
  const bool normals = !set.normal_indices().empty();
  if (!set.tex_coord_indices().empty()) {
    text += '/' + Entry(set.tex_coord_indices(), position);
  } else if (normals) {
    text += '/';
  }
  if (normals) {
    text += '/' + Entry(set.normal_indices(), position);
  }
  return text;
}

// Delimiters that are not at the same place in all arrays leave corners without an entry.
bool IsWhole(const geometry3d::IndexSet& set, const std::vector<int>& face) {
  for (const int position : face) {
    const auto at = static_cast<std::size_t>(position);
    if ((!set.normal_indices().empty() && set.normal_indices()[at] < 0) ||
        (!set.tex_coord_indices().empty() && set.tex_coord_indices()[at] < 0)) {
      return false;
    }
  }
  return true;
}

// A name is the rest of its line, so it must not hold a line end.
std::string OnOneLine(std::string name) {
  std::replace_if(
      name.begin(), name.end(), [](unsigned char c) { return c < ' '; }, '_');
  return name;
}

}  // namespace

std::string ObjText(const geometry3d::Shape& shape, const std::string& library) {
  std::string text;
  if (!library.empty()) {
    text += "mtllib " + OnOneLine(library) + "\n";
  }
  for (const auto& point : shape.points()) {
    text += 'v';
    AppendNumber(point.x, &text);
    AppendNumber(point.y, &text);
    AppendNumber(point.z, &text);
    text += '\n';
  }
  for (const auto& tex_coord : shape.tex_coords()) {
    text += "vt";
    AppendNumber(tex_coord.x, &text);
    AppendNumber(tex_coord.y, &text);
    text += '\n';
  }
  for (const auto& normal : shape.normals()) {
    AppendColor("vn", normal, &text);
  }
  for (const geometry3d::IndexSet* set : shape.index_sets()) {
    if (set->material_index() >= 0) {
      text += "usemtl " + MaterialName(static_cast<std::size_t>(set->material_index())) + "\n";
    }
    ForEachFace(*set, [&](const std::vector<int>& face) {
      if (!IsWhole(*set, face)) {
        return;
      }
      text += face.size() == 2 ? 'l' : 'f';
      for (const int position : face) {
        text += ' ' + CornerText(*set, position);
      }
      text += '\n';
    });
  }
  return text;
}

std::string MtlText(const geometry3d::Shape& shape) {
  std::string text;
  for (std::size_t i = 0; i < shape.materials().size(); ++i) {
    const geometry3d::Material& material = *shape.materials()[i];
    text += "newmtl " + MaterialName(i) + "\n";
    AppendColor("Ka", material.ambient_color(), &text);
    AppendColor("Kd", material.diffuse_color(), &text);
    AppendColor("Ks", material.specular_color(), &text);
    AppendColor("Ke", material.emissive_color(), &text);
    AppendColor("Tf", material.transparent_color(), &text);
    text += "Ns";
    AppendNumber(material.shininess(), &text);
    text += "\nd";
    AppendNumber(1.0f - material.transparency(), &text);
    text += '\n';
    if (!material.texture_uri().empty()) {
      text += "map_Kd " + OnOneLine(material.texture_uri()) + "\n";
    }
  }
  return text;
}

}  // namespace mesh
}  // namespace pelorin
