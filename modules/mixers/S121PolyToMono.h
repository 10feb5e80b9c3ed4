// S121 Poly To Mono: the voices of one cable become sixteen mono signals.
#pragma once

#include "modules/mixers/voice_bridge.h"

namespace halveron {

class S121PolyToMono final : public BuiltInModule<S121PolyToMono> {
 public:
  static constexpr char kName[] = "S121 Poly To Mono";
  static constexpr char kPanel[] = "S121PolyToMono.png";
  static constexpr int kColumns = 10;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  S121PolyToMono(CFrame* frame, const HostTable& hostTable, int voice);

  bool UsesPolyphony() const override { return true; }
  void ProcessSample() override { bridge_.ProcessSample(); }
  void CableConnected(PatchPoint* point) override;
  void CableDisconnected(PatchPoint* point) override;
  void VoiceCountChanged(int voices) override;

 private:
  VoiceBridge bridge_;
};

}  // namespace halveron
