// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "host/export.h"
#include "host/loculus/color_style.h"
#include "host/loculus/schema.h"
#include "host/values.h"

namespace nimbara {
namespace loculus {

/// Fields of a line style.
struct PELORIN_HOST_EXPORT LineStyleSchema : ColorStyleSchema {
  LineStyleSchema();
  TypedField<float> width;
  TypedField<Color32> outer_color;
  TypedField<float> outer_width;
};

/// How a line is drawn: a core in the colour of the style, and edges on both sides of it.
class PELORIN_HOST_EXPORT LineStyle final : public ColorStyle {
 public:
  static const LineStyleSchema& GetSchema();

  LineStyle(const KmlId& id, const QString& source_url);
  /// Of the whole line, in pixels, 0 or more.
  float width() const { return width_; }
  void SetWidth(float width);
  /// Of the edges. Not in KML.
  Color32 outer_color() const { return outer_color_; }
  void SetOuterColor(const Color32& outer_color);
  /// The part of the width that the edges take, 0 to 1. Not in KML.
  float outer_width() const { return outer_width_; }
  void SetOuterWidth(float outer_width);

 private:
  friend struct LineStyleSchema;
  float width_ = 1.0f;
  Color32 outer_color_;
  float outer_width_ = 0.0f;
};

}  // namespace loculus
}  // namespace nimbara
