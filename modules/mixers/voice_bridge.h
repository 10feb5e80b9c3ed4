// What the two bridges between mono lines and voices share.
#pragma once

#include <algorithm>
#include <array>

#include "framework/module.h"

namespace halveron {

/// Sixteen lines, one per voice, in at one side and out at the other. On the side that faces the
/// polyphonic modules all sixteen points lie at one spot, linked in a ring, so that one cable from
/// there lands voice v on line v.
///
/// Lines from the first to the last that is cabled on the mono side are carried, as far as there
/// are voices; the others are held at 0.
class VoiceBridge {
 public:
  static constexpr int kLines = kMaxVoices;

  void ProcessSample() {
    for (int line = first_; line <= last_; ++line) outs_[line]->out = ins_[line]->in;
  }

  std::array<Input, kLines> ins_;
  std::array<Output, kLines> outs_;

  /// Hides all points of a side but the first, and closes the ring: the last leads to the second.
  template <class Handle>
  static void GatherInRing(std::array<Handle, kLines>& points) {
    for (int line = 0; line < kLines; ++line) {
      PatchPoint& point = points[line].View();
      point.voiceLink = &points[line + 1 < kLines ? line + 1 : 1].View();
      point.setVisible(line == 0);
    }
  }

  /// Finds the range anew from the cables of the mono side.
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

 private:
  int first_ = kLines;
  int last_ = -1;
};

/// Roles of the lines, "In 1" to "In 16" and "Out 1" to "Out 16".
extern const std::array<const char*, VoiceBridge::kLines> kBridgeInRoles;
extern const std::array<const char*, VoiceBridge::kLines> kBridgeOutRoles;

}  // namespace halveron
