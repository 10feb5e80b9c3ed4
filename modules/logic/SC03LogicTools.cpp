#include "modules/logic/SC03LogicTools.h"

#include "dsp/edge.h"

namespace halveron {

SC03LogicTools::SC03LogicTools(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  static constexpr const char* kInputRoles[] = {"A", "B", "C"};
  static constexpr const char* kInvertedRoles[] = {"Not A", "Not B", "Not C"};
  static constexpr const char* kInvertedLamps[] = {"Not A LED", "Not B LED", "Not C LED"};
  static constexpr const char* kRoles[] = {"AND", "NAND", "OR", "NOR", "XOR", "XNOR"};
  static constexpr const char* kLampRoles[] = {"AND LED", "NAND LED", "OR LED",
                                               "NOR LED", "XOR LED",  "XNOR LED"};
  constexpr float kLeft = 24, kRight = 72, kLamp = 20, kTop = 62, kRow = 36;
  for (std::size_t i = 0; i < kInputs; ++i) {
    AddLamp(invertedLamps_[i], kInvertedLamps[i], kRight + kLamp,
            kTop + kRow * static_cast<float>(i), SharedBitmap::kRedLamp);
  }
  for (std::size_t i = 0; i < kOperations; ++i) {
    AddLamp(lamps_[i], kLampRoles[i], (i % 2 ? kRight : kLeft) + kLamp,
            kTop + kRow * static_cast<float>(3 + i / 2), SharedBitmap::kRedLamp);
  }
  for (std::size_t i = 0; i < kInputs; ++i) {
    AddPatchPoint(ins_[i], kInputRoles[i], kLeft, kTop + kRow * static_cast<float>(i));
    AddPatchPoint(inverted_[i], kInvertedRoles[i], kRight, kTop + kRow * static_cast<float>(i));
  }
  for (std::size_t i = 0; i < kOperations; ++i) {
    AddPatchPoint(outs_[i], kRoles[i], i % 2 ? kRight : kLeft,
                  kTop + kRow * static_cast<float>(3 + i / 2));
  }

  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
}

void SC03LogicTools::ProcessSample() {
  bool all = true, any = false, parity = false;
  for (std::size_t i = 0; i < kInputs; ++i) {
    const bool high = ins_[i]->in >= dsp::kGateThreshold;
    const float inverted = high ? 0.0f : 1.0f;
    inverted_[i]->out = inverted;
    invertedLamps_[i].Set(inverted);
    all &= high || !ins_[i].IsCabled();
    any |= high;
    parity ^= high;
  }
  Write(kAnd, all);
  Write(kNand, !all);
  Write(kOr, any);
  Write(kNor, !any);
  Write(kXor, parity);
  Write(kXnor, !parity);
}

void SC03LogicTools::Write(std::size_t operation, bool level) {
  outs_[operation]->out = level ? 1.0f : 0.0f;
  lamps_[operation].Set(level ? 1.0f : 0.0f);
}

VoiceGroupMaker SC03LogicTools::GetVoiceGroupMaker(VectorUnit unit) const {
  return VoiceGroupMakerOf<SC03LogicTools>(unit);
}

}  // namespace halveron
