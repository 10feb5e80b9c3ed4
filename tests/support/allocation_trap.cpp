#include "tests/support/allocation_trap.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace halveron::testing {

namespace {

thread_local bool watched = false;
thread_local int count = 0;

/// Null if there is no memory left.
void* TryAllocate(std::size_t size, std::size_t alignment) {
  if (watched) ++count;
  if (size == 0) size = 1;
  return alignment > alignof(std::max_align_t)
             ? std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment)
             : std::malloc(size);
}

void* Allocate(std::size_t size, std::size_t alignment) {
  void* memory = TryAllocate(size, alignment);
  if (!memory) throw std::bad_alloc();
  return memory;
}

}  // namespace

AllocationTrap::AllocationTrap() {
  count = 0;
  watched = true;
}

AllocationTrap::~AllocationTrap() { watched = false; }

int AllocationTrap::Count() { return count; }

}  // namespace halveron::testing

void* operator new(std::size_t size) {
  return halveron::testing::Allocate(size, alignof(std::max_align_t));
}
void* operator new(std::size_t size, std::align_val_t alignment) {
  return halveron::testing::Allocate(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size) {
  return halveron::testing::Allocate(size, alignof(std::max_align_t));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return halveron::testing::TryAllocate(size, alignof(std::max_align_t));
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return halveron::testing::TryAllocate(size, alignof(std::max_align_t));
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
