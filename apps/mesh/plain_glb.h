// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace pelorin {
namespace mesh {

/// Rewrites a GLB file with what a mesh is made of and nothing else: nodes, faces and lines with
/// positions, normals and the first texture coordinates, materials, and the names of textures, each
/// number checked against all that it leads to. The reader behind it believes what it is told: by
/// itself it would read past the end of its data, go round in circles of nodes, open files that a
/// document names, or fill the memory from a few bytes.
///
/// Refused are, beside damage: data outside the file, sparse data, extensions that change the
/// geometry, positions, normals and texture coordinates that are no floats, nodes more than 256
/// deep, and meshes that repeat their data, or nodes that repeat meshes, to more than 2^25 vertices
/// or 2^27 corners. False with a reason in
/// `*error`; `*plain` is then as before.
bool MakePlainGlb(const std::string& bytes, std::string* plain, std::string* error);

}  // namespace mesh
}  // namespace pelorin
