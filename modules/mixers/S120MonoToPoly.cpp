#include "modules/mixers/S120MonoToPoly.h"

namespace halveron {

S120MonoToPoly::S120MonoToPoly(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  // Two columns of eight mono inputs, and one jack for all voices.
  constexpr float kLeft = 24, kSpacing = 30, kTop = 56, kRow = 28, kSpotX = 98, kSpotY = 150;
  constexpr int kRows = 8;
  for (int line = 0; line < VoiceBridge::kLines; ++line) {
    AddPatchPoint(bridge_.ins_[line], kBridgeInRoles[line], kLeft + kSpacing * (line / kRows),
                  kTop + kRow * (line % kRows));
  }
  for (int line = 0; line < VoiceBridge::kLines; ++line) {
    AddPatchPoint(bridge_.outs_[line], kBridgeOutRoles[line], kSpotX, kSpotY);
  }
  VoiceBridge::GatherInRing(bridge_.outs_);

  monoSelectable = false;
  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
}

void S120MonoToPoly::CableConnected(PatchPoint*) {
  VoiceCountChanged(hostTable.GetVoiceCount(editor));
}

void S120MonoToPoly::CableDisconnected(PatchPoint*) {
  VoiceCountChanged(hostTable.GetVoiceCount(editor));
}

void S120MonoToPoly::VoiceCountChanged(int voices) {
  const ProcessingSection section(*this);
  bridge_.UpdateRange(bridge_.ins_, voices);
}

}  // namespace halveron
