// SPDX-License-Identifier: Apache-2.0
#include "apps/mesh/mesh_page.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "apps/mesh/faces.h"
#include "util/geometry3d/mesh/bbox.h"

namespace pelorin {
namespace mesh {
namespace {

using geometry3d::IndexSet;
using geometry3d::Shape;
using geometry3d::Vector3;

// Bytes as a browser's atob reads them.
std::string Base64(const std::string& bytes) {
  static constexpr char kDigits[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    std::uint32_t word = 0;
    for (std::size_t k = 0; k < 3; ++k) {
      word = word << 8 | (i + k < bytes.size() ? static_cast<unsigned char>(bytes[i + k]) : 0u);
    }
    for (std::size_t k = 0; k < 4; ++k) {
      text += i + k <= bytes.size() ? kDigits[word >> (18 - 6 * k) & 63] : '=';
    }
  }
  return text;
}

template <typename T>
std::string BytesOf(const std::vector<T>& values) {
  return std::string(reinterpret_cast<const char*>(values.data()), values.size() * sizeof(T));
}

// Corners of triangles, and of lines as triangles that go there and back, relative to `origin`.
std::string Corners(const Shape& shape, const Vector3<double>& origin) {
  std::vector<float> corners;
  for (const IndexSet* set : shape.index_sets()) {
    ForEachFace(*set, [&](const std::vector<int>& face) {
      for (std::size_t i = face.size() == 2 ? 1 : 2; i < face.size(); ++i) {
        for (const int position : {face[0], face[i - 1], face[i]}) {
          const Vector3<double> point = set->GetPoint(position) - origin;
          corners.push_back(static_cast<float>(point.x));
          corners.push_back(static_cast<float>(point.y));
          corners.push_back(static_cast<float>(point.z));
        }
      }
    });
  }
  return Base64(BytesOf(corners));
}

unsigned char ColorByte(float value) {
  return static_cast<unsigned char>(value * 255.0f + 0.5f);
}

// Red, green and blue of each triangle; grey without a material.
std::string Colors(const Shape& shape) {
  std::vector<unsigned char> colors;
  for (const IndexSet* set : shape.index_sets()) {
    const geometry3d::Material* const material = set->GetMaterial();
    const Vector3<float> color =
        material != nullptr ? material->diffuse_color() : Vector3<float>(0.75f, 0.75f, 0.75f);
    const std::array<unsigned char, 3> bytes = {ColorByte(color.x), ColorByte(color.y),
                                                ColorByte(color.z)};
    ForEachFace(*set, [&](const std::vector<int>& face) {
      for (std::size_t i = face.size() == 2 ? 1 : 2; i < face.size(); ++i) {
        colors.insert(colors.end(), bytes.begin(), bytes.end());
      }
    });
  }
  return Base64(BytesOf(colors));
}

// Text inside a script element must not end it.
std::string ForScript(std::string json) {
  for (std::size_t at = json.find('<'); at != std::string::npos; at = json.find('<', at)) {
    json.replace(at, 1, "\\u003c");
  }
  return json;
}

}  // namespace

std::string MeshPage(const Shape& before, const Shape& after, const std::string& report_json) {
  geometry3d::BBox3<double> box;
  for (const Vector3<double>& point : before.points()) {
    box.ExtendToContainPoint(point);
  }
  const Vector3<double> origin = box.GetCenter();
  const std::string data = "{\"report\":" + ForScript(report_json) + ",\"before\":\"" +
                           Corners(before, origin) + "\",\"after\":\"" + Corners(after, origin) +
                           "\",\"colors\":\"" + Colors(before) + "\"}";
  constexpr std::string_view kPlace = "@DATA@";
  std::string page(kMeshPage);
  page.replace(page.find(kPlace), kPlace.size(), data);
  return page;
}

}  // namespace mesh
}  // namespace pelorin
