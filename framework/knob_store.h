// Where the knob values lie that the sample loop works on, packed and apart from views.
#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <vector>

#include "framework/knob_cell.h"
#include "gui/base_object.h"

namespace halveron {

/// The knob cells of one rack. Addresses are stable for the life of a cell, and cells that are
/// taken one after another lie side by side. Not for the audio thread: taking may allocate.
class KnobStore final : public CBaseObject {
 public:
  /// A zeroed cell.
  KnobCell* Take();
  void GiveBack(KnobCell* cell) { free_.push_back(cell); }

  /// A control has moved, and its module has followed it. Whoever moves one outside of the
  /// processing lock notes it here afterwards; knobs do so by themselves. Any thread.
  void NoteMove() { hasMoved_.store(true, std::memory_order_release); }
  /// Whether one has moved since the last call.
  bool TakeMoves() {
    return hasMoved_.load(std::memory_order_relaxed) &&
           hasMoved_.exchange(false, std::memory_order_acquire);
  }

 private:
  static constexpr std::size_t kChunk = 512;

  std::vector<std::unique_ptr<KnobCell[]>> chunks_;
  std::size_t used_ = kChunk;
  std::vector<KnobCell*> free_;
  std::atomic<bool> hasMoved_ = false;
};

}  // namespace halveron
