// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "apps/mesh/mesh_error.h"
#include "util/geometry3d/mesh/shape.h"
#include "vortan/diorama/shape_encoder_stats.h"

namespace pelorin {
namespace mesh {

/// The version of a stream and its precisions, in bits. A step of version 3 is 1 / 2^bits, of
/// versions 1 and 2 it is 1 / (2^bits - 1).
struct StreamSettings {
  int version = 3;     ///< 1 to 3.
  int point_bits = 8;  ///< -32 to 31 in version 3, 0 to 31 in the others; so are those below.
  int normal_bits = 8;
  int tex_coord_bits = 8;
};

/// A stream and what is known of it.
struct CodedMesh {
  std::string bytes;
  StreamSettings settings;
  vortan::ShapeEncoderStats stats;
  geometry3d::Shape decoded;  ///< What a reader of the stream gets,
  MeshError error;            ///< and how far that lies from the source.
};

/// Encodes a valid `shape` and decodes it again. False with a reason in `*error` where the format
/// cannot hold it, also where it would come back by more than half a step away, as coordinates do
/// that are too large for the precision; `*coded` is then of no use.
bool EncodeMesh(const geometry3d::Shape& shape, const StreamSettings& settings, CodedMesh* coded,
                std::string* error);

/// The same with the fewest bits for points that keep every point within `max_error`, above 0, of
/// where it was.
bool EncodeWithin(const geometry3d::Shape& shape, StreamSettings settings, double max_error,
                  CodedMesh* coded, std::string* error);

/// Decodes a whole, sound stream into an empty shape: one that is cut, whose indices lead nowhere,
/// whose numbers are none, or that wants far more memory than it should is refused. False with a
/// reason in `*error`; `*shape` is then of no use. `settings` may be null; of a pool without
/// entries its precision says nothing.
bool DecodeMesh(const std::string& bytes, geometry3d::Shape* shape, StreamSettings* settings,
                std::string* error);

/// Whether every number of the shape is one.
bool IsFinite(const geometry3d::Shape& shape);

}  // namespace mesh
}  // namespace pelorin
