// SPDX-License-Identifier: Apache-2.0
#include "spatial/base/qstring_hash.h"

namespace nimbara {
namespace spatial {
namespace {

constexpr std::uint32_t kMultiplier = 0x5BD1E995u;
constexpr std::uint32_t kSeed = 0x12345678u;

}  // namespace

std::uint32_t HashQString(const QString& text) {
  const QChar* unit = text.constData();
  int left = text.size();
  std::uint32_t hash = kSeed;
  for (; left >= 2; left -= 2, unit += 2) {
    std::uint32_t block = unit[0].unicode() | static_cast<std::uint32_t>(unit[1].unicode()) << 16;
    block *= kMultiplier;
    block ^= block >> 24;
    block *= kMultiplier;
    hash *= kMultiplier;
    hash ^= block;
  }
  if (left == 1) {
    hash ^= unit->unicode();
    hash *= kMultiplier;
  }
  hash ^= hash >> 13;
  hash *= kMultiplier;
  hash ^= hash >> 15;
  return hash;
}

}  // namespace spatial
}  // namespace nimbara
