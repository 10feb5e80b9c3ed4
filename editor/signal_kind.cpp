#include "editor/signal_kind.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "editor/module_catalogue.h"
#include "framework/module.h"
#include "gui/text_search.h"

namespace halveron {

namespace {

using MaybeKind = std::optional<SignalKind>;

// Parts of roles in small letters. The first kind with a match counts: a pitch bend is no pitch.
constexpr std::string_view kControlWords[] = {"cv",     "mod",      "bend",    "velocity",
                                              "wheel",  "pwm",      "control", "envelope",
                                              "random", "unipolar", "touch"};
constexpr std::string_view kPitchWords[] = {"pitch", "transpose"};
constexpr std::string_view kGateWords[] = {"gate",   "trig",   "clock", "reset", "sync",
                                           "start",  "stop",   "run",   "stage", "flag",
                                           "rotate", "record", "play",  "lock",  "sample"};

bool HoldsAny(std::string_view text, std::span<const std::string_view> words) {
  for (const std::string_view word : words) {
    if (text.find(word) != std::string_view::npos) return true;
  }
  return false;
}

MaybeKind KindByRole(const PatchPoint& point) {
  const std::string role = FoldedCase(point.role);
  if (HoldsAny(role, kControlWords)) return SignalKind::kControl;
  if (HoldsAny(role, kPitchWords)) return SignalKind::kPitch;
  if (HoldsAny(role, kGateWords) || role == "end") return SignalKind::kGate;
  return std::nullopt;
}

/// None for modules that pass on whatever comes, such as mixers and switches.
MaybeKind KindByModule(const Module& module) {
  const CatalogueEntry* entry = FindInCatalogue(module.GetName(), module.GetVendorName());
  if (!entry) return std::nullopt;
  switch (entry->category) {
    case Category::kFilter:
    case Category::kOscillatorSource:
    case Category::kModifierEffect:
    case Category::kFromToDaw:
      return SignalKind::kAudio;
    case Category::kClockGate:
    case Category::kLogicBit:
      return SignalKind::kGate;
    case Category::kModulator:
    case Category::kCvSourceProcessor:
    case Category::kSequencer:
    case Category::kMidi:
      return SignalKind::kControl;
    default:
      return std::nullopt;
  }
}

}  // namespace

SignalKind KindOf(const Cable& cable) {
  const PatchPoint& origin = *cable.origin;
  const PatchPoint& destination = *cable.destination;
  if (destination.twoState) return SignalKind::kMidi;
  if (const MaybeKind kind = KindByRole(origin)) return *kind;
  // What a pitch or a gate input gets is meant as one, whether it comes from a sequencer or a
  // mixer.
  const MaybeKind wanted = KindByRole(destination);
  if (wanted && *wanted != SignalKind::kControl) return *wanted;
  if (const MaybeKind kind = KindByModule(*origin.Owner())) return *kind;
  if (wanted) return *wanted;
  return KindByModule(*destination.Owner()).value_or(SignalKind::kAudio);
}

int ColourOf(SignalKind kind) {
  constexpr int kRed = 1, kGreen = 2, kBlue = 3, kOrange = 5;
  switch (kind) {
    case SignalKind::kAudio:
      return kRed;
    case SignalKind::kPitch:
      return kBlue;
    case SignalKind::kGate:
      return kGreen;
    case SignalKind::kMidi:
      return kMidiCableColour;
    case SignalKind::kControl:
      break;
  }
  return kOrange;
}

}  // namespace halveron
