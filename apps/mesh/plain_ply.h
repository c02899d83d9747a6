// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace pelorin {
namespace mesh {

/// Rewrites a PLY file, text or binary, with what a mesh is made of and nothing else: one element
/// of vertices, one of faces, one of materials, and comments, which may name a texture; in text
/// with one line for each. The reader behind it believes what it is told: by itself it would write
/// past the end of its lists, go on for hours over a count, or make another mesh of a blank line.
///
/// Refused are, beside damage: an element that is there twice, lists as coordinates, faces without
/// corners or with more texture coordinates than corners have, numbers with more than 19 digits in
/// front of the point, and strips of triangles, of which the reader would take one each. False with
/// a reason in `*error`; `*plain` is then as before.
bool MakePlainPly(const std::string& bytes, std::string* plain, std::string* error);

}  // namespace mesh
}  // namespace pelorin
