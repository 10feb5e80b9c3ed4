// Text patches: any text is either refused with a reason or keeps its meaning when it is formatted,
// and a rack takes it whole or not at all.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "editor/known_modules.h"
#include "engine/halveron.h"
#include "fuzz/claim.h"
#include "platform/file_error.h"
#include "presets/text_patch.h"

namespace halveron {

using fuzzing::Claim;

namespace {

const std::string kFile = "fuzzed.json";

/// An engine without a host and its rack, which one input leaves to the next.
class Bench {
 public:
  Bench() { engine_.open(); }
  ~Bench() { engine_.close(); }
  Bench(const Bench&) = delete;
  Bench& operator=(const Bench&) = delete;

  void Try(const TextPatch& patch) {
    SynEditor& rack = *engine_.Editor();
    try {
      ApplyTextPatch(patch, kFile, rack, known_);
      standing_ = Describe();
    } catch (const platform::FileError& error) {
      Claim(*error.what() != 0, "a refusal has a reason");
      Claim(Describe() == standing_, "a patch that is refused leaves the rack as it was");
      return;
    }
    // A rack's own description is a patch that gives the same rack.
    ApplyTextPatch(ParseTextPatch(standing_, kFile), kFile, rack, known_);
    Claim(Describe() == standing_, "a described rack can be made again");
  }

 private:
  std::string Describe() {
    SynEditor& rack = *engine_.Editor();
    return FormatTextPatch(DescribeRack(rack));
  }

  Halveron engine_{nullptr, HostKind::kVst2};
  std::vector<KnownModule> known_ = KnownModules();
  std::string standing_ = Describe();
};

std::optional<TextPatch> Parse(const std::string& text) {
  try {
    return ParseTextPatch(text, kFile);
  } catch (const platform::FileError& error) {
    Claim(*error.what() != 0, "a refusal has a reason");
    return std::nullopt;
  }
}

}  // namespace
}  // namespace halveron

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace halveron;
  static Bench bench;
  const auto patch = Parse(std::string(reinterpret_cast<const char*>(data), size));
  if (!patch) return 0;
  const std::string formatted = FormatTextPatch(*patch);
  const auto again = Parse(formatted);
  Claim(again.has_value(), "what is formatted can be parsed");
  Claim(FormatTextPatch(*again) == formatted, "what is formatted keeps its meaning");
  bench.Try(*patch);
  return 0;
}
