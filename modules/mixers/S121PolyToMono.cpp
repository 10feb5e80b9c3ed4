#include "modules/mixers/S121PolyToMono.h"

namespace halveron {

S121PolyToMono::S121PolyToMono(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  // One jack for all voices, and two columns of eight mono outputs.
  constexpr float kSpotX = 22, kSpotY = 150, kLeft = 63, kSpacing = 29, kTop = 56, kRow = 28;
  constexpr int kRows = 8;
  for (int line = 0; line < VoiceBridge::kLines; ++line) {
    AddPatchPoint(bridge_.ins_[line], kBridgeInRoles[line], kSpotX, kSpotY);
  }
  for (int line = 0; line < VoiceBridge::kLines; ++line) {
    AddPatchPoint(bridge_.outs_[line], kBridgeOutRoles[line], kLeft + kSpacing * (line / kRows),
                  kTop + kRow * (line % kRows));
  }
  VoiceBridge::GatherInRing(bridge_.ins_);

  monoSelectable = false;
  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
}

void S121PolyToMono::CableConnected(PatchPoint*) {
  VoiceCountChanged(hostTable.GetVoiceCount(editor));
}

void S121PolyToMono::CableDisconnected(PatchPoint*) {
  VoiceCountChanged(hostTable.GetVoiceCount(editor));
}

void S121PolyToMono::VoiceCountChanged(int voices) {
  const ProcessingSection section(*this);
  bridge_.UpdateRange(bridge_.outs_, voices);
}

}  // namespace halveron
