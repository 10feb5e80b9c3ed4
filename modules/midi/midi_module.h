// What the modules over MIDI cables repeat.
#pragma once

#include <vector>

#include "framework/midi_output.h"
#include "framework/module.h"

namespace halveron {

/// Lamps that stay lit for a while after a message, dark after a preset has been loaded.
template <class Derived>
class MidiModule : public BuiltInModule<Derived> {
 public:
  void SetSampleRate(float rate) override {
    Module::SetSampleRate(rate);
    for (HeldLamp* lamp : lamps_) lamp->SetHold(rate, kMidiLampSeconds);
  }
  void LoadPreset(const void* buffer, int size, int version) override {
    Module::LoadPreset(buffer, size, version);
    DarkenLamps();
  }

 protected:
  using BuiltInModule<Derived>::BuiltInModule;

  void AddMessageLamp(HeldLamp& lamp, const char* role, float x, float y,
                      SharedBitmap bitmap = SharedBitmap::kBlueLamp) {
    this->AddLamp(lamp, role, x, y, bitmap);
    lamps_.push_back(&lamp);
  }
  /// For LoadPreset overrides: what a preset says of lamps is of another moment.
  void DarkenLamps() {
    for (HeldLamp* lamp : lamps_) lamp->Darken();
  }
  /// The end of every constructor.
  void FinishPanel() {
    this->clipLevel = -1.0f;
    this->InitPatchPoints(0.0f);
    this->SetSampleRate(this->sampleRate);
  }

 private:
  std::vector<HeldLamp*> lamps_;
};

/// The index of a knob's position of `count`, whatever the value; 0 for what is no number.
inline int KnobPosition(const Knob& knob, int count) {
  const float share = knob->value > 0.0f ? knob->value : 0.0f;
  const int last = count - 1;
  return share < 1.0f ? static_cast<int>(share * static_cast<float>(last) + 0.5f) : last;
}

/// The knob value of a position.
inline float PositionValue(int position, int count) {
  return static_cast<float>(position) / static_cast<float>(count - 1);
}

}  // namespace halveron
