// S815 InOut Connector: three signals passed on, to gather cables in one place.
#pragma once

#include <array>

#include "framework/module.h"

namespace halveron {

class S815InOutConnector final : public BuiltInModule<S815InOutConnector> {
 public:
  static constexpr char kName[] = "S815 InOut Connector";
  static constexpr char kPanel[] = "S815InOutConnector.png";
  static constexpr int kColumns = 7;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  S815InOutConnector(CFrame* frame, const HostTable& table, int voiceIndex);
  void ProcessSample() override;

 private:
  static constexpr int kLines = 3;

  std::array<Input, kLines> ins_;
  std::array<Output, kLines> outs_;
};

}  // namespace halveron
