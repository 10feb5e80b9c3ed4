#include "app/convert_command.h"

#include <ostream>

#include "app/offline_host.h"
#include "app/patch_file.h"
#include "app/run_command.h"

namespace halveron {

int Convert(const std::string& input, const std::string& output, std::ostream& out,
            std::ostream& err) {
  RequirePatchExtension(input);
  RequirePatchExtension(output);
  OfflineHost host({});
  const PresetDocument preset = ReadPatchFile(input, host.Rack(), err);
  WritePatchFile(output, preset, host.Rack());
  out << output << ": " << preset.modules.size() << " modules, " << preset.cables.size()
      << " cables\n";
  return kExitDone;
}

}  // namespace halveron
