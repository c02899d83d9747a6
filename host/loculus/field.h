// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>

#include "host/export.h"
#include "host/loculus/schema_object.h"
#include "host/memory.h"

namespace nimbara {
namespace loculus {

/// Which fields of an object somebody has set, by their place in the object's schema.
class PELORIN_HOST_EXPORT FieldsSpecified {
 public:
  void Add(int index) { bits_.fetch_or(Bit(index), std::memory_order_relaxed); }
  bool Has(int index) const { return (bits_.load(std::memory_order_relaxed) & Bit(index)) != 0; }

 private:
  static constexpr std::uint64_t Bit(int index) {
    return index >= 0 && index < 64 ? std::uint64_t{1} << index : 0;
  }

  std::atomic<std::uint64_t> bits_{0};
};

/// One typed member of the objects of a schema. Fields are parts of their schema, unchanging, and
/// can be read from any thread.
class PELORIN_HOST_EXPORT Field {
 public:
  /// For callers that do not care which fields they have set. Holds nothing of use.
  static FieldsSpecified s_dummy_fields_specified;

  Field(const Field&) = delete;
  Field& operator=(const Field&) = delete;
  virtual ~Field();

  const Schema& schema() const { return *schema_; }
  /// The element name of KML; where KML has none, a name of the host's.
  const char* name() const { return name_; }
  /// The place in the schema, those of the base schemas first; from 0.
  int index() const { return index_; }

  /// Gives `to` the value that `from` has; objects below are cloned. Both objects are of the
  /// field's schema. See `SchemaObject::clone` for the last two.
  virtual void Copy(const SchemaObject& from, SchemaObject* to, bool keep_ids,
                    MemoryManager* heap) const = 0;

 protected:
  /// Registers with `schema`.
  Field(Schema* schema, const char* name);

 private:
  const Schema* const schema_;  // Not owned; holds this.
  const char* const name_;
  const int index_;
};

/// A field of type `T`.
template <typename T>
class PELORIN_HOST_EXPORT TypedField : public Field {
 public:
  template <typename Class>
  TypedField(Schema* schema, const char* name, T Class::*member)
      : Field(schema, name), member_(static_cast<T SchemaObject::*>(member)) {}

  /// The value in `object`, which must be of the field's schema.
  const T& Get(const SchemaObject& object) const { return object.*member_; }

  /// Gives `object` the value, unless it has it already, and notes the field in `specified`. An
  /// object that is null or of another schema is left alone, and the result is false.
  bool CheckSet(SchemaObject* object, const T& value, FieldsSpecified& specified) const {
    if (object == nullptr || !object->isOfType(schema()) || !Accepts(*object, value)) {
      return false;
    }
    if (!(Get(*object) == value)) {
      Set(object, value);
    }
    specified.Add(index());
    return true;
  }

  void Copy(const SchemaObject& from, SchemaObject* to, bool, MemoryManager*) const override {
    Set(to, Get(from));
  }

 protected:
  virtual bool Accepts(const SchemaObject&, const T&) const { return true; }
  virtual void Set(SchemaObject* object, const T& value) const { object->*member_ = value; }

 private:
  T SchemaObject::*const member_;
};

/// A field that holds another object. The holder is among the owners of what it holds, and an
/// object that owns the holder, directly or through others, is refused: nothing can hold itself.
template <typename T>
class PELORIN_HOST_EXPORT ObjectField final : public TypedField<RefPtr<T>> {
 public:
  using TypedField<RefPtr<T>>::TypedField;

  void Copy(const SchemaObject& from, SchemaObject* to, bool keep_ids,
            MemoryManager* heap) const override {
    Set(to, Clone<T>(this->Get(from).get(), keep_ids, heap));
  }

 protected:
  bool Accepts(const SchemaObject& object, const RefPtr<T>& value) const override {
    return !value || !object.IsOwnedBy(*value);
  }
  void Set(SchemaObject* object, const RefPtr<T>& value) const override {
    if (const RefPtr<T>& old = this->Get(*object)) {
      old->RemoveOwner(object);
    }
    if (value) {
      value->AddOwner(object);
    }
    TypedField<RefPtr<T>>::Set(object, value);
  }
};

}  // namespace loculus
}  // namespace nimbara
