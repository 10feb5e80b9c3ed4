// S120 Mono To Poly: sixteen mono signals become the voices of one cable.
#pragma once

#include "modules/mixers/voice_bridge.h"

namespace halveron {

class S120MonoToPoly final : public BuiltInModule<S120MonoToPoly> {
 public:
  static constexpr char kName[] = "S120 Mono To Poly";
  static constexpr char kPanel[] = "S120MonoToPoly.png";
  static constexpr int kColumns = 10;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  S120MonoToPoly(CFrame* frame, const HostTable& hostTable, int voice);

  bool UsesPolyphony() const override { return true; }
  void ProcessSample() override { bridge_.ProcessSample(); }
  void CableConnected(PatchPoint* point) override;
  void CableDisconnected(PatchPoint* point) override;
  void VoiceCountChanged(int voices) override;

 private:
  VoiceBridge bridge_;
};

}  // namespace halveron
