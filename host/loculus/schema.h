// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "host/export.h"
#include "host/loculus/field.h"
#include "host/memory.h"
#include "host/values.h"

namespace nimbara {
namespace loculus {

class SchemaObject;

/// What a class of KML objects is: its name, the class it derives from, and its fields. There is
/// one schema object for each class, made at its first use on the static heap, by whatever thread,
/// and never destroyed; afterwards it does not change. A class gives it out as
/// `Placemark::GetSchema()`, typed, so that each field can be named:
///
/// ```
/// LineString::GetSchema().tessellate.CheckSet(line, true, Field::s_dummy_fields_specified);
/// ```
class PELORIN_HOST_EXPORT Schema : public MemoryObject {
 public:
  /// Makes an empty object of the class on a heap (null: the default heap).
  using Factory = SchemaObject* (*)(const KmlId& id, const QString& source_url,
                                    MemoryManager* heap);

  Schema(const Schema&) = delete;
  Schema& operator=(const Schema&) = delete;
  virtual ~Schema();

  /// The element name of KML, such as "Placemark".
  const char* class_name() const { return class_name_; }
  /// The schema of the base class; null for `SchemaObject`'s own.
  const Schema* base() const { return base_; }
  /// True for this schema itself and for every schema that it derives from.
  bool IsOfType(const Schema& other) const;

  /// Fields, those of the base classes first.
  int GetFieldCount() const { return static_cast<int>(fields_.size()); }
  /// Null outside 0 to `GetFieldCount()` - 1.
  const Field* GetField(int index) const;
  /// The field of this name, or null.
  const Field* FindField(const char* name) const;

  /// An empty object of the class, or null if the class is abstract.
  SchemaObject* Create(const KmlId& id, const QString& source_url, MemoryManager* heap) const;

 protected:
  /// `base` is null for the root only; `factory` is null for an abstract class.
  Schema(const char* class_name, const Schema* base, Factory factory);

 private:
  friend class Field;

  const char* const class_name_;
  const Schema* const base_;
  const Factory factory_;
  mmvector<const Field*> fields_;  // Not owned: parts of this schema and of its bases.
};

/// The factory of a class with the usual constructor.
template <typename T>
SchemaObject* CreateObject(const KmlId& id, const QString& source_url, MemoryManager* heap) {
  return new (heap) T(id, source_url);
}

}  // namespace loculus
}  // namespace nimbara
