// SPDX-License-Identifier: Apache-2.0
#include "host/loculus/document.h"

namespace nimbara {
namespace loculus {

DocumentSchema::DocumentSchema()
    : ContainerSchema("Document", &Container::GetSchema(), &CreateObject<Document>) {}

const DocumentSchema& Document::GetSchema() {
  static const auto* const schema = new (HeapManager::GetStaticHeap()) DocumentSchema();
  return *schema;
}

Document::Document(const KmlId& id, const QString& source_url)
    : Container(GetSchema(), id, source_url) {}

}  // namespace loculus
}  // namespace nimbara
