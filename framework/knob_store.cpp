#include "framework/knob_store.h"

namespace halveron {

KnobCell* KnobStore::Take() {
  if (!free_.empty()) {
    KnobCell* cell = free_.back();
    free_.pop_back();
    *cell = KnobCell{};
    return cell;
  }
  if (used_ == kChunk) {
    chunks_.push_back(std::make_unique<KnobCell[]>(kChunk));
    used_ = 0;
  }
  return chunks_.back().get() + used_++;
}

}  // namespace halveron
