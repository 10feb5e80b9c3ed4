// The plug-in's entry points, one file for both interfaces. Nothing else leaves the library.
#include <new>

#include "engine/clap_abi.h"
#include "engine/clap_factory.h"
#include "engine/guarded_call.h"
#include "engine/halveron.h"
#include "platform/shared_library.h"

namespace {

using halveron::AEffect;
using halveron::Halveron;

// A host that scans loads and unloads us many times over, and what draws with us. The library
// beneath Cairo takes 12 kB at each load, which it never gives back; Pango's registers types that
// outlive it, and finds them taken when it comes back.
void KeepDrawingLibraries() {
  for (const char* library : {"libpixman-1.so.0", "libpango-1.0.so.0", "libpangoft2-1.0.so.0",
                              "libpangocairo-1.0.so.0"}) {
    halveron::platform::KeepLoaded(library);
  }
}

AEffect* CreateVst2Plugin(halveron::audioMasterCallback host) {
  KeepDrawingLibraries();
  if (!host || host(nullptr, halveron::audioMasterVersion, 0, 0, nullptr, 0.0f) == 0)
    return nullptr;
  return halveron::GuardedAnswer<AEffect*>(nullptr, [&] {
    return (new Halveron(host, halveron::HostKind::kVst2, halveron::UserFiles::kUse))->getAeffect();
  });
}

}  // namespace

extern "C" {

// Old hosts ask for it as `main`, a name that C++ keeps for programs; the linker gives it that one.
CLAP_EXPORT AEffect* VSTPluginMain(halveron::audioMasterCallback host);
AEffect* VSTPluginMain(halveron::audioMasterCallback host) { return CreateVst2Plugin(host); }

const clap_plugin_entry_t clap_entry = {
    halveron::kClapVersion,
    [](const char*) {
      KeepDrawingLibraries();
      return true;
    },
    [] {},
    halveron::FindClapFactory,
};
}
