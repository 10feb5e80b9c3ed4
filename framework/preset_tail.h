// A module's own preset data behind the control values.
#pragma once

#include "framework/byte_io.h"
#include "framework/module.h"

namespace halveron {

/// What GetPresetSize, SavePreset and LoadPreset of such a module are made of.
class PresetTail {
 public:
  explicit PresetTail(Module& module) : module_(module) {}

  /// Bytes of the control values and `tailBytes` behind them.
  int SizeWith(int tailBytes) const { return module_.GetControlValuesSize() + tailBytes; }

  /// Writes the control values and answers a writer for what comes behind them. Where `size` is too
  /// small for the values nothing is written, nor by the writer.
  ByteWriter Save(void* buffer, int size) const;

  /// Reads the control values and answers a reader for what comes behind them. A version that had
  /// fewer controls names how many are missing; they are the last ones.
  ByteReader Load(const void* buffer, int size, int missingControls = 0) const;

 private:
  Module& module_;
};

}  // namespace halveron
