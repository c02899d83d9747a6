// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <utility>

#include "host/export.h"
#include "host/memory.h"

namespace nimbara {

/// Adds `delta` to `*value` as one atomic, sequentially consistent step and returns the OLD value.
PELORIN_HOST_EXPORT int AtomicAdd32(volatile int* value, int delta);

/// Base of objects that count their owners in a plain `int`. The count is not atomic: all owners of
/// one object must change it on one thread at a time, for instance under one lock.
///
/// An object starts with a count of 0 and is destroyed by the `unref` that brings the count back to
/// 0, through `orphaned`. It is normally held by `RefPtr` alone.
class PELORIN_HOST_EXPORT Referent : public MemoryObject {
 public:
  Referent(const Referent&) = delete;
  Referent& operator=(const Referent&) = delete;
  virtual ~Referent();

  /// Runs when the count has reached zero, on the thread that gave up the last reference. Destroys
  /// the object through its virtual destructor. A null object is accepted by way of `RefPtr`, which
  /// never makes the call for one: the language lets a compiler assume that `this` is not null.
  virtual void orphaned() const;

  void ref() const { ++count_; }
  void unref() const {
    if (--count_ == 0) {
      orphaned();
    }
  }
  /// The present count, for tests and diagnostics.
  int ref_count() const { return count_; }

 protected:
  Referent() = default;

 private:
  mutable int count_ = 0;
};

/// The same with a count that changes only through `AtomicAdd32`, so that owners may live on
/// different threads. The object is destroyed on the thread that gives up the last reference.
class PELORIN_HOST_EXPORT AtomicReferent : public MemoryObject {
 public:
  AtomicReferent(const AtomicReferent&) = delete;
  AtomicReferent& operator=(const AtomicReferent&) = delete;
  virtual ~AtomicReferent();

  virtual void orphaned() const;

  void ref() const { AtomicAdd32(&count_, 1); }
  void unref() const {
    if (AtomicAdd32(&count_, -1) == 1) {
      orphaned();
    }
  }
  int ref_count() const { return AtomicAdd32(&count_, 0); }

 protected:
  AtomicReferent() = default;

 private:
  mutable volatile int count_ = 0;
};

/// The owning handle of a counted object: copying adds one to the count, dropping takes one away
/// and ends the object at zero. Dropping a null handle does nothing. `T` may be incomplete where a
/// handle is only declared.
template <typename T>
class RefPtr {
 public:
  RefPtr() = default;
  RefPtr(std::nullptr_t) {}
  RefPtr(T* object) : object_(object) { Ref(); }
  RefPtr(const RefPtr& other) : object_(other.object_) { Ref(); }
  RefPtr(RefPtr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  template <typename U>
  RefPtr(const RefPtr<U>& other) : object_(other.get()) {
    Ref();
  }
  ~RefPtr() { Unref(object_); }

  RefPtr& operator=(const RefPtr& other) {
    RefPtr(other).swap(*this);
    return *this;
  }
  RefPtr& operator=(RefPtr&& other) noexcept {
    RefPtr(std::move(other)).swap(*this);
    return *this;
  }

  T* get() const { return object_; }
  T* operator->() const { return object_; }
  T& operator*() const { return *object_; }
  explicit operator bool() const { return object_ != nullptr; }

  /// Gives up the reference. The handle is already null when the object is destroyed.
  void reset() { Unref(std::exchange(object_, nullptr)); }
  void swap(RefPtr& other) noexcept { std::swap(object_, other.object_); }

  friend bool operator==(const RefPtr& a, const RefPtr& b) { return a.object_ == b.object_; }
  friend bool operator!=(const RefPtr& a, const RefPtr& b) { return a.object_ != b.object_; }

 private:
  void Ref() const {
    if (object_ != nullptr) {
      object_->ref();
    }
  }
  static void Unref(T* object) {
    if (object != nullptr) {
      object->unref();
    }
  }

  T* object_ = nullptr;
};

}  // namespace nimbara
