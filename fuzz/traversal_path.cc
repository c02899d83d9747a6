// SPDX-License-Identifier: Apache-2.0
// Text that claims to be a traversal path. One that reads names a cell that exists and, where the
// level can be written, writes the same text again; the level is always the length.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "vortan/common/internal/stratum_tools.h"

namespace {

void Expect(bool holds) {
  if (!holds) {
    std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string path(reinterpret_cast<const char*>(data), size);
  int level = -1;
  int row = -1;
  int column = -1;
  int stratum = -1;
  const bool read =
      vortan::TraversalPathToLevelRowColumnStratum(path, &level, &row, &column, &stratum);
  const bool is_path = size <= 31 && path.find_first_not_of("01234567") == std::string::npos;
  Expect(read == is_path);
  Expect(level == static_cast<int>(size));
  std::string written = "before";
  const bool wrote =
      vortan::LevelRowColumnStratumToTraversalPath(level, row, column, stratum, &written);
  if (read) {
    Expect(wrote == (level <= 30));
    Expect(written == (wrote ? path : "before"));
  }
  return 0;
}
