// S902 EG/LFO Level Converter: envelopes of 0 to 1 to modulation of -1 to 1, and back.
#pragma once

#include "framework/module.h"

namespace halveron {

class S902EGLFOLevelConverter final : public BuiltInModule<S902EGLFOLevelConverter> {
 public:
  static constexpr char kName[] = "S902 EG/LFO Level Converter";
  static constexpr char kPanel[] = "S902EGLFOLevelConverter.png";
  static constexpr int kColumns = 6;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = true;

  S902EGLFOLevelConverter(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  VoiceGroupMaker GetVoiceGroupMaker(VectorUnit unit) const override;
  void CableConnected(PatchPoint* point) override;
  void CableDisconnected(PatchPoint* point) override;

  /// From 0..1 to half the modulation, -0.5..0.5.
  template <class Float>
  static Float HalfOfUnipolar(Float x) {
    return x - 0.5f;
  }
  template <class Float>
  static Float HalfOfBipolar(Float x) {
    return x * 0.5f;
  }

 private:
  template <class Unit>
  friend class S902EGLFOLevelConverterVoices;

  void FollowCables();

  Either unipolar_, bipolar_;
  Output half_;
  bool bipolarIn_ = false;  ///< converts the bipolar side into the unipolar one
};

}  // namespace halveron
