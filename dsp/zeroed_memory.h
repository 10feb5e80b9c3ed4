// Large blocks of zeroed floats that may fail to come.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

namespace halveron::dsp {

/// Floats from calloc, which takes pages that the system zeroes on first use: the time to take a
/// block hardly depends on its size, and what is never written takes no memory.
class ZeroedMemory {
 public:
  /// Gives back what it held and takes `count` zeroes. False if there is no memory.
  bool Take(std::size_t count) {
    floats_.reset();  // first, as both at once might not fit
    if (count > PTRDIFF_MAX / sizeof(float)) return false;
    floats_.reset(static_cast<float*>(std::calloc(count, sizeof(float))));
    return floats_ != nullptr;
  }
  void Release() { floats_.reset(); }
  float* Floats() const { return floats_.get(); }

 private:
  struct Free {
    void operator()(float* floats) const { std::free(floats); }
  };
  std::unique_ptr<float, Free> floats_;
};

}  // namespace halveron::dsp
