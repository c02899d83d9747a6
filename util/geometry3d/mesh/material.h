// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "base/export.h"
#include "util/geometry3d/mesh/vector.h"

namespace geometry3d {

class Shape;

/// How the surface of an index set looks. Colours are red, green and blue, each 0 to 1 for the
/// coders; nothing is checked or cut here. A material is made by its shape, which owns it; one that
/// stands alone (a local that is copied into a shape later) has no shape. Plain data: one thread
/// may change it, or any number read it.
class PELORIN_EXPORT Material {
 public:
  Material() = default;
  Material(const Material&) = delete;
  Material& operator=(const Material&) = delete;

  /// Takes over everything but the shape.
  void CopyFrom(const Material& other);
  /// Whether everything but the shape compares equal; a NaN is unequal, also to itself.
  bool IsEqual(const Material& other) const;
  /// Whether it has a shape; otherwise the reason stands in `*error_msg`, which is untouched on
  /// success. Fatal check "error_msg"; without one the answer comes alone.
  bool Validate(std::string* error_msg) const;

  /// The shape that holds it, or null. Not owned.
  Shape* shape() const { return shape_; }
  void set_shape(Shape* shape) { shape_ = shape; }

  const Vector3<float>& ambient_color() const { return ambient_color_; }
  const Vector3<float>& diffuse_color() const { return diffuse_color_; }
  const Vector3<float>& specular_color() const { return specular_color_; }
  const Vector3<float>& emissive_color() const { return emissive_color_; }
  const Vector3<float>& transparent_color() const { return transparent_color_; }
  void set_ambient_color(const Vector3<float>& color) { ambient_color_ = color; }
  void set_diffuse_color(const Vector3<float>& color) { diffuse_color_ = color; }
  void set_specular_color(const Vector3<float>& color) { specular_color_ = color; }
  void set_emissive_color(const Vector3<float>& color) { emissive_color_ = color; }
  void set_transparent_color(const Vector3<float>& color) { transparent_color_ = color; }

  /// The exponent of the highlight, 0 to 128 for the coders.
  float shininess() const { return shininess_; }
  void set_shininess(float shininess) { shininess_ = shininess; }
  /// From 0, opaque, to 1.
  float transparency() const { return transparency_; }
  void set_transparency(float transparency) { transparency_ = transparency; }
  /// Where the texture's image is; empty without a texture.
  const std::string& texture_uri() const { return texture_uri_; }
  void set_texture_uri(const std::string& texture_uri) { texture_uri_ = texture_uri; }
  /// Whether both faces of a triangle are drawn.
  bool double_sided() const { return double_sided_; }
  void set_double_sided(bool double_sided) { double_sided_ = double_sided; }

 private:
  Shape* shape_ = nullptr;
  Vector3<float> ambient_color_;
  Vector3<float> diffuse_color_;
  Vector3<float> specular_color_;
  Vector3<float> emissive_color_;
  Vector3<float> transparent_color_;
  float shininess_ = 0;
  float transparency_ = 0;
  std::string texture_uri_;
  bool double_sided_ = false;
};

}  // namespace geometry3d
