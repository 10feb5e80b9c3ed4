// S806 VC Sequential Switch: one point joined to one of four, stepped by clocks and a voltage.
#pragma once

#include <array>

#include "dsp/edge.h"
#include "framework/module.h"

namespace halveron {

class S806VCSeqSw final : public BuiltInModule<S806VCSeqSw> {
 public:
  static constexpr char kName[] = "S806 VC Sequential Switch";
  static constexpr char kPanel[] = "S806VCSeqSw.png";
  static constexpr int kColumns = 8;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  S806VCSeqSw(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  void LoadPreset(const void* buffer, int size, int version) override;

 private:
  static constexpr int kPorts = 4;

  /// The port for the present step, shifted by the position voltage.
  int PortAt(double shift) const;
  /// Lights the lamp of a port alone.
  void ShowPort(int port);

  Knob position_;
  std::array<Lamp, kPorts> lamps_;
  Input up_, down_, positionCv_, reset_;
  Either common_;
  std::array<Either, kPorts> ports_;
  dsp::EdgeDetector<> upEdges_, downEdges_;
  int step_ = 0;
  int litPort_ = 0;
};

}  // namespace halveron
