// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "host/export.h"
#include "host/loculus/icon_style.h"
#include "host/loculus/label_style.h"
#include "host/loculus/line_style.h"
#include "host/loculus/schema.h"
#include "host/loculus/schema_object.h"

namespace nimbara {
namespace loculus {

/// Fields of a style.
struct PELORIN_HOST_EXPORT StyleSchema : Schema {
  StyleSchema();
  ObjectField<IconStyle> icon_style;
  ObjectField<LabelStyle> label_style;
  ObjectField<LineStyle> line_style;
};

/// The styles of one feature.
class PELORIN_HOST_EXPORT Style final : public SchemaObject {
 public:
  static const StyleSchema& GetSchema();

  Style(const KmlId& id, const QString& source_url);
  IconStyle* icon_style() const { return icon_style_.get(); }
  LabelStyle* label_style() const { return label_style_.get(); }
  LineStyle* line_style() const { return line_style_.get(); }

  /// Each is made at the first call. Owned by the style.
  IconStyle* GetIconStyle();
  LabelStyle* GetLabelStyle();
  LineStyle* GetLineStyle();

 private:
  friend struct StyleSchema;
  RefPtr<IconStyle> icon_style_;
  RefPtr<LabelStyle> label_style_;
  RefPtr<LineStyle> line_style_;
};

}  // namespace loculus
}  // namespace nimbara
