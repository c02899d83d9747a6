// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <vector>

#include "host/export.h"
#include "host/memory.h"
#include "host/referent.h"
#include "host/values.h"

namespace nimbara {
namespace loculus {

class Schema;

/// Base of all KML objects: counted, with a schema and typed fields, and with the set of objects
/// that own it.
///
/// Objects are held by `RefPtr`; who holds one in a field, a list or by `AddOwner` is also among
/// its owners, which is a note and keeps nothing alive. An object that dies leaves the sets of both
/// sides. All objects of one tree belong to one thread at a time.
///
/// Every creation is announced through `CreationObserver`.
class PELORIN_HOST_EXPORT SchemaObject : public Referent {
 public:
  ~SchemaObject() override;

  /// The schema that all others derive from. It has no fields.
  static const Schema& GetSchema();

  /// The schema of the object's own class.
  const Schema& schema() const { return *schema_; }
  /// True if the object is of the class of `schema` or of one that derives from it.
  bool isOfType(const Schema& schema) const;

  const KmlId& id() const { return id_; }
  /// The URL of the document that the object came from; null for one made by a program.
  const QString& source_url() const { return source_url_; }

  /// A copy with equal fields; the objects below are cloned too. With `keep_ids` the copies keep
  /// the `KmlId` of their originals, otherwise they have empty ones, since ids are unique in a
  /// document. The copies stand on `heap`, null being the default heap. The copy has no owners.
  virtual RefPtr<SchemaObject> clone(bool keep_ids, MemoryManager* heap) const;

  /// In the order in which they came, each once. Not owned.
  const std::vector<SchemaObject*>& owners() const { return owners_; }
  /// An owner that is there already, null, the object itself, and an object that this one owns, are
  /// left alone.
  void AddOwner(SchemaObject* owner);
  /// Leaves the set as it is if `owner` is not in it.
  void RemoveOwner(SchemaObject* owner);
  /// True if `other` is this object, an owner, an owner of one, and so on.
  bool IsOwnedBy(const SchemaObject& other) const;

 protected:
  SchemaObject(const Schema& schema, const KmlId& id, const QString& source_url);

  /// For classes that hold more than fields: gives `copy`, which is of the same class, the rest.
  virtual void CloneContents(SchemaObject* copy, bool keep_ids, MemoryManager* heap) const;

 private:
  const Schema* const schema_;  // Not owned.
  const KmlId id_;
  const QString source_url_;
  std::vector<SchemaObject*> owners_;  // Not owned.
  std::vector<SchemaObject*> owned_;   // Not owned; those that have this among their owners.
};

/// `object` as a `T`, or null if it is null or no `T`.
template <typename T>
T* As(SchemaObject* object) {
  return object != nullptr && object->isOfType(T::GetSchema()) ? static_cast<T*>(object) : nullptr;
}
template <typename T>
const T* As(const SchemaObject* object) {
  return object != nullptr && object->isOfType(T::GetSchema()) ? static_cast<const T*>(object)
                                                               : nullptr;
}

/// A typed `SchemaObject::clone`; null gives null.
template <typename T>
RefPtr<T> Clone(const T* source, bool keep_ids, MemoryManager* heap) {
  if (source == nullptr) {
    return nullptr;
  }
  const RefPtr<SchemaObject> copy = source->clone(keep_ids, heap);
  return static_cast<T*>(copy.get());
}

}  // namespace loculus
}  // namespace nimbara
