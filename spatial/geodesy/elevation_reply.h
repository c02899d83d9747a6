// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <cstddef>

#include "host/memory.h"

namespace nimbara {
namespace spatial {

/// Reads the heights of one reply of the elevation service into `heights`, from `offset` on, and
/// counts them in `*read`. A reply is a JSON object with an array "results" of objects that each
/// have a number "elevation", in metres; other members are ignored, a missing or empty array holds
/// no heights. Comments, and text behind the object, are taken.
///
/// Reading stops, and that is no fault, at a height that would stand behind the end of `heights`.
/// False if the body is no JSON, if something else than an object stands where one is wanted or if
/// a height is no number; heights ahead of the fault have been written and counted by then. Heights
/// beyond what a `float` can hold become infinite. Any bytes can be read; nothing throws.
bool ReadElevationReply(const QByteArray& body, std::size_t offset, mmvector<float>* heights,
                        int* read);

}  // namespace spatial
}  // namespace nimbara
