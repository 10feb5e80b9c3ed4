// The preset data of the SD30 MIDI Recorder: its take, and its controls.
#include "fuzz/module_block.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static halveron::fuzzing::ModuleBlockBench bench("SD30 MIDI Recorder");
  bench.Try({data, size});
  return 0;
}
