// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "base/export.h"
#include "util/geometry3d/mesh/building_z.h"
#include "util/geometry3d/mesh/vector.h"
#include "vortan/diorama/binary_coder.h"

namespace vortan {

/// Where the bytes of a building stream went. A list is charged from its count on; the header and
/// the heights are in `total_bytes` alone.
struct PELORIN_EXPORT BuildingZEncoderStats {
  int total_bytes = 0;  ///< The size of the buffer when it was last looked at.
  int point_bytes = 0;  ///< Of all point lists; the next two likewise.
  int contour_bytes = 0;
  int triangle_bytes = 0;
  int point_count = 0;  ///< Of all polygons; the next two likewise.
  int contour_count = 0;
  int triangle_index_count = 0;

  /// The seven numbers in this order with a blank between them.
  std::string AsString() const;
};

/// Writes a building into a stream of bits. Coordinates and heights are rounded to whole multiples
/// of 2^-point_bits, halves to even; triangle indices and contour sizes are kept exactly.
/// docs/formats/building-stream.md draws the stream.
///
///     BuildingZEncoder encoder;
///     encoder.set_point_bits(7);  // Centimetres, if lengths are in metres.
///     if (!encoder.EncodeBuildingZ(building)) return false;
///     std::string stream(encoder.buffer(), static_cast<std::size_t>(encoder.buffer_size()));
///
/// What fits: quantised minima below 2^30 and ranges below 2^31. Heights and minima outside -2^30
/// to 2^30 - 1 are not told of where that is not a failure, and do not read back; the same goes for
/// coordinates that are no numbers or beyond 2^31 when quantised. An encoder writes one stream and
/// belongs to one thread.
class PELORIN_EXPORT BuildingZEncoder : public BinaryEncoder {
 public:
  /// The first two bytes, "ZB".
  static constexpr int kMagicSignature = 16986;
  static constexpr int kCodecVersion = 1;

  /// False, with a stream that is written up to there and of no use, where a number does not fit:
  /// `point_bits` outside -32 to 31, a list of more than 2^30 - 1 elements, points out of range, a
  /// negative contour size or index, or a null polygon.
  bool EncodeBuildingZ(const geometry3d::BuildingZ& building);

  /// Bits behind the binary point, -32 to 31; 8 at first. -3 rounds to multiples of 8.
  void set_point_bits(int point_bits) { point_bits_ = point_bits; }
  int point_bits() const { return point_bits_; }
  /// 2^point_bits. Fatal check "factor>0".
  double point_factor() const;

  const BuildingZEncoderStats& stats() const { return stats_; }
  /// Charges the bytes since the last registration to `*stat`, a counter of `stats()`. Fatal check
  /// "stat"; for null they are charged to nothing.
  void RegisterStat(int* stat);

 protected:
  void WriteHeader(int version);
  bool EncodeQuantization();
  bool EncodePolygonZ(const geometry3d::PolygonZ& polygon);
  bool EncodePoints(const std::vector<geometry3d::Vector2<double>>& points);
  bool EncodeContourSizes(const std::vector<int>& sizes);
  bool EncodeTriangleIndices(const std::vector<int>& indices);

 private:
  int point_bits_ = 8;
  BuildingZEncoderStats stats_;
};

/// Reads what `BuildingZEncoder` writes; the bytes come by `Init` and must outlive it.
///
///     BuildingZDecoder decoder;
///     decoder.Init(stream.data(), static_cast<int>(stream.size()));
///     decoder.mutable_budget()->set_bytes(std::size_t{1} << 30);  // A stream of strangers.
///     BuildingZ building;
///     if (!decoder.DecodeBuildingZ(&building)) return false;
///
/// No bytes do harm, but few are refused: damage is noticed in magic and version only. Behind the
/// end of a stream all is read as zeros, so a shortened one gives fewer or emptier polygons and
/// true. Contour sizes and triangle indices may not fit the points (`BuildingZShape` refuses the
/// former, `Shape::Validate` finds the latter in the mesh). Counts are allocated as they are read,
/// unless the budget forbids it: a count of 2^31 or more throws `std::length_error`, one that
/// memory or budget do not hold `std::bad_alloc`, and polygons read so far stay in the building.
///
/// A decoder reads one stream and belongs to one thread.
class PELORIN_EXPORT BuildingZDecoder : public BinaryDecoder {
 public:
  /// Adds the polygons of the stream to `*building`, which should be empty. False for another magic
  /// or version. Fatal check "building"; false for null.
  bool DecodeBuildingZ(geometry3d::BuildingZ* building);

  /// As read from the stream, -32 to 31; 8 before that.
  int point_bits() const { return point_bits_; }
  /// 2^point_bits. Fatal check "factor>0".
  double point_factor() const;

 protected:
  /// The version, or -1 for another magic.
  int ReadHeader();
  bool DecodeQuantization();
  bool DecodePolygonZ(geometry3d::PolygonZ* polygon);
  bool DecodePoints(std::vector<geometry3d::Vector2<double>>* points);
  bool DecodeContourSizes(std::vector<int>* contour_sizes);
  bool DecodeTriangleIndices(std::vector<int>* triangle_indices);

 private:
  int point_bits_ = 8;
};

}  // namespace vortan
