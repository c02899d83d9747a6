// SPDX-License-Identifier: Apache-2.0
#include "host/loculus/abstract_overlay.h"

namespace nimbara {
namespace loculus {

AbstractOverlaySchema::AbstractOverlaySchema()
    : AbstractOverlaySchema("AbstractOverlay", &AbstractFeature::GetSchema(), nullptr) {}

AbstractOverlaySchema::AbstractOverlaySchema(const char* class_name, const Schema* base,
                                             Factory factory)
    : AbstractFeatureSchema(class_name, base, factory),
      color(this, "color", &AbstractOverlay::color_),
      draw_order(this, "drawOrder", &AbstractOverlay::draw_order_),
      icon(this, "Icon", &AbstractOverlay::icon_) {}

const AbstractOverlaySchema& AbstractOverlay::GetSchema() {
  static const auto* const schema = new (HeapManager::GetStaticHeap()) AbstractOverlaySchema();
  return *schema;
}

AbstractOverlay::AbstractOverlay(const Schema& schema, const KmlId& id, const QString& source_url)
    : AbstractFeature(schema, id, source_url) {}

void AbstractOverlay::SetColor(const Color32& color) {
  GetSchema().color.CheckSet(this, color, Field::s_dummy_fields_specified);
}

void AbstractOverlay::SetDrawOrder(std::int32_t draw_order) {
  GetSchema().draw_order.CheckSet(this, draw_order, Field::s_dummy_fields_specified);
}

void AbstractOverlay::SetIcon(Icon* icon) {
  GetSchema().icon.CheckSet(this, icon, Field::s_dummy_fields_specified);
}

}  // namespace loculus
}  // namespace nimbara
