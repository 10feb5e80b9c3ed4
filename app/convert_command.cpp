#include "app/convert_command.h"

#include <ostream>

#include "app/offline_host.h"
#include "app/patch_file.h"
#include "app/run_command.h"

namespace halveron {

int Convert(const ConvertOptions& options, std::ostream& out, std::ostream& err) {
  RequirePatchExtension(options.input);
  RequirePatchExtension(options.output);
  OfflineHost host({});
  const PresetDocument preset =
      ReadPatchFile(options.input, host.Rack(), err, options.placeholders);
  WritePatchFile(options.output, preset, host.Rack());
  out << options.output << ": " << preset.modules.size() << " modules, " << preset.cables.size()
      << " cables\n";
  return kExitDone;
}

}  // namespace halveron
