// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "apps/command/outcome.h"
#include "apps/service/panorama_service.h"

namespace pelorin {
namespace command {

/// What to tell of `failure`: itself, unless the service that this process runs (null: none) could
/// not read its dataset. Then that is what went wrong, and a data error names the file.
inline Outcome FailureOf(const PanoramaService* service, Outcome failure) {
  const std::string fault = service == nullptr ? "" : service->last_data_error();
  return fault.empty() ? failure : Outcome::Fail(ExitCode::kDataError, fault);
}

}  // namespace command
}  // namespace pelorin
