// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <cstddef>
#include <cstdint>

#include "base/export.h"

namespace nimbara {
namespace spatial {

/// MurmurHash2 over the UTF-16 code units of `text`, each taken as two bytes with the low one
/// first, on every machine. Unlike the published function it does not mix the length into the seed,
/// so that trailing content alone tells strings apart; the null and the empty string, which compare
/// equal, hash alike. Any 32-bit value can result. Safe from any thread.
PELORIN_EXPORT std::uint32_t HashQString(const QString& text);

/// The hash of every unordered container that is keyed by `QString`.
struct QStringHash {
  std::size_t operator()(const QString& text) const { return HashQString(text); }
};

}  // namespace spatial
}  // namespace nimbara
