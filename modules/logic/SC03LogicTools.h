// SC03 Logic Tools: the logical operations on up to three gates.
#pragma once

#include <array>

#include "framework/module.h"

namespace halveron {

class SC03LogicTools final : public BuiltInModule<SC03LogicTools> {
 public:
  static constexpr char kName[] = "SC03 Logic Tools";
  static constexpr char kPanel[] = "SC03LogicTools.png";
  static constexpr int kColumns = 9;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  SC03LogicTools(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  VoiceGroupMaker GetVoiceGroupMaker(VectorUnit unit) const override;

 private:
  template <class Unit>
  friend class SC03LogicToolsVoices;

  enum Operation { kAnd, kNand, kOr, kNor, kXor, kXnor, kOperations };
  static constexpr std::size_t kInputs = 3;

  void Write(std::size_t operation, bool level);

  std::array<Input, kInputs> ins_;
  std::array<Output, kInputs> inverted_;
  std::array<Lamp, kInputs> invertedLamps_;
  std::array<Output, kOperations> outs_;
  std::array<Lamp, kOperations> lamps_;
};

}  // namespace halveron
