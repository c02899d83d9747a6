// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "host/export.h"
#include "host/loculus/schema.h"
#include "host/loculus/schema_object.h"
#include "host/values.h"

namespace nimbara {
namespace loculus {

/// Fields of every style with a colour.
struct PELORIN_HOST_EXPORT ColorStyleSchema : Schema {
  ColorStyleSchema();
  TypedField<Color32> color;

 protected:
  ColorStyleSchema(const char* class_name, const Schema* base, Factory factory);
};

/// A style with a colour.
class PELORIN_HOST_EXPORT ColorStyle : public SchemaObject {
 public:
  static const ColorStyleSchema& GetSchema();

  /// Opaque white by default. A colour of 0 is wholly transparent: nothing shows.
  Color32 color() const { return color_; }
  void setColor(const Color32& color);

 protected:
  ColorStyle(const Schema& schema, const KmlId& id, const QString& source_url);

 private:
  friend struct ColorStyleSchema;
  Color32 color_;
};

}  // namespace loculus
}  // namespace nimbara
