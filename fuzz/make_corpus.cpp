// Usage: make_corpus DIRECTORY PATCH...
//
// Fills DIRECTORY/preset_fuzzer and DIRECTORY/text_patch_fuzzer with inputs to begin from: an empty
// rack, every module alone, and the patches given with one voice and with two, as this system
// writes them. The fuzzers of single modules get the data of those in all these racks.

#include <cstdio>
#include <exception>
#include <filesystem>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "editor/known_modules.h"
#include "engine/halveron.h"
#include "framework/module.h"
#include "platform/whole_file.h"
#include "presets/preset_format.h"
#include "presets/preset_rack.h"
#include "presets/text_patch.h"

namespace halveron {

namespace {

namespace fs = std::filesystem;

/// Modules whose data have a fuzzer of their own.
constexpr std::pair<const char*, const char*> kModuleFuzzers[] = {
    {"S218 Spectral Filter", "s218_fuzzer"},
    {"S315 Mini Sampler VCO", "s315_fuzzer"},
    {"SD30 MIDI Recorder", "sd30_fuzzer"},
};

class Corpus {
 public:
  explicit Corpus(const fs::path& folder)
      : folder_(folder), presets_(folder / "preset_fuzzer"), texts_(folder / "text_patch_fuzzer") {
    fs::create_directories(presets_);
    fs::create_directories(texts_);
    for (const auto& [module, fuzzer] : kModuleFuzzers) fs::create_directories(folder / fuzzer);
  }

  /// The rack as text, and as a file and a chunk of every layout that there has been.
  void Add(const std::string& name, RackModel& rack) {
    const std::string text = FormatTextPatch(DescribeRack(rack));
    Write(texts_ / (name + ".json"), std::as_bytes(std::span(text)));
    PresetDocument document = CapturePreset(rack);
    for (std::size_t i = 0; i < document.modules.size(); ++i) {
      for (const auto& [module, fuzzer] : kModuleFuzzers) {
        if (document.modules[i].name != module) continue;
        Write(folder_ / fuzzer / (name + "-" + std::to_string(i)), document.modules[i].data);
      }
    }
    document.pathPrefix = name + ".hvp";
    for (const int version :
         {kClipLevelVersion - 1, kVoicesVersion - 1, kVoicesVersion, kPresetVersion}) {
      document.version = version;
      const std::string stem = name + "-" + std::to_string(version);
      Write(presets_ / (stem + ".hvp"), WritePreset(document, PresetForm::kFile));
      Write(presets_ / (stem + ".chunk"), WritePreset(document, PresetForm::kChunk));
    }
  }

 private:
  static void Write(const fs::path& path, std::span<const std::byte> bytes) {
    platform::WriteWholeFile(path.string(), bytes, platform::Durability::kAtomic);
  }

  fs::path folder_;
  fs::path presets_;
  fs::path texts_;
};

/// Two voices, and as many instances of every module that may have them.
void MakePolyphonic(RackModel& rack) {
  rack.voices.ApplyVoiceCount(2);
  for (Module* module : rack.modules[0]) {
    if (module->mono && module->monoSelectable) rack.voices.SetModuleMono(module, false);
  }
}

void MakeCorpus(const std::string& folder, std::span<char* const> patches) {
  Halveron engine(nullptr, HostKind::kVst2);
  engine.open();
  SynEditor& rack = *engine.Editor();
  Corpus corpus(folder);
  corpus.Add("empty", rack);
  const std::vector<KnownModule> known = KnownModules();
  for (const KnownModule& module : known) {
    if (!module.canBeMade) continue;
    rack.RemoveAllModules();
    rack.AddModule(module.name, module.vendor);
    corpus.Add(module.name.substr(0, module.name.find(' ')), rack);
  }
  for (const char* path : patches) {
    ApplyTextPatch(ReadTextPatch(path), path, rack, known);
    const std::string name = fs::path(path).stem().string();
    corpus.Add(name, rack);
    MakePolyphonic(rack);
    corpus.Add(name + "-poly", rack);
  }
  engine.close();
}

}  // namespace
}  // namespace halveron

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "make_corpus: tell the directory to fill\n");
    return 2;
  }
  try {
    halveron::MakeCorpus(argv[1], std::span(argv, static_cast<std::size_t>(argc)).subspan(2));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "make_corpus: %s\n", error.what());
    return 1;
  }
  return 0;
}
