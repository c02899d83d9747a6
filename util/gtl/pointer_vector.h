// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

namespace util {
namespace gtl {

/// A vector of pointers to objects on the global heap that it owns: an element is deleted when it
/// is cleared away, and all of them with the container, from the first to the last. Null elements
/// are allowed. It moves and does not copy; what it was moved from is empty.
///
///     PointerVector<Keyframe> keyframes;
///     keyframes.push_back(new Keyframe(0.0, new RotationAngleModifier(90.0)));
///     keyframes[0]->time();
///     keyframes[1];  // throws std::out_of_range
///
/// Pointers to elements stay valid while the vector grows. One thread at a time may change it; any
/// number may read.
template <typename T>
class PointerVector {
 public:
  using const_iterator = typename std::vector<T*>::const_iterator;

  PointerVector() = default;
  ~PointerVector() { clear(); }
  PointerVector(PointerVector&& other) noexcept { elements_.swap(other.elements_); }
  PointerVector& operator=(PointerVector&& other) noexcept {
    PointerVector taken(std::move(other));
    elements_.swap(taken.elements_);
    return *this;
  }
  PointerVector(const PointerVector&) = delete;
  PointerVector& operator=(const PointerVector&) = delete;

  /// Takes over `element`, also when it throws for want of memory, in which case it is deleted.
  void push_back(T* element) {
    try {
      elements_.push_back(element);
    } catch (...) {
      delete element;
      throw;
    }
  }
  void reserve(std::size_t size) { elements_.reserve(size); }
  void clear() {
    for (T* const element : elements_) {
      delete element;
    }
    elements_.clear();
  }

  /// The element at `position`, 0 up to `size() - 1`; any other throws std::out_of_range.
  T* operator[](std::size_t position) const { return elements_.at(position); }
  T* at(std::size_t position) const { return elements_.at(position); }
  std::size_t size() const { return elements_.size(); }
  bool empty() const { return elements_.empty(); }
  const_iterator begin() const { return elements_.begin(); }
  const_iterator end() const { return elements_.end(); }

 private:
  std::vector<T*> elements_;
};

}  // namespace gtl
}  // namespace util
