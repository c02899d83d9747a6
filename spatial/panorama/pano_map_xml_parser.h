// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>

#include "base/export.h"
#include "spatial/panorama/pano_map.h"

namespace nimbara {
namespace spatial {

/// Unpacks the pano map that travels inside the service's XML: Base64 text of a zlib stream of
///
/// ```
///   0                         uint8     8
///   1                         uint16    entry count N, 1 to 256
///   3                         uint16    width W, not 0
///   5                         uint16    height H, not 0
///   7                         uint8     8
///   8                         uint8     entry of each of the W * H cells, row after row from the
///   top 8 + W * H                 22 chars  of each of the entries 1 to N - 1: the panorama's id
///   8 + W * H + 22 * (N - 1)  2 float   of each of the entries 1 to N - 1: the position
/// ```
///
/// with all numbers little-endian and ids in Latin-1, of exactly 22 characters, NUL included. Entry
/// 0 is not in the payload. Any fault gives null and leaves nothing behind; damaged bytes that keep
/// the form give a map with other values.
///
/// No state: a temporary object serves, on any thread. The caller owns what is returned, made on
/// the dynamic heap, and ends it with `delete`.
class PELORIN_EXPORT PanoMapXMLParser {
 public:
  /// The most that a stream may inflate to.
  static constexpr int kInflatedSize = 140800;

  /// The map of a whole answer with the root `panorama`. Null if the answer is not well-formed or
  /// holds no "panorama/model/pano_map".
  static PanoMap* ParsePanoMap(const QByteArray& xml);

  /// The map of the Base64 text. Null if the text is empty or its bytes are not one whole zlib
  /// stream of up to `kInflatedSize` bytes. A stream that ends before all its header promises is
  /// read as if zeros followed, up to `kInflatedSize`.
  static PanoMap* ReadCompressedPanoMapData(const QByteArray& text);

  /// The map of the inflated bytes. Null if the header is wrong or promises more than there is.
  static PanoMap* ReadPanoMapData(const QByteArray& bytes);
};

}  // namespace spatial
}  // namespace nimbara
