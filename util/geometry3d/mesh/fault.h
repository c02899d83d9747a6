// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "base/logging.h"

namespace geometry3d {
namespace mesh_internal {

/// The one fault of a validation: writes its sentence and is false.
class Fault {
 public:
  /// Fatal check "error_msg". Without a place for the sentence only the answer is given.
  explicit Fault(std::string* error_msg) : error_msg_(error_msg) { PELORIN_CHECK(error_msg); }

  bool operator()(const char* sentence) const {
    if (error_msg_ != nullptr) {
      *error_msg_ = sentence;
    }
    return false;
  }

 private:
  std::string* error_msg_;
};

}  // namespace mesh_internal
}  // namespace geometry3d
