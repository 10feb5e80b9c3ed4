#include "tests/hosts/racks.h"

#include <memory>

#include "editor/known_modules.h"
#include "engine/halveron.h"
#include "presets/text_patch.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/source_folder.h"

namespace halveron::testing {

std::vector<std::byte> StateOf(const std::string& patch) {
  Halveron engine(nullptr, HostKind::kVst2);
  engine.open();
  ApplyTextPatch(ParseTextPatch(patch, "test"), "test", *engine.Editor(), KnownModules());
  const std::span<const std::byte> chunk = engine.Editor()->SaveChunk();
  return {chunk.begin(), chunk.end()};
}

std::vector<std::byte> StateOfDemo(const std::string& name) {
  return StateOf(ReadFile(SourceFolder() + "/patches/" + name));
}

}  // namespace halveron::testing
