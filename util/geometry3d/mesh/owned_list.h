// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <vector>

namespace geometry3d {
namespace mesh_internal {

/// What the owners of materials, index sets and polygons do with their lists: each list is a vector
/// of pointers to elements that it owns.

/// Takes `element` over at the end of `*list` and returns it. Null throws std::bad_alloc; after any
/// exception the list is as before.
template <typename T>
T* Own(std::unique_ptr<T> element, std::vector<T*>* list) {
  if (element == nullptr) {
    throw std::bad_alloc();
  }
  list->push_back(element.get());
  return element.release();
}

/// Deletes the element at `index` and closes the gap. Throws std::out_of_range where there is none.
template <typename T>
void DeleteAt(int index, std::vector<T*>* list) {
  // A negative index is no position of any list either.
  delete list->at(static_cast<std::size_t>(index));
  list->erase(list->begin() + index);
}

/// Deletes all elements.
template <typename T>
void DeleteAll(std::vector<T*>* list) {
  for (const T* const element : *list) {
    delete element;
  }
  list->clear();
}

/// Whether the lists have as many elements and these are equal, place for place; null equals null.
template <typename T>
bool AllEqual(const std::vector<T*>& some, const std::vector<T*>& others) {
  return std::equal(some.begin(), some.end(), others.begin(), others.end(),
                    [](const T* a, const T* b) {
                      return a == nullptr || b == nullptr ? a == b : a->IsEqual(*b);
                    });
}

}  // namespace mesh_internal
}  // namespace geometry3d
