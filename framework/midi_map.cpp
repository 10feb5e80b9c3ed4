#include "framework/midi_map.h"

#include <algorithm>
#include <cmath>

#include "framework/module.h"
#include "framework/rack_model.h"

namespace halveron {

namespace {

constexpr int kChannelShift = 8;  // of a learned channel, above its controller

}  // namespace

void MidiMap::Set(std::vector<Bound> all) {
  if (all.empty() && all_.empty()) return;
  all_ = std::move(all);
  Publish();
}

void MidiMap::Bind(const Bound& bound) {
  std::erase_if(all_, [&](const Bound& other) {
    return other.module == bound.module && other.savedIndex == bound.savedIndex;
  });
  all_.push_back(bound);
  Publish();
}

void MidiMap::Unbind(const ModuleKnob& knob) {
  if (std::erase_if(all_, [&](const Bound& bound) { return bound.knob == &knob; }) > 0) Publish();
}

void MidiMap::ModuleLeaves(const Module& module) {
  const auto isGone = [&](const Bound& bound) { return bound.module == &module; };
  if (std::erase_if(all_, isGone) > 0) Publish();
}

const MidiBinding* MidiMap::Find(const ModuleKnob& knob) const {
  const auto found = std::find_if(all_.begin(), all_.end(),
                                  [&](const Bound& bound) { return bound.knob == &knob; });
  return found == all_.end() ? nullptr : &found->binding;
}

void MidiMap::Publish() {
  ++version_;
  const auto next = std::make_shared<Table>();
  for (const Bound& bound : all_) {
    if (!bound.knob) continue;
    Entry entry;
    entry.knob = bound.knob;
    entry.binding = bound.binding;
    int& first = next->first[static_cast<std::size_t>(bound.binding.controller)];
    entry.next = first;
    first = static_cast<int>(next->entries.size());
    next->entries.push_back(entry);
  }
  // What is bound as before goes on as it stands. Only the audio thread changes the rest of an
  // entry.
  std::vector<std::pair<std::size_t, std::size_t>> kept;
  for (std::size_t i = 0; i < next->entries.size(); ++i) {
    const Entry& entry = next->entries[i];
    const auto same =
        std::find_if(table_->entries.begin(), table_->entries.end(), [&](const Entry& other) {
          return other.knob == entry.knob && other.binding == entry.binding;
        });
    if (same == table_->entries.end()) continue;
    kept.emplace_back(static_cast<std::size_t>(same - table_->entries.begin()), i);
  }
  // The old table goes with the last holder, which is not within a block.
  const auto holder = std::make_shared<std::shared_ptr<Table>>(next);
  rack_.InLock([this, holder, was = table_.get(), kept = std::move(kept)] {
    // Within an edit this comes later, and perhaps after another table.
    const bool isSuccessor = table_.get() == was;
    for (const auto& [from, to] : kept) {
      if (!isSuccessor) break;
      const int follower = (*holder)->entries[to].next;
      (*holder)->entries[to] = table_->entries[from];
      (*holder)->entries[to].next = follower;
      const int fine = (*holder)->entries[to].binding.controller + midi::kFineOffset;
      const bool isTaken =
          IsFineController(fine) && (*holder)->first[static_cast<std::size_t>(fine)] != kNone;
      if (isTaken) (*holder)->entries[to].isPaired = false;
    }
    table_.swap(*holder);
  });
}

void MidiMap::Learn() {
  learned_.store(kNothingLearned, std::memory_order_relaxed);
  learn_.Arm(0);
}

void MidiMap::CancelLearning() {
  learn_.Disarm(0);
  learned_.store(kNothingLearned, std::memory_order_relaxed);
}

std::optional<MidiMap::Learned> MidiMap::TakeLearned() {
  const int learned = learned_.exchange(kNothingLearned, std::memory_order_relaxed);
  if (learned == kNothingLearned) return std::nullopt;
  return Learned{learned & midi::kLargestData, learned >> kChannelShift};
}

void MidiMap::Take(const VstEvents& events) {
  const bool isWaiting = learn_.Armed() != MidiLearn::kNone;
  if (!isWaiting && table_->entries.empty()) return;
  for (int i = 0; i < events.numEvents; ++i) {
    const VstEvent* event = events.events[i];
    if (!event || event->type != kVstMidiType) continue;
    const auto* message = reinterpret_cast<const VstMidiEvent*>(event);
    const auto byte = [&](int at) { return static_cast<unsigned char>(message->midiData[at]); };
    const MidiCableWord word = MidiCableWord::FromBytes(byte(0), byte(1), byte(2));
    if (!word.IsControlChange() || word.Data1() >= MidiBinding::kControllers) continue;
    if (isWaiting && learn_.TakeController(word) != MidiLearn::kNone) {
      learned_.store(word.Data1() | word.Channel() << kChannelShift, std::memory_order_relaxed);
    }
    TakeController(word.Data1(), word.Channel(), word.Data2() & midi::kLargestData);
  }
}

void MidiMap::TakeController(int controller, int channel, int value) {
  const auto hears = [channel](const Entry& entry) {
    return entry.binding.channel == MidiBinding::kAnyChannel || entry.binding.channel == channel;
  };
  const auto forEach = [&](int number, auto&& act) {
    for (int i = table_->first[static_cast<std::size_t>(number)]; i != kNone;) {
      Entry& entry = table_->entries[static_cast<std::size_t>(i)];
      if (hears(entry)) act(entry);
      i = entry.next;
    }
  };
  const auto turn = [this](Entry& entry) {
    const auto coarse = static_cast<float>(entry.halves.msb) / midi::kLargestData;
    Turn(entry, entry.isPaired ? entry.halves.Level() : coarse, rack_);
  };
  bool hasKnobs = false;
  forEach(controller, [&](Entry& entry) {
    hasKnobs = true;
    entry.halves = {static_cast<std::uint8_t>(value), 0};
    turn(entry);
  });
  // One with knobs of its own is nobody's fine half.
  if (hasKnobs || !IsFineController(controller)) return;
  // The fine half of a pair whose coarse one has come before.
  forEach(controller - midi::kFineOffset, [&](Entry& entry) {
    if (entry.last < 0.0f) return;
    entry.halves.lsb = static_cast<std::uint8_t>(value);
    entry.isPaired = true;
    turn(entry);
  });
}

void MidiMap::Turn(Entry& entry, float share, RackModel& rack) {
  constexpr float kNear = 1.5f / midi::kLargestData;  // of the range: a step of the controller
  const MidiBinding& binding = entry.binding;
  ModuleKnob& knob = *entry.knob;
  const float asked = binding.from + std::clamp(share, 0.0f, 1.0f) * (binding.to - binding.from);
  const float target = std::clamp(asked, knob.getMin(), knob.getMax());
  if (binding.pickUp) {
    const float present = knob.BaseValue();
    if (present != entry.reached) entry.holds = false;
    const bool crosses = entry.last >= 0.0f && (entry.last - present) * (target - present) <= 0.0f;
    const bool isNear = std::abs(target - present) <= kNear * std::abs(binding.to - binding.from);
    entry.holds = entry.holds || crosses || isNear;
  }
  entry.last = target;
  if (binding.pickUp && !entry.holds) return;
  if (knob.hostOffset != 0.0f) {
    knob.SetModulated(target, knob.hostOffset);
  } else {
    knob.setValue(target);
  }
  entry.reached = knob.BaseValue();
  rack.parameters.MovedByMidi(&knob);
}

}  // namespace halveron
