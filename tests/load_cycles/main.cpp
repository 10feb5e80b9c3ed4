// Loads the plug-in, makes, runs and destroys an instance and unloads it again, a thousand times by
// either interface, as hosts do that scan. A program of its own, because what the libraries beneath
// us leave behind shows only where nobody else holds them.
//
// Prints what memory that took and fails if it grew.
#include <malloc.h>

#include <cstdio>

#include "tests/hosts/clap_host.h"
#include "tests/hosts/plugin_file.h"
#include "tests/hosts/vst2_host.h"

namespace {

using namespace halveron::testing;

constexpr int kWarmUpCycles = 20;
constexpr int kCycles = 1000;
/// Far below one forgotten object a cycle.
constexpr long kMostGrowth = 16384;

void RunCycle() {
  {
    const ClapFile file;
    ClapHost host(file.Factory());
    host.Activate(48000, 64);
    host.Process(64, {ClapEvent::Note(CLAP_EVENT_NOTE_ON, 0, 60, 1)});
    host.Save();
  }
  const halveron::platform::SharedLibrary file(kVst2File);
  Vst2Host host(file.FindFunction<Vst2Entry>("main"));
  host.Start(48000, 64);
  host.Process(64);
}

long UsedBytes() { return static_cast<long>(mallinfo2().uordblks); }

}  // namespace

int main() {
  for (int i = 0; i < kWarmUpCycles; ++i) RunCycle();
  const long before = UsedBytes();
  for (int i = 0; i < kCycles; ++i) RunCycle();
  const long growth = UsedBytes() - before;
  std::printf("%d cycles: %ld bytes more in use\n", kCycles, growth);
  return growth <= kMostGrowth ? 0 : 1;
}
