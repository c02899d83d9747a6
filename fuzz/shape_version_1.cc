// SPDX-License-Identifier: Apache-2.0
// Shape streams of versions 1 and 2: the lowest bit of the first byte picks the version, the others
// are what stands behind the header. The decoder must end as its field-by-field twin, with the same
// shape.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "tests/vortan/diorama/shape_twin_match.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) {
    return 0;
  }
  std::string stream{'S', 'E', static_cast<char>(1 + data[0] % 2), '\0'};
  stream.append(reinterpret_cast<const char*>(data) + 1, size - 1);
  if (!test_support::DecodesAsItsTwin(stream, 1 << 15)) {
    std::abort();
  }
  return 0;
}
