// SPDX-License-Identifier: Apache-2.0
#include "apps/mesh/mesh_file.h"

#include <algorithm>
#include <cctype>
#include <cstddef>

#include "apps/mesh/faces.h"
#include "apps/mesh/mesh_stream.h"
#include "apps/mesh/obj_reader.h"
#include "apps/mesh/plain_glb.h"
#include "apps/mesh/plain_ply.h"
#include "apps/mesh/scene_reader.h"

namespace pelorin {
namespace mesh {
namespace {

bool StartsWith(const std::string& bytes, const char* mark) {
  return bytes.rfind(mark, 0) == 0;
}

bool Read(const std::string& bytes, const std::string& path, MeshFormat format,
          geometry3d::Shape* shape, std::string* error, std::vector<std::string>* warnings) {
  switch (format) {
  case MeshFormat::kObj:
    return ReadObj(bytes, path.substr(0, path.rfind('/') + 1), shape, error, warnings);
  case MeshFormat::kPly:
  case MeshFormat::kGlb: {
    std::string plain;
    const auto make_plain = format == MeshFormat::kPly ? MakePlainPly : MakePlainGlb;
    return make_plain(bytes, &plain, error) && ReadScene(plain, NameOfFormat(format), shape, error);
  }
  case MeshFormat::kStream:
    return DecodeMesh(bytes, shape, nullptr, error);
  case MeshFormat::kUnknown:
    break;
  }
  *error = "its format is unknown";
  return false;
}

}  // namespace

MeshFormat FormatOfName(const std::string& name) {
  for (const MeshFormat format :
       {MeshFormat::kObj, MeshFormat::kPly, MeshFormat::kGlb, MeshFormat::kStream}) {
    if (name == NameOfFormat(format)) {
      return format;
    }
  }
  return MeshFormat::kUnknown;
}

MeshFormat FormatOfPath(const std::string& path) {
  const std::string file = path.substr(path.rfind('/') + 1);
  const std::size_t dot = file.rfind('.');
  std::string ending = dot == std::string::npos ? "" : file.substr(dot + 1);
  std::transform(ending.begin(), ending.end(), ending.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return FormatOfName(ending);
}

MeshFormat FormatOfBytes(const std::string& bytes) {
  if (StartsWith(bytes, "SE")) {
    return MeshFormat::kStream;
  }
  if (StartsWith(bytes, "glTF")) {
    return MeshFormat::kGlb;
  }
  return StartsWith(bytes, "ply\n") || StartsWith(bytes, "ply\r") ? MeshFormat::kPly
                                                                  : MeshFormat::kUnknown;
}

std::string NameOfFormat(MeshFormat format) {
  switch (format) {
  case MeshFormat::kObj:
    return "obj";
  case MeshFormat::kPly:
    return "ply";
  case MeshFormat::kGlb:
    return "glb";
  case MeshFormat::kStream:
    return "shape";
  case MeshFormat::kUnknown:
    break;
  }
  return "";
}

bool ReadMeshFile(const std::string& bytes, const std::string& path, MeshFormat format,
                  geometry3d::Shape* shape, std::string* error,
                  std::vector<std::string>* warnings) {
  if (!Read(bytes, path, format, shape, error, warnings)) {
    return false;
  }
  if (!IsFinite(*shape)) {
    *error = "a number in it is none";
    return false;
  }
  if (CountTriangles(*shape) + CountLines(*shape) == 0) {
    *error = "there is no face in it";
    return false;
  }
  return shape->Validate(error);
}

std::string MaterialName(std::size_t position) {
  return "material-" + std::to_string(position);
}

std::size_t CountTriangles(const geometry3d::Shape& shape) {
  std::size_t count = 0;
  for (const geometry3d::IndexSet* set : shape.index_sets()) {
    ForEachTriangle(*set, [&count](int, int, int) { ++count; });
  }
  return count;
}

std::size_t CountLines(const geometry3d::Shape& shape) {
  std::size_t count = 0;
  for (const geometry3d::IndexSet* set : shape.index_sets()) {
    if (set->format() == geometry3d::IndexSet::kLines) {
      count += set->point_indices().size() / 2;
    }
  }
  return count;
}

}  // namespace mesh
}  // namespace pelorin
