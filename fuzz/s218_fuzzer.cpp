// The preset data of the S218 Spectral Filter: its frames of bars, and its controls.
#include "fuzz/module_block.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static halveron::fuzzing::ModuleBlockBench bench("S218 Spectral Filter");
  bench.Try({data, size});
  return 0;
}
