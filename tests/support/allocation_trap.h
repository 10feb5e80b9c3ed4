// Counts what a thread takes from the heap while it is watched.
#pragma once

namespace halveron::testing {

/// While alive, every call of operator new on this thread is counted. Works in executables that
/// link allocation_trap.cpp.
class AllocationTrap {
 public:
  AllocationTrap();
  ~AllocationTrap();
  AllocationTrap(const AllocationTrap&) = delete;
  AllocationTrap& operator=(const AllocationTrap&) = delete;

  static int Count();
};

}  // namespace halveron::testing
