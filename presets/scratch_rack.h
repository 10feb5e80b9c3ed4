// A rack that does not play, to create modules in and query them.
#pragma once

#include "framework/engine_context.h"
#include "framework/rack_model.h"

namespace halveron {

class ScratchRack {
 public:
  /// Uses the maker and the rates of `original`, with one voice.
  explicit ScratchRack(RackModel& original)
      : engine_(original.engine), rack_(engine_, original.Maker()) {}

  RackModel& Rack() { return rack_; }

  /// Null if the module cannot be made.
  Module* Add(const std::string& name, const std::string& vendor) {
    return rack_.AddModule(name, vendor);
  }

 private:
  class Engine final : public EngineContext {
   public:
    explicit Engine(EngineContext& original) : original_(original) {
      oversamplingFactor = original.oversamplingFactor;
      oversamplingSteps = original.oversamplingSteps;
      hostKind = original.hostKind;
    }
    float HostSampleRate() const override { return original_.HostSampleRate(); }
    int HostBlockSize() const override { return original_.HostBlockSize(); }
    const VstTimeInfo* HostTimeInfo(int) override { return nullptr; }
    bool SendEventsToHost(VstEvents*) override { return false; }
    void BindNoteSlotToVoice(int, int) override {}
    bool ReleaseVoiceNote(int, int) override { return false; }
    void ParameterMoved(int, float) override {}

   private:
    const EngineContext& original_;
  };

  Engine engine_;
  RackModel rack_;
};

}  // namespace halveron
