// The delay lines of a module: their memory, and a notice on the panel where there is none.
#pragma once

#include "dsp/delay_line.h"
#include "framework/module.h"

namespace halveron {

class MemoryNotice;

/// Lines of one length, whose memory is held while it may be needed: it is taken with the first
/// cable, and again when the rate changes while there is one. A module without lines passes its
/// input through.
///
/// Operations that take memory run inside the processing lock, but never while a block is
/// processed.
class ModuleDelayLines {
 public:
  /// Adds the notice to the panel.
  explicit ModuleDelayLines(Module& module);

  /// Lines of `size` cells from now on, all silent. From SetSampleRate.
  void Resize(int lines, int size);
  /// From CableConnected.
  void TakeIfCabled();
  /// The same, and where there are lines, attaches them to a kernel. From SetSampleRate as well.
  template <class Kernel>
  void TakeIfCabled(Kernel& kernel) {
    TakeIfCabled();
    if (AreTaken()) kernel.Attach(*this);
  }

  bool AreTaken() const { return memory_.IsTaken(); }
  /// Cells a line, taken or not.
  int Size() const { return size_; }
  dsp::DelayLine Line(int line) const { return memory_.Line(line); }
  /// Whether there was no memory when it was needed last, as the panel says.
  bool AreMissing() const { return isMissing_; }

 private:
  Module& module_;
  MemoryNotice* notice_;
  dsp::DelayMemory memory_;
  int lines_ = 0;
  int size_ = 0;
  bool isMissing_ = false;
};

}  // namespace halveron
