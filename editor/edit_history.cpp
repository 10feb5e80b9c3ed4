#include "editor/edit_history.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "editor/rack_window.h"
#include "editor/syn_editor.h"
#include "framework/module.h"

namespace halveron {

namespace {

// Notches of a wheel, or keys that carry, this close are one gesture.
constexpr double kJoinSeconds = 0.7;

struct Difference {
  std::vector<const ModuleRecord*> added;
  std::vector<const ModuleRecord*> removed;
  std::vector<std::pair<const ModuleRecord*, const ModuleRecord*>> changed;
  std::vector<int> changedIds;
  std::size_t newCables = 0;
  std::size_t lostCables = 0;
};

Difference Compare(const RackSnapshot& before, const RackSnapshot& after) {
  Difference difference;
  for (const RackSnapshot::Entry& entry : after.modules) {
    const ModuleRecord* was = before.Find(entry.id);
    if (!was) {
      difference.added.push_back(entry.record.get());
    } else if (was != entry.record.get() && *was != *entry.record) {
      difference.changed.emplace_back(was, entry.record.get());
      difference.changedIds.push_back(entry.id);
    }
  }
  for (const RackSnapshot::Entry& entry : before.modules) {
    if (!after.Find(entry.id)) difference.removed.push_back(entry.record.get());
  }
  const auto count = [](const auto& some, const auto& others) {
    const std::set<RackSnapshot::Cable> known(others.begin(), others.end());
    return static_cast<std::size_t>(std::count_if(
        some.begin(), some.end(), [&](const auto& cable) { return !known.contains(cable); }));
  };
  difference.newCables = count(after.cables, before.cables);
  difference.lostCables = count(before.cables, after.cables);
  return difference;
}

/// Whether two lists of cables join the same points, in whatever colours.
bool HaveSameEnds(std::vector<RackSnapshot::Cable> a, std::vector<RackSnapshot::Cable> b) {
  for (auto* cables : {&a, &b}) {
    for (RackSnapshot::Cable& cable : *cables) cable.colour = 0;
    std::sort(cables->begin(), cables->end());
  }
  return a == b;
}

std::string OfModules(const std::string& verb, const std::vector<const ModuleRecord*>& modules) {
  if (modules.size() == 1) return verb + " " + modules.front()->preset.name;
  return verb + " " + std::to_string(modules.size()) + " modules";
}

std::string OfChange(const ModuleRecord& was, const ModuleRecord& is) {
  const PresetModule& a = was.preset;
  const PresetModule& b = is.preset;
  if (was.HasDataOf(is) && (a.x != b.x || a.y != b.y)) return "Move " + b.name;
  return "Change " + b.name;
}

/// Whether modules were moved and nothing else changed in them.
bool AreMoves(const Difference& difference) {
  return std::all_of(difference.changed.begin(), difference.changed.end(), [](const auto& pair) {
    return OfChange(*pair.first, *pair.second).starts_with("Move ");
  });
}

/// Gives modules of a rack the records that they have in another, which has the same modules. What
/// the others have become by themselves is no part of a step.
void KeepRecords(RackSnapshot& rack, const RackSnapshot& former, const std::vector<int>& ids) {
  for (RackSnapshot::Entry& entry : rack.modules) {
    if (std::find(ids.begin(), ids.end(), entry.id) == ids.end()) continue;
    const auto was = std::find_if(former.modules.begin(), former.modules.end(),
                                  [&](const auto& other) { return other.id == entry.id; });
    if (was != former.modules.end()) entry.record = was->record;
  }
}

/// All of a module's fields but its data. Each is named here, so that a new one is not forgotten.
auto SettingsOf(const PresetModule& module) {
  const auto& [name, vendor, version, controlCount, pointCount, x, y, oversampled, alwaysOn,
               bandlimitMode, clipLevel, mono, data, indices] = module;
  return std::tie(name, vendor, version, controlCount, pointCount, x, y, oversampled, alwaysOn,
                  bandlimitMode, clipLevel, mono, indices);
}

/// Whether two racks differ at most in what modules do by themselves: lamps, phases, what plays.
bool HaveSameSettings(const RackSnapshot& a, const RackSnapshot& b) {
  const auto isSame = [](const RackSnapshot::Entry& one, const RackSnapshot::Entry& other) {
    if (one.id != other.id || one.record->values != other.record->values) return false;
    // Modules of libraries may record by themselves.
    const bool isBuiltIn = one.record->preset.vendor == kBuiltInVendor;
    if (!isBuiltIn && !one.record->HasDataOf(*other.record)) return false;
    return SettingsOf(one.record->preset) == SettingsOf(other.record->preset);
  };
  return a.rack == b.rack && a.cables == b.cables &&
         std::equal(a.modules.begin(), a.modules.end(), b.modules.begin(), b.modules.end(), isSame);
}

/// Whether two records differ in one control; which one, in `control`.
bool DifferInOneControl(const ModuleRecord& a, const ModuleRecord& b, std::size_t* control) {
  if (a.values.size() != b.values.size() || a.ownData.size() != b.ownData.size()) return false;
  if (SettingsOf(a.preset) != SettingsOf(b.preset)) return false;
  std::size_t count = 0;
  for (std::size_t i = 0; i < a.values.size(); ++i) {
    if (a.values[i] == b.values[i]) continue;
    *control = i;
    ++count;
  }
  return count == 1;
}

}  // namespace

std::string DescribeStep(const RackSnapshot& before, const RackSnapshot& after) {
  const Difference difference = Compare(before, after);
  if (!difference.added.empty() && !difference.removed.empty()) return "Replace modules";
  if (!difference.added.empty()) return OfModules("Add", difference.added);
  if (before.rack.rows < after.rack.rows && difference.removed.empty()) return "Add row";
  if (before.rack.rows > after.rack.rows) return "Remove row";
  if (!difference.removed.empty()) return OfModules("Remove", difference.removed);
  if (before.rack.voices != after.rack.voices) return "Change voices";
  if (before.rack.midi != after.rack.midi && difference.removed.empty()) return "MIDI controller";
  if (difference.newCables > 0 && difference.lostCables > 0) {
    return HaveSameEnds(before.cables, after.cables) ? "Colour cable" : "Move cable";
  }
  if (difference.newCables > 0) return "Connect cable";
  if (difference.lostCables > 0) return "Unplug cable";
  if (difference.changed.size() == 1) {
    return OfChange(*difference.changed.front().first, *difference.changed.front().second);
  }
  if (!difference.changed.empty()) {
    return (AreMoves(difference) ? "Move " : "Change ") +
           std::to_string(difference.changed.size()) + " modules";
  }
  if (before.rack.oversamplingFactor != after.rack.oversamplingFactor ||
      before.rack.oversamplingFilter != after.rack.oversamplingFilter) {
    return "Change oversampling";
  }
  return "Change description";
}

EditHistory::EditHistory(SynEditor& editor) : editor_(editor), snapshots_(editor) {}

double EditHistory::Now() const {
  return editor_.Window() ? editor_.Window()->Frame().getTime() : 0.0;
}

EditHistory::File EditHistory::FileNow() const {
  return {editor_.presetPath, editor_.presetFromChunk, editor_.Placeholders()};
}

void EditHistory::Follow() {
  edited_ = false;
  ForgetTouched();
  replacement_.clear();
  present_ = snapshots_.Take(present_);
  file_ = FileNow();
}

void EditHistory::Clear() {
  done_.clear();
  undone_.clear();
  bytes_ = 0;
  savedStates_.clear();
  written_.reset();
  state_ = lastState_ = 0;
  if (editor_.Window()) Follow();
}

void EditHistory::MarkSaved() {
  Settle();
  file_ = FileNow();
  // In the middle of a gesture the file has what no step leads to.
  constexpr int kNoState = -1;
  savedStates_[file_.path] = edited_ && IsBusy() ? kNoState : state_;
}

void EditHistory::MarkWritten() {
  MarkSaved();
  written_ = Written{snapshots_.Take(present_), state_};
}

bool EditHistory::IsAsWritten() {
  if (!editor_.Window()) return false;  // no steps are recorded
  Settle();
  return written_ && written_->state == state_ &&
         HaveSameSettings(snapshots_.Take(present_), written_->rack);
}

bool EditHistory::IsChanged() const {
  const auto saved = savedStates_.find(editor_.presetPath);
  return state_ != (saved == savedStates_.end() ? 0 : saved->second);
}

void EditHistory::ControlMoved(const CControl& control) {
  edited_ = true;
  const auto* module = dynamic_cast<const Module*>(control.getParentView());
  if (!module) return;
  const ControlEffect effect = module->EffectOf(control);
  if (effect == ControlEffect::kPlayback) return;
  touched_.insert(snapshots_.IdOf(*module));
  if (effect == ControlEffect::kOtherModules && !touchedAll_ && editor_.Window()) {
    // What the other modules are now is where the step begins.
    present_ = Begin(snapshots_.Take(present_));
    touchedAll_ = true;
  }
}

void EditHistory::ModuleEdited(const Module& module) {
  edited_ = true;
  touched_.insert(snapshots_.IdOf(module));
}

void EditHistory::ForgetTouched() {
  touched_.clear();
  touchedAll_ = false;
}

void EditHistory::GestureEnded() { gestures_ = std::max(gestures_ - 1, 0); }

void EditHistory::RackReplaced(const std::string& stepName, bool isSaved) {
  replacement_ = stepName;
  edited_ = true;
  if (isSaved) {
    MarkSaved();
  } else {
    Settle();
  }
  replacement_.clear();
}

void EditHistory::ModuleLeft(const Module& module) {
  snapshots_.ModuleLeft(module);
  gestures_ = 0;  // a control that goes in the middle of a gesture does not end it
}

bool EditHistory::ReplacePlaceholders(const ModuleIdentity& identity) {
  Settle();
  const RackSnapshot whole = snapshots_.Take(present_);
  RackSnapshot others = whole;
  std::set<int> replaced;
  std::erase_if(others.modules, [&](const RackSnapshot::Entry& entry) {
    const PresetModule& record = entry.record->preset;
    const bool isOne = ModuleIdentity{record.name, record.vendor} == identity;
    if (isOne) replaced.insert(entry.id);
    return isOne;
  });
  std::erase_if(others.cables, [&](const RackSnapshot::Cable& cable) {
    return replaced.contains(cable.fromModule) || replaced.contains(cable.toModule);
  });
  const PlaceholderPlans former = editor_.Placeholders();
  PlaceholderPlans remaining = former;
  remaining.erase(identity);
  const PatchEdit edit(editor_);
  snapshots_.Restore(whole, others);
  editor_.UsePlaceholders(remaining);
  const bool complete = snapshots_.Restore(others, whole);
  if (complete) {
    for (std::deque<Step>* steps : {&done_, &undone_}) {
      for (Step& step : *steps) {
        step.fileBefore.placeholders.erase(identity);
        step.fileAfter.placeholders.erase(identity);
      }
    }
  } else {
    snapshots_.Restore(snapshots_.Take(whole), others);
    editor_.UsePlaceholders(former);
    snapshots_.Restore(others, whole);
  }
  present_ = snapshots_.Take(whole);
  file_ = FileNow();
  edited_ = false;
  return complete;
}

bool EditHistory::IsBusy() const {
  return gestures_ > 0 || editor_.cables.isDraggingCable ||
         (editor_.Window() && editor_.Window()->IsDragging());
}

RackSnapshot EditHistory::Begin(const RackSnapshot& now) const {
  RackSnapshot before = present_;
  if (touchedAll_) return before;
  for (RackSnapshot::Entry& entry : before.modules) {
    const ModuleRecord* present = now.Find(entry.id);
    if (!present || present == entry.record.get() || touched_.contains(entry.id)) continue;
    // Its controls were moved by the host or by another module; the rest only the user changes.
    ModuleRecord drifted = *entry.record;
    drifted.preset.data = present->preset.data;
    drifted.ownData = present->ownData;
    drifted.revision = present->revision;
    drifted.values = present->values;
    entry.record = std::make_shared<const ModuleRecord>(std::move(drifted));
  }
  return before;
}

void EditHistory::Settle() {
  if (!edited_ || IsBusy() || !editor_.Window()) return;
  edited_ = false;
  RackSnapshot now = snapshots_.Take(present_);
  RackSnapshot before = Begin(now);
  ForgetTouched();
  if (before == now) {
    present_ = std::move(now);
    file_ = FileNow();
    return;
  }
  Record(std::move(before), std::move(now));
}

bool EditHistory::JoinsLast(const RackSnapshot& before, const RackSnapshot& now) const {
  if (done_.empty() || !undone_.empty() || !replacement_.empty()) return false;
  const Step& last = done_.back();
  if (last.loads || !IsChanged() || Now() - last.time > kJoinSeconds) return false;
  const Difference first = Compare(last.before, last.after);
  const Difference second = Compare(before, now);
  std::size_t firstControl = 0, secondControl = 0;
  const bool isOfSameModules =
      !first.changedIds.empty() && first.changedIds == second.changedIds && first.added.empty() &&
      second.added.empty() && first.removed.empty() && second.removed.empty() &&
      first.newCables + first.lostCables == 0 && second.newCables + second.lostCables == 0;
  if (!isOfSameModules) return false;
  if (AreMoves(first) && AreMoves(second)) return true;
  return first.changedIds.size() == 1 &&
         DifferInOneControl(*first.changed[0].first, *first.changed[0].second, &firstControl) &&
         DifferInOneControl(*second.changed[0].first, *second.changed[0].second, &secondControl) &&
         firstControl == secondControl;
}

void EditHistory::Record(RackSnapshot before, RackSnapshot now) {
  const bool joins = JoinsLast(before, now);
  ForgetUndone();
  present_ = now;
  Step step;
  if (joins) {
    step = std::move(done_.back());
    done_.pop_back();
    bytes_ -= step.bytes;
    KeepRecords(before, step.before, Compare(before, now).changedIds);
    step.before = std::move(before);
  } else {
    step.before = std::move(before);
    step.fileBefore = file_;
    step.stateBefore = state_;
  }
  step.after = std::move(now);
  step.loads = !replacement_.empty();
  step.name = step.loads ? replacement_ : DescribeStep(step.before, step.after);
  step.fileAfter = file_ = FileNow();
  step.stateAfter = state_ = ++lastState_;
  step.time = Now();
  step.bytes = step.after.BytesBeside(step.before);
  // What the rack holds anyway counts for no step.
  step.bytes += step.before.BytesBeside(done_.empty() ? step.after : done_.back().after);
  bytes_ += step.bytes;
  done_.push_back(std::move(step));
  Trim();
}

void EditHistory::ForgetUndone() {
  for (const Step& step : undone_) bytes_ -= step.bytes;
  undone_.clear();
}

void EditHistory::Trim() {
  // The last step stays, however large it is.
  while (done_.size() > kMostSteps || (bytes_ > kMostBytes && done_.size() > 1)) {
    bytes_ -= done_.front().bytes;
    done_.pop_front();
  }
}

void EditHistory::Undo() {
  Settle();
  if (CanUndo() && !IsBusy()) Move(done_, undone_, true);
}

void EditHistory::Redo() {
  Settle();
  if (CanRedo() && !IsBusy()) Move(undone_, done_, false);
}

void EditHistory::Move(std::deque<Step>& from, std::deque<Step>& to, bool back) {
  Step step = std::move(from.back());
  from.pop_back();
  const RackSnapshot& goal = back ? step.before : step.after;
  const File& file = back ? step.fileBefore : step.fileAfter;
  editor_.UsePlaceholders(file.placeholders);
  if (!snapshots_.Restore(back ? step.after : step.before, goal)) {
    editor_.ShowDialog({"Undo", "Not every module could be made again", 400});
  }
  if (step.loads) {
    editor_.presetPath = file.path;
    editor_.presetFromChunk = file.fromChunk;
    editor_.UpdatePresetDisplay(false);
  }
  present_ = snapshots_.Take(goal);
  file_ = FileNow();
  edited_ = false;
  ForgetTouched();
  state_ = back ? step.stateBefore : step.stateAfter;
  to.push_back(std::move(step));
}

}  // namespace halveron
