// Preset files and chunks: any bytes are either refused with a reason or can be written again, and
// a rack made by them is saved as a preset that makes the same rack.

#include <cstddef>
#include <cstdint>
#include <span>

#include "engine/halveron.h"
#include "fuzz/claim.h"
#include "presets/preset_format.h"
#include "presets/preset_rack.h"

namespace halveron {

using fuzzing::Claim;

namespace {

/// An engine without a host and its rack, which one input leaves to the next.
class Bench {
 public:
  Bench() { engine_.open(); }
  ~Bench() { engine_.close(); }
  Bench(const Bench&) = delete;
  Bench& operator=(const Bench&) = delete;

  void LoadAndSave(const PresetDocument& document) {
    SynEditor& rack = *engine_.Editor();
    const bool isWhole = static_cast<bool>(ApplyPreset(document, rack));
    const PresetDocument saved = CapturePreset(rack);
    const PresetReadResult read =
        ReadPreset(WritePreset(saved, PresetForm::kFile), PresetForm::kFile);
    Claim(read.document.has_value(), "a saved rack can be read: " + read.error.message);
    if (!isWhole) return;
    Claim(static_cast<bool>(ApplyPreset(*read.document, rack)), "a saved rack can be loaded");
    Claim(CapturePreset(rack) == saved, "a saved rack is loaded as it was");
  }

 private:
  Halveron engine_{nullptr, HostKind::kVst2};
};

void Try(std::span<const std::byte> bytes, PresetForm form, Bench& bench) {
  const PresetReadResult read = ReadPreset(bytes, form);
  if (!read.document) {
    Claim(!read.error.message.empty(), "a refusal has a reason");
    Claim(read.error.offset <= bytes.size(), "a refusal lies within the bytes");
    return;
  }
  const std::vector<std::byte> written = WritePreset(*read.document, form);
  const PresetReadResult again = ReadPreset(written, form);
  Claim(again.document.has_value(), "what is written can be read: " + again.error.message);
  Claim(*again.document == *read.document, "what is written is what was read");
  Claim(WritePreset(*again.document, form) == written, "the same document gives the same bytes");
  bench.LoadAndSave(*read.document);
}

}  // namespace
}  // namespace halveron

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static halveron::Bench bench;
  const std::span<const std::byte> bytes(reinterpret_cast<const std::byte*>(data), size);
  halveron::Try(bytes, halveron::PresetForm::kFile, bench);
  halveron::Try(bytes, halveron::PresetForm::kChunk, bench);
  return 0;
}
