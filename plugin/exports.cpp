// The plug-in's entry points, one file for both interfaces. Nothing else is exported.
#include <new>

#include "engine/clap_abi.h"
#include "engine/clap_factory.h"
#include "engine/guarded_call.h"
#include "engine/halveron.h"
#include "platform/shared_library.h"
#include "skins/module_panels.h"

namespace {

using halveron::AEffect;
using halveron::Halveron;

// A scanning host loads and unloads the plug-in many times, and its libraries with it. Some do not
// support that: Pango registers its types with a library that stays loaded, which works only once;
// pixman leaks 12 kB at each load, and what FFmpeg and curl stand on 1 kB and most of the time.
void KeepLibraries() {
  for (const char* name :
       {"libpango-1.0.so.0", "libpangoft2-1.0.so.0", "libpangocairo-1.0.so.0", "libpixman-1.so.0",
        "libavformat.so.59", "libcurl-gnutls.so.4", "libtag.so.1"}) {
    halveron::platform::KeepLoaded(name);
  }
}

void PrepareProcess() {
  KeepLibraries();
  halveron::skins::PaintModulePanels();
}

AEffect* CreateVst2Plugin(halveron::audioMasterCallback host) {
  if (!host || host(nullptr, halveron::audioMasterVersion, 0, 0, nullptr, 0.0f) == 0)
    return nullptr;
  PrepareProcess();
  return halveron::GuardedAnswer<AEffect*>(nullptr, [&] {
    using namespace halveron;
    return (new Halveron(host, HostKind::kVst2, UserFiles::kUse))->getAeffect();
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
      PrepareProcess();
      return true;
    },
    [] {},
    halveron::FindClapFactory,
};
}
