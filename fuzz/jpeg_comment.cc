// SPDX-License-Identifier: Apache-2.0
// Any text as the comment of a tile. The reader must find what a plain twin finds, and the date in
// it must be one that can be written and read again.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "tests/vortan/common/internal/scanner_twin.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  if (!test_support::DifferenceFromTwin(text).empty()) {
    std::abort();
  }
  const std::unique_ptr<vortan::JpegCommentDate> date(
      vortan::JpegCommentAggregatedTileDateIn(text.c_str()));
  if (date != nullptr) {
    std::string written;
    date->AppendToString(&written);
    const vortan::JpegCommentDate again(written);
    if (written.size() != 10 || again.Key() != date->Key()) {
      std::abort();
    }
  }
  return 0;
}
