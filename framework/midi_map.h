// Which controllers of the host's MIDI turn which knobs.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "framework/host_events.h"
#include "framework/midi_controller.h"
#include "framework/midi_learn.h"

namespace halveron {

class Module;
class ModuleKnob;
class RackModel;

/// How a controller turns its knob.
struct MidiBinding {
  static constexpr int kAnyChannel = -1;
  static constexpr int kControllers = 120;  ///< those above are commands

  int controller = 0;         ///< 0 to 119
  int channel = kAnyChannel;  ///< 0 to 15
  float from = 0.0f;          ///< value of the knob at 0, in its range; may be above `to`
  float to = 1.0f;            ///< and at the controller's end
  bool pickUp = false;        ///< nothing moves until the controller has met the knob's value

  bool operator==(const MidiBinding&) const = default;
};

/// A knob has one controller at most; a controller may have several knobs. Belongs to the window
/// thread, but for Take. What the audio thread reads is made beside and exchanged inside the
/// processing lock.
class MidiMap {
 public:
  struct Bound {
    Module* module;
    int savedIndex;    ///< of the control in the module's preset
    ModuleKnob* knob;  ///< of voice 0; null while the module has a placeholder
    MidiBinding binding;
  };

  explicit MidiMap(RackModel& rack) : rack_(rack) {}
  MidiMap(const MidiMap&) = delete;
  MidiMap& operator=(const MidiMap&) = delete;

  const std::vector<Bound>& All() const { return all_; }
  /// Replaces all.
  void Set(std::vector<Bound> all);
  /// Replaces the one that the control had.
  void Bind(const Bound& bound);
  void Unbind(const ModuleKnob& knob);
  /// Null if the knob has none.
  const MidiBinding* Find(const ModuleKnob& knob) const;
  void ModuleLeaves(const Module& module);
  /// Counts the changes.
  int Version() const { return version_; }

  struct Learned {
    int controller;
    int channel;
  };
  /// Waits for the next control change.
  void Learn();
  void CancelLearning();
  bool IsLearning() const { return learn_.Armed() != MidiLearn::kNone; }
  /// What has come since; once.
  std::optional<Learned> TakeLearned();

  /// Audio thread, inside the processing lock: the events of the coming block.
  void Take(const VstEvents& events);

 private:
  static constexpr int kNone = -1;
  static constexpr int kNothingLearned = -1;

  struct Entry {
    ModuleKnob* knob;
    MidiBinding binding;
    int next = kNone;  ///< of the same controller
    Controller14 halves;
    bool isPaired = false;  ///< fine halves have come
    bool holds = false;     ///< the knob is where the controller put it
    float last = -1.0f;     ///< what the controller asked for, below 0 before its first message
    float reached = 0.0f;   ///< the knob's value after its last move
  };
  struct Table {
    Table() { first.fill(kNone); }
    std::array<int, MidiBinding::kControllers> first;
    std::vector<Entry> entries;
  };

  void Publish();
  void TakeController(int controller, int channel, int value);
  static void Turn(Entry& entry, float share, RackModel& rack);

  RackModel& rack_;
  std::vector<Bound> all_;
  int version_ = 0;
  std::shared_ptr<Table> table_ = std::make_shared<Table>();  ///< the audio thread's
  MidiLearn learn_;
  std::atomic<int> learned_{kNothingLearned};
};

}  // namespace halveron
