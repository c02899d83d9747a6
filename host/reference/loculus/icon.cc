// SPDX-License-Identifier: Apache-2.0
#include "host/loculus/icon.h"

#include "host/text.h"

namespace nimbara {
namespace loculus {

IconSchema::IconSchema()
    : AbstractLinkSchema("Icon", &AbstractLink::GetSchema(), &CreateObject<Icon>) {}

const IconSchema& Icon::GetSchema() {
  static const auto* const schema = new (HeapManager::GetStaticHeap()) IconSchema();
  return *schema;
}

Icon::Icon(const KmlId& id, const QString& source_url)
    : AbstractLink(GetSchema(), id, source_url) {}

RefPtr<Icon> Icon::create(const QString& url) {
  RefPtr<Icon> icon(new Icon(KmlId(), QStringNull()));
  icon->SetHref(url);
  return icon;
}

RefPtr<Icon> Icon::CreateEmptyIcon() {
  return create(QStringNull());
}

}  // namespace loculus
}  // namespace nimbara
