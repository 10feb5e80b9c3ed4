// SA04 Tempo From DAW: a clock at the host's tempo that runs whatever the transport does.
#pragma once

#include "framework/host_transport.h"
#include "framework/module.h"
#include "modules/daw/SA04TempoFromDAWKernel.h"

namespace halveron {

class SA04TempoFromDAW final : public BuiltInModule<SA04TempoFromDAW> {
 public:
  static constexpr char kName[] = "SA04 Tempo From DAW";
  static constexpr char kPanel[] = "SA04TempoFromDAW.png";
  static constexpr int kColumns = 7;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  SA04TempoFromDAW(CFrame* frame, const HostTable& table, int voiceIndex);
  bool GetAlwaysOnDefault() const override { return true; }
  void BlockStart(int frames) override;
  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;
  void LoadPreset(const void* buffer, int size, int version) override;

 private:
  void WriteClock();

  Knob resolution_;
  Lamp clockLamp_;
  Output clock_;
  Input reset_;

  HostTransport transport_;
  SA04TempoFromDAWKernel kernel_;
};

}  // namespace halveron
