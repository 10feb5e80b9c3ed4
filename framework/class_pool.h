// Memory in which the objects of one class lie side by side.
#pragma once

#include <cstddef>

#include "gui/base_object.h"

namespace halveron {

/// Chunks of memory for objects of one size. Each object holds a share of its pool, so that the
/// pool outlives whichever goes last: its objects, or the class's own share at the program's end.
/// Not for the audio thread: taking may allocate, and both lock.
class ClassPool {
 public:
  explicit ClassPool(std::size_t objectSize);
  ~ClassPool();
  ClassPool(const ClassPool&) = delete;
  ClassPool& operator=(const ClassPool&) = delete;

  /// Memory for one object of at most the pool's size, at the start of a cache line.
  void* Take(std::size_t size) const;
  /// `size` as it was taken.
  static void GiveBack(void* memory, std::size_t size);

 private:
  class Chunks;
  SharedPointer<Chunks> chunks_;
};

}  // namespace halveron
