// SPDX-License-Identifier: Apache-2.0
#include "host/loculus/folder.h"

namespace nimbara {
namespace loculus {

FolderSchema::FolderSchema()
    : ContainerSchema("Folder", &Container::GetSchema(), &CreateObject<Folder>) {}

const FolderSchema& Folder::GetSchema() {
  static const auto* const schema = new (HeapManager::GetStaticHeap()) FolderSchema();
  return *schema;
}

Folder::Folder(const KmlId& id, const QString& source_url)
    : Container(GetSchema(), id, source_url) {}

}  // namespace loculus
}  // namespace nimbara
