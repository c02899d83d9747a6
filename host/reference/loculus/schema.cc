// SPDX-License-Identifier: Apache-2.0
#include "host/loculus/schema.h"

#include <cstring>

namespace nimbara {
namespace loculus {

Schema::Schema(const char* class_name, const Schema* base, Factory factory)
    : class_name_(class_name), base_(base), factory_(factory),
      fields_(HeapManager::GetStaticHeap()) {}

Schema::~Schema() = default;

bool Schema::IsOfType(const Schema& other) const {
  const Schema* schema = this;
  while (schema != nullptr && schema != &other) {
    schema = schema->base_;
  }
  return schema != nullptr;
}

const Field* Schema::GetField(int index) const {
  return index >= 0 && index < GetFieldCount() ? fields_[static_cast<std::size_t>(index)] : nullptr;
}

const Field* Schema::FindField(const char* name) const {
  for (const Field* field : fields_) {
    if (std::strcmp(field->name(), name) == 0) {
      return field;
    }
  }
  return nullptr;
}

SchemaObject* Schema::Create(const KmlId& id, const QString& source_url,
                             MemoryManager* heap) const {
  return factory_ == nullptr ? nullptr : factory_(id, source_url, heap);
}

}  // namespace loculus
}  // namespace nimbara
