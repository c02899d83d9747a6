// SPDX-License-Identifier: Apache-2.0
#include "host/referent.h"

namespace nimbara {

int AtomicAdd32(volatile int* value, int delta) {
  return __atomic_fetch_add(value, delta, __ATOMIC_SEQ_CST);
}

Referent::~Referent() = default;

void Referent::orphaned() const {
  delete this;
}

AtomicReferent::~AtomicReferent() = default;

void AtomicReferent::orphaned() const {
  delete this;
}

}  // namespace nimbara
