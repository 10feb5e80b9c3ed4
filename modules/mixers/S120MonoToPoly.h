// S120 Mono To Poly: sixteen mono signals become the voices of one cable.
#pragma once

#include "modules/mixers/voice_bridge.h"

namespace halveron {

class S120MonoToPoly final : public VoiceBridge<S120MonoToPoly> {
 public:
  static constexpr char kName[] = "S120 Mono To Poly";
  static constexpr char kPanel[] = "S120MonoToPoly.png";
  static constexpr bool kGathersVoices = true;

  S120MonoToPoly(CFrame* frame, const HostTable& table, int voiceIndex);
};

}  // namespace halveron
