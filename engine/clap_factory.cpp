#include "engine/clap_factory.h"

#include <cstring>

#include "engine/clap_extensions.h"
#include "engine/clap_plugin.h"
#include "engine/guarded_call.h"
#include "framework/module.h"

namespace halveron {

namespace {

const char* kFeatures[] = {CLAP_PLUGIN_FEATURE_INSTRUMENT, CLAP_PLUGIN_FEATURE_SURROUND,
                           CLAP_PLUGIN_FEATURE_SYNTHESIZER, nullptr};

const clap_plugin_descriptor_t kDescriptor = {
    .clap_version = kClapVersion,
    .id = "com.calderine.Halveron_Multi_InOut",
    .name = "Halveron Multi InOut",
    .vendor = kBuiltInVendor,
    .url = "https://www.calderine.example/halveron",
    .manual_url = "",
    .support_url = "https://www.calderine.example/about",
    .version = "2.2",
    .description = "Modular Synthesizer",
    .features = kFeatures,
};

ClapPluginInstance& Of(const clap_plugin_t* plugin) { return ClapPluginInstance::Of(plugin); }

void FillCalls(clap_plugin_t& record) {
  record.init = [](const clap_plugin_t* plugin) {
    return GuardedAnswer(false, [&] { return Of(plugin).Init(); });
  };
  record.destroy = [](const clap_plugin_t* plugin) { GuardedCall([&] { delete &Of(plugin); }); };
  record.activate = [](const clap_plugin_t* plugin, double rate, std::uint32_t,
                       std::uint32_t maxFrames) {
    return GuardedAnswer(false, [&] { return Of(plugin).Activate(rate, maxFrames); });
  };
  record.deactivate = [](const clap_plugin_t*) {};
  record.start_processing = [](const clap_plugin_t*) { return true; };
  record.stop_processing = [](const clap_plugin_t*) {};
  record.reset = [](const clap_plugin_t* plugin) { GuardedCall([&] { Of(plugin).Reset(); }); };
  record.process = [](const clap_plugin_t* plugin, const clap_process_t* block) {
    if (!block) return clap_process_status{CLAP_PROCESS_ERROR};
    return GuardedAnswer(clap_process_status{CLAP_PROCESS_ERROR},
                         [&] { return Of(plugin).Process(*block); });
  };
  record.get_extension = [](const clap_plugin_t*, const char* id) { return FindClapExtension(id); };
  record.on_main_thread = [](const clap_plugin_t* plugin) {
    GuardedCall([&] { Of(plugin).OnMainThread(); });
  };
}

const clap_plugin_t* CreatePlugin(const clap_host_t* host, const char* id) {
  if (!host || !id || std::strcmp(id, kDescriptor.id) != 0) return nullptr;
  return GuardedAnswer<const clap_plugin_t*>(nullptr, [&] {
    auto* instance = new ClapPluginInstance(kDescriptor, host);
    FillCalls(instance->record);
    return &instance->record;
  });
}

const clap_plugin_factory_t kFactory = {
    [](const clap_plugin_factory_t*) { return std::uint32_t{1}; },
    [](const clap_plugin_factory_t*, std::uint32_t index) {
      return index == 0 ? &kDescriptor : nullptr;
    },
    [](const clap_plugin_factory_t*, const clap_host_t* host, const char* id) {
      return CreatePlugin(host, id);
    }};

}  // namespace

const void* FindClapFactory(const char* id) {
  return id && std::strcmp(id, CLAP_PLUGIN_FACTORY_ID) == 0 ? &kFactory : nullptr;
}

}  // namespace halveron
