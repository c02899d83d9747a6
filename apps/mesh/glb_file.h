// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <string_view>

namespace pelorin {
namespace mesh {

/// Why a GLB file cannot be read.
class GlbFault : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The two parts of a GLB file.
struct GlbFile {
  nlohmann::json document;  ///< An object.
  std::string_view data;    ///< Inside the bytes that were read; empty where the file has none.
};

/// Takes a binary glTF 2.0 apart. `bytes` is not copied and outlives the result. Throws `GlbFault`
/// for lengths that lead out of the file, and for a document that is no JSON object, is larger than
/// 64 MiB or nests its values more than 64 deep, which readers that call themselves would not
/// survive.
GlbFile ParseGlb(std::string_view bytes);

/// The bytes of a GLB file.
std::string GlbBytes(const nlohmann::json& document, std::string_view data);

}  // namespace mesh
}  // namespace pelorin
