// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <boost/container/small_vector.hpp>
#include <cstddef>

namespace util {
namespace gtl {

/// A vector with room for `N` elements inside the object: up to that size it makes no allocation.
/// From the first element beyond `N` on, all elements live in one block of the global heap. Has the
/// interface of the standard vector; as there, growth invalidates references, and moving a vector
/// whose elements are inside the object moves the elements one by one.
template <typename T, std::size_t N>
using InlinedVector = boost::container::small_vector<T, N>;

}  // namespace gtl
}  // namespace util
