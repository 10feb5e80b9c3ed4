// The two bridges between mono lines and voices.
#pragma once

#include <algorithm>
#include <array>

#include "framework/module.h"
#include "framework/numbered_role.h"

namespace halveron {

/// Sixteen lines, one per voice, in at one side and out at the other. On the side that faces the
/// polyphonic modules all sixteen points lie at one spot, linked in a ring, so that one cable from
/// there lands voice v on line v.
///
/// Lines from the first to the last that is cabled on the mono side are carried, as far as there
/// are voices; the others are held at 0.
template <class Derived>
class VoiceBridge : public BuiltInModule<Derived> {
 public:
  static constexpr int kColumns = 10;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  bool UsesPolyphony() const override { return true; }
  void ProcessSample() override {
    for (int line = first_; line <= last_; ++line) outs_[line]->out = ins_[line]->in;
  }
  void CableConnected(PatchPoint*) override { VoiceCountChanged(VoiceCount()); }
  void CableDisconnected(PatchPoint*) override { VoiceCountChanged(VoiceCount()); }
  void VoiceCountChanged(int voices) override {
    const ProcessingSection section(*this);
    if constexpr (Derived::kGathersVoices) {
      UpdateRange(ins_, voices);
    } else {
      UpdateRange(outs_, voices);
    }
  }

 protected:
  /// Panel units: the spot of the polyphonic side, and the first of two columns of eight points.
  struct Places {
    float spotX;
    float columnX;
    float columnSpacing;
  };

  VoiceBridge(CFrame* frame, const HostTable& table, int voiceIndex, const Places& places)
      : BuiltInModule<Derived>(frame, table, voiceIndex) {
    if constexpr (Derived::kGathersVoices) {
      AddColumns<"In">(ins_, places);
      AddRing<"Out">(outs_, places);
    } else {
      AddRing<"In">(ins_, places);
      AddColumns<"Out">(outs_, places);
    }
    this->monoSelectable = false;
    this->clipLevel = -1.0f;
    this->InitPatchPoints(0.0f);
  }

 private:
  static constexpr int kLines = kMaxVoices;

  int VoiceCount() const { return this->hostTable.GetVoiceCount(this->editor); }

  template <RoleStem stem, class Handle>
  void AddColumns(std::array<Handle, kLines>& points, const Places& places) {
    constexpr float kTop = 56, kRow = 28;
    constexpr int kRows = 8;
    for (int line = 0; line < kLines; ++line) {
      this->AddPatchPoint(points[line], NumberedRole<stem>(line),
                          places.columnX + places.columnSpacing * (line / kRows),
                          kTop + kRow * (line % kRows));
    }
  }

  /// All points at one spot, hidden but for the first. The last leads to the second.
  template <RoleStem stem, class Handle>
  void AddRing(std::array<Handle, kLines>& points, const Places& places) {
    constexpr float kSpotY = 150;
    for (int line = 0; line < kLines; ++line) {
      this->AddPatchPoint(points[line], NumberedRole<stem>(line), places.spotX, kSpotY);
    }
    for (int line = 0; line < kLines; ++line) {
      PatchPoint& point = points[line].View();
      point.voiceLink = &points[line + 1 < kLines ? line + 1 : 1].View();
      point.setVisible(line == 0);
    }
  }

  /// Updates the range of lines from the cables of the mono side.
  template <class Handle>
  void UpdateRange(const std::array<Handle, kLines>& monoSide, int voices) {
    first_ = kLines;
    last_ = -1;
    for (int line = 0; line < kLines; ++line) {
      if (!monoSide[line].IsCabled()) continue;
      if (last_ < 0) first_ = line;
      last_ = line;
    }
    last_ = std::min(last_, voices - 1);
    for (int line = 0; line < kLines; ++line) {
      if (line < first_ || line > last_) outs_[line]->out = 0.0f;
    }
  }

  std::array<Input, kLines> ins_;
  std::array<Output, kLines> outs_;
  int first_ = kLines;
  int last_ = -1;
};

}  // namespace halveron
