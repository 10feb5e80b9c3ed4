// S121 Poly To Mono: the voices of one cable become sixteen mono signals.
#pragma once

#include "modules/mixers/voice_bridge.h"

namespace halveron {

class S121PolyToMono final : public VoiceBridge<S121PolyToMono> {
 public:
  static constexpr char kName[] = "S121 Poly To Mono";
  static constexpr char kPanel[] = "S121PolyToMono.png";
  static constexpr bool kGathersVoices = false;

  S121PolyToMono(CFrame* frame, const HostTable& table, int voiceIndex);
};

}  // namespace halveron
