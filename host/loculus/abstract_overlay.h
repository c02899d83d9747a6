// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "host/export.h"
#include "host/loculus/abstract_feature.h"
#include "host/loculus/icon.h"
#include "host/loculus/schema.h"
#include "host/values.h"

namespace nimbara {
namespace loculus {

/// Fields of every overlay.
struct PELORIN_HOST_EXPORT AbstractOverlaySchema : AbstractFeatureSchema {
  AbstractOverlaySchema();
  TypedField<Color32> color;
  TypedField<std::int32_t> draw_order;
  ObjectField<Icon> icon;

 protected:
  AbstractOverlaySchema(const char* class_name, const Schema* base, Factory factory);
};

/// An image over a scene.
class PELORIN_HOST_EXPORT AbstractOverlay : public AbstractFeature {
 public:
  static const AbstractOverlaySchema& GetSchema();

  Color32 color() const { return color_; }
  void SetColor(const Color32& color);
  /// Higher ones are drawn over lower ones.
  std::int32_t draw_order() const { return draw_order_; }
  void SetDrawOrder(std::int32_t draw_order);
  /// The image; null until it is set.
  Icon* icon() const { return icon_.get(); }
  void SetIcon(Icon* icon);

 protected:
  AbstractOverlay(const Schema& schema, const KmlId& id, const QString& source_url);

 private:
  friend struct AbstractOverlaySchema;
  Color32 color_;
  std::int32_t draw_order_ = 0;
  RefPtr<Icon> icon_;
};

}  // namespace loculus
}  // namespace nimbara
