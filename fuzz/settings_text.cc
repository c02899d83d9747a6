// SPDX-License-Identifier: Apache-2.0
// Text that claims to hold settings: whatever it is, what was taken from it must be saved and read
// back without a problem.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "host/reference/settings_file.h"
#include "spatial/panorama/pelorin_spatial_options.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using nimbara::spatial::PelorinSpatialOptions;
  PelorinSpatialOptions options;
  nimbara::LoadSettings(QByteArray(reinterpret_cast<const char*>(data), static_cast<int>(size)),
                        &options);
  const QByteArray saved = nimbara::SaveSettings(options);
  PelorinSpatialOptions again;
  if (!nimbara::LoadSettings(saved, &again).empty() || nimbara::SaveSettings(again) != saved) {
    std::abort();
  }
  return 0;
}
