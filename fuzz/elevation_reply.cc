// SPDX-License-Identifier: Apache-2.0
// A reply of the elevation service: a byte with the number of points ahead of it, one with the
// number of points asked for, and the body.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "spatial/geodesy/elevation_reply.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace nimbara;
  if (size < 2) {
    return 0;
  }
  const std::size_t offset = data[0];
  const std::size_t points = data[1];
  const QByteArray body =
      QByteArray::fromRawData(reinterpret_cast<const char*>(data + 2), static_cast<int>(size - 2));
  mmvector<float> heights(offset + points, 0.0f, HeapManager::GetTransientHeap());
  int read = -1;
  spatial::ReadElevationReply(body, offset, &heights, &read);
  if (read < 0 || static_cast<std::size_t>(read) > points) {
    std::abort();
  }
  return 0;
}
