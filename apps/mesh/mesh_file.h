// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "util/geometry3d/mesh/shape.h"

namespace pelorin {
namespace mesh {

/// The formats of mesh files.
enum class MeshFormat { kUnknown, kObj, kPly, kGlb, kStream };

/// The format that a name stands for: "obj", "ply", "glb", or "shape" for a shape stream.
MeshFormat FormatOfName(const std::string& name);
/// The format of a file called `path`, by its ending in small or capital letters.
MeshFormat FormatOfPath(const std::string& path);
/// The format of the bytes themselves; unknown for OBJ, which has no mark.
MeshFormat FormatOfBytes(const std::string& bytes);
/// Its name, as above; empty for none.
std::string NameOfFormat(MeshFormat format);

/// Reads the bytes of a mesh file that stood at `path` (for the material libraries beside it) into
/// an empty shape, which is then valid, finite and has at least one face or line. False with a
/// reason in `*error`; `*shape` is then of no use. What is missing without harm, such as a material
/// library, is appended to `*warnings`, which may be null.
bool ReadMeshFile(const std::string& bytes, const std::string& path, MeshFormat format,
                  geometry3d::Shape* shape, std::string* error,
                  std::vector<std::string>* warnings = nullptr);

/// What a material is called in files; in a shape it has a position and no name.
std::string MaterialName(std::size_t position);

/// Triangles and lines of a shape.
std::size_t CountTriangles(const geometry3d::Shape& shape);
std::size_t CountLines(const geometry3d::Shape& shape);

}  // namespace mesh
}  // namespace pelorin
