// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "apps/dataset/dataset.h"

namespace pelorin {

/// What a look at real answers found. "ok", "none" where the dataset holds nothing of the kind, or
/// what is wrong.
struct DeepHealth {
  std::string panoramas;
  std::string heights;

  bool well() const;
};

/// Reads a panorama with its maps from the middle of the dataset, and the height in the middle of
/// every grid. Safe from any thread.
DeepHealth LookDeeply(const Dataset& dataset);

}  // namespace pelorin
