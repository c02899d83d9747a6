// SPDX-License-Identifier: Apache-2.0
#include "host/loculus/schema_object.h"

#include <algorithm>

#include "host/loculus/schema.h"
#include "host/reference/loculus/creation_announcer.h"

namespace nimbara {
namespace loculus {
namespace {

struct RootSchema final : Schema {
  RootSchema() : Schema("Object", nullptr, nullptr) {}
};

void Erase(std::vector<SchemaObject*>* list, const SchemaObject* object) {
  list->erase(std::remove(list->begin(), list->end(), object), list->end());
}

}  // namespace

const Schema& SchemaObject::GetSchema() {
  static const auto* const schema = new (HeapManager::GetStaticHeap()) RootSchema();
  return *schema;
}

SchemaObject::SchemaObject(const Schema& schema, const KmlId& id, const QString& source_url)
    : schema_(&schema), id_(id), source_url_(source_url) {
  NoteCreation(this);
}

SchemaObject::~SchemaObject() {
  NoteDestruction(this);
  for (SchemaObject* owner : owners_) {
    Erase(&owner->owned_, this);
  }
  for (SchemaObject* owned : owned_) {
    Erase(&owned->owners_, this);
  }
}

bool SchemaObject::isOfType(const Schema& schema) const {
  return schema_->IsOfType(schema);
}

RefPtr<SchemaObject> SchemaObject::clone(bool keep_ids, MemoryManager* heap) const {
  const RefPtr<SchemaObject> copy(schema_->Create(keep_ids ? id_ : KmlId(), source_url_, heap));
  for (int i = 0; i < schema_->GetFieldCount(); ++i) {
    schema_->GetField(i)->Copy(*this, copy.get(), keep_ids, heap);
  }
  CloneContents(copy.get(), keep_ids, heap);
  return copy;
}

void SchemaObject::CloneContents(SchemaObject*, bool, MemoryManager*) const {}

void SchemaObject::AddOwner(SchemaObject* owner) {
  if (owner == nullptr || owner->IsOwnedBy(*this) ||
      std::find(owners_.begin(), owners_.end(), owner) != owners_.end()) {
    return;
  }
  owners_.push_back(owner);
  owner->owned_.push_back(this);
}

void SchemaObject::RemoveOwner(SchemaObject* owner) {
  if (std::find(owners_.begin(), owners_.end(), owner) == owners_.end()) {
    return;
  }
  Erase(&owners_, owner);
  Erase(&owner->owned_, this);
}

bool SchemaObject::IsOwnedBy(const SchemaObject& other) const {
  return this == &other ||
         std::any_of(owners_.begin(), owners_.end(),
                     [&other](const SchemaObject* owner) { return owner->IsOwnedBy(other); });
}

}  // namespace loculus
}  // namespace nimbara
