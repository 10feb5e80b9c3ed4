#include "gui/base_object.h"

#include <atomic>

namespace halveron {

namespace {

// The header is part of every module's; a plain int there keeps <atomic> out of it.
using Counter = std::atomic_ref<int>;
static_assert(Counter::required_alignment <= alignof(int));

}  // namespace

void CBaseObject::remember() { Counter(references).fetch_add(1, std::memory_order_relaxed); }

void CBaseObject::forget() {
  if (Counter(references).fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
}

int CBaseObject::getNbReference() const {
  return Counter(references).load(std::memory_order_relaxed);
}

}  // namespace halveron
