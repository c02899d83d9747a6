// SPDX-License-Identifier: Apache-2.0
#include "host/loculus/container.h"

namespace nimbara {
namespace loculus {

ContainerSchema::ContainerSchema()
    : ContainerSchema("Container", &AbstractFeature::GetSchema(), nullptr) {}

ContainerSchema::ContainerSchema(const char* class_name, const Schema* base, Factory factory)
    : AbstractFeatureSchema(class_name, base, factory) {}

const ContainerSchema& Container::GetSchema() {
  static const auto* const schema = new (HeapManager::GetStaticHeap()) ContainerSchema();
  return *schema;
}

Container::Container(const Schema& schema, const KmlId& id, const QString& source_url)
    : AbstractFeature(schema, id, source_url) {}

AbstractFeature* Container::GetFeature(int index) const {
  return index >= 0 && index < GetFeatureCount() ? features_[static_cast<std::size_t>(index)].get()
                                                 : nullptr;
}

bool Container::AddFeature(AbstractFeature* feature) {
  if (feature == nullptr || IsOwnedBy(*feature)) {
    return false;
  }
  features_.emplace_back(feature);
  feature->AddOwner(this);
  return true;
}

void Container::CloneContents(SchemaObject* copy, bool keep_ids, MemoryManager* heap) const {
  for (const RefPtr<AbstractFeature>& feature : features_) {
    static_cast<Container*>(copy)->AddFeature(Clone(feature.get(), keep_ids, heap).get());
  }
}

}  // namespace loculus
}  // namespace nimbara
