#include "framework/signal_store.h"

#include <algorithm>

namespace halveron {

template <class T>
T* SignalStore::Arena<T>::Take(std::size_t count) {
  if (free.size() > count && !free[count].empty()) {
    T* cells = free[count].back();
    free[count].pop_back();
    std::fill_n(cells, count, T{});
    return cells;
  }
  if (used + count > kChunk) {
    chunks.push_back(std::make_unique<T[]>(kChunk));
    used = 0;
  }
  T* cells = chunks.back().get() + used;
  used += count;
  return cells;
}

template <class T>
void SignalStore::Arena<T>::GiveBack(T* cells, std::size_t count) {
  if (free.size() <= count) free.resize(count + 1);
  free[count].push_back(cells);
}

float* SignalStore::TakeSignals(std::size_t count) { return signals_.Take(count); }

void SignalStore::GiveBackSignals(float* cells, std::size_t count) {
  signals_.GiveBack(cells, count);
}

KnobCell* SignalStore::TakeKnob() { return knobs_.Take(1); }

void SignalStore::GiveBackKnob(KnobCell* cell) { knobs_.GiveBack(cell, 1); }

}  // namespace halveron
