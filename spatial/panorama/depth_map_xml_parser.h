// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>

#include "base/export.h"
#include "host/depth_map.h"
#include "host/memory.h"
#include "spatial/panorama/annotation.h"

namespace nimbara {
namespace spatial {

/// Unpacks the depth map that travels inside the service's XML: Base64 text of a zlib stream of
///
/// ```
///   0          uint8     8
///   1          uint16    plane count P, 1 to 256
///   3          uint16    width W, not 0
///   5          uint16    height H, not 0
///   7          uint8     8
///   8          uint8     plane of each of the W * H cells, row after row from the top
///   8 + W * H  4 float   of each of the P planes: normal x, y, z and distance
/// ```
///
/// with all numbers little-endian. Any fault gives null and leaves nothing behind; damaged bytes
/// that keep the form give a map with other values: cells that name no plane, planes of any
/// numbers.
///
/// No state: a temporary object serves, on any thread. The caller owns what is returned, made on
/// the dynamic heap, and ends it with `delete`.
class PELORIN_EXPORT DepthMapXMLParser {
 public:
  /// The most that a stream may inflate to: header, 524,288 cells and 256 planes.
  static constexpr int kInflatedSize = 528392;

  /// The map of a whole answer with the root `panorama`. Null if the answer is not well-formed or
  /// holds no "panorama/model/depth_map".
  static DepthMap* ParseDepthMap(const QByteArray& xml);

  /// The map of the Base64 text. Null if the text is empty or its bytes are not one whole zlib
  /// stream of up to `kInflatedSize` bytes. A stream that ends before all its header promises is
  /// read as if zeros followed, up to `kInflatedSize`.
  static DepthMap* ReadCompressedDepthMapData(const QByteArray& text);

  /// The map of the inflated bytes. Null if the header is wrong or promises more than there is.
  /// Normals are turned round and brought to length 1, the distance with them; a normal whose
  /// length is nearly 0 stays as it is.
  static DepthMap* ReadDepthMapData(const QByteArray& bytes);

  /// The labels of a whole answer with the root `panorama`, in document order; every element behind
  /// the first `annotation` counts as one. An empty list, over the default heap, if there are none
  /// or the answer is not well-formed.
  static mmvector<Annotation> ParseAnnotations(const QByteArray& xml);
};

}  // namespace spatial
}  // namespace nimbara
