// SPDX-License-Identifier: Apache-2.0
#include "util/geometry3d/mesh/material.h"

#include "util/geometry3d/mesh/fault.h"

namespace geometry3d {

void Material::CopyFrom(const Material& other) {
  ambient_color_ = other.ambient_color_;
  diffuse_color_ = other.diffuse_color_;
  specular_color_ = other.specular_color_;
  emissive_color_ = other.emissive_color_;
  transparent_color_ = other.transparent_color_;
  shininess_ = other.shininess_;
  transparency_ = other.transparency_;
  texture_uri_ = other.texture_uri_;
  double_sided_ = other.double_sided_;
}

bool Material::IsEqual(const Material& other) const {
  return ambient_color_ == other.ambient_color_ && diffuse_color_ == other.diffuse_color_ &&
         specular_color_ == other.specular_color_ && emissive_color_ == other.emissive_color_ &&
         transparent_color_ == other.transparent_color_ && shininess_ == other.shininess_ &&
         transparency_ == other.transparency_ && texture_uri_ == other.texture_uri_ &&
         double_sided_ == other.double_sided_;
}

bool Material::Validate(std::string* error_msg) const {
  const mesh_internal::Fault fault(error_msg);
  return shape_ != nullptr || fault("Invalid Material, has no shape");
}

}  // namespace geometry3d
