// The preset data of the S315 Mini Sampler VCO: its controls, its block, and the sample.
#include "fuzz/module_block.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static halveron::fuzzing::ModuleBlockBench bench("S315 Mini Sampler VCO");
  bench.Try({data, size});
  return 0;
}
