#include "modules/cv/S910UTools.h"

namespace halveron {

S910UTools::S910UTools(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  struct Place {
    const char* role;
    const char* caption;
    float x;
    int row;
  };
  constexpr float kLeft = 22, kMiddle = 60, kRight = 97, kFirstRow = 66, kRow = 45;
  static constexpr std::array<const char*, kIns> kInRoles{"In 1", "In 2", "In 3", "In 4", "In 5"};
  static constexpr std::array<Place, kOuts> kOutPlaces{{{"Out 1", "-x", kMiddle, 0},
                                                        {"Out 2", "|x|", kRight, 0},
                                                        {"Out 3", "-x", kMiddle, 1},
                                                        {"Out 4", "x>0", kRight, 1},
                                                        {"Out 5", "x^2", kRight, 2},
                                                        {"Out 6", "x^3", kRight, 3},
                                                        {"Out 7", "1-x", kRight, 4}}};
  for (std::size_t i = 0; i < kIns; ++i) {
    AddPatchPoint(ins_[i], kInRoles[i], kLeft, kFirstRow + kRow * static_cast<float>(i));
  }
  for (std::size_t i = 0; i < kOuts; ++i) {
    const Place& place = kOutPlaces[i];
    AddPatchPoint(outs_[i], place.role, place.x, kFirstRow + kRow * static_cast<float>(place.row));
    outs_[i].View().caption = place.caption;
  }
  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
}

void S910UTools::ProcessSample() {
  std::array<float, kIns> x;
  for (std::size_t i = 0; i < kIns; ++i) x[i] = ins_[i]->in;
  const std::array<float, kOuts> results = Apply(x);
  for (std::size_t i = 0; i < kOuts; ++i) outs_[i]->out = results[i];
}

VoiceGroupMaker S910UTools::GetVoiceGroupMaker(VectorUnit unit) const {
  return VoiceGroupMakerOf<S910UTools>(unit);
}

}  // namespace halveron
