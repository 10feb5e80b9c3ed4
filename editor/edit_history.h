// What the user did to the rack, step by step, to undo and redo it.
#pragma once

#include <atomic>
#include <deque>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "editor/placeholder_module.h"
#include "presets/rack_snapshot.h"

namespace halveron {

class CControl;
class SynEditor;

/// A step is all that changed between two moments at which no gesture is under way: a control
/// turned, a module moved, a cable dropped, a preset loaded. What modules or the host change by
/// themselves meanwhile is not part of it, except in the module that the user moved, and in all of
/// them where a control of it moves others. Belongs to the window thread, but for MarkEdited.
class EditHistory {
 public:
  static constexpr std::size_t kMostSteps = 500;
  /// Of all steps, done and undone.
  static constexpr std::size_t kMostBytes = std::size_t{64} << 20;

  explicit EditHistory(SynEditor& editor);

  /// The rack as it is now is where the next step begins.
  void Follow();
  /// Forgets all steps, for example because the host loaded another rack.
  void Clear();
  /// Records a step if the user changed something since the last one and no gesture is under way.
  void Settle();

  bool CanUndo() const { return !done_.empty(); }
  bool CanRedo() const { return !undone_.empty(); }
  /// What the next call of Undo or Redo is about, such as "Add S310 VCO"; empty if there is
  /// nothing.
  std::string UndoName() const { return done_.empty() ? "" : done_.back().name; }
  std::string RedoName() const { return undone_.empty() ? "" : undone_.back().name; }
  void Undo();
  void Redo();
  std::size_t Steps() const { return done_.size(); }
  /// What all steps hold, done and undone.
  std::size_t Bytes() const { return bytes_; }

  /// Whether the rack differs from its file, or, without one, from the rack that Follow began with.
  bool IsChanged() const;
  void MarkSaved();
  /// The rack has been written to its file.
  void MarkWritten();
  /// Whether the rack is as it was written last, but for what modules do by themselves.
  bool IsAsWritten();
  /// A number for what the rack holds by its steps: equal after an undo, another after a new step.
  int State() const { return state_; }

  // What happens to the rack.

  /// The patch changed in another way than by a control. Any thread.
  void MarkEdited() { edited_ = true; }
  /// The user is about to have a control's new value take effect.
  void ControlMoved(const CControl& control);
  /// The user changed a module in another way than by a control.
  void ModuleEdited(const Module& module);
  void GestureBegan() { ++gestures_; }
  void GestureEnded();
  /// The user has replaced the whole rack. The step has that name, and brings the path of the
  /// rack's file along; `isSaved` tells whether the rack is what that file holds.
  void RackReplaced(const std::string& stepName, bool isSaved = true);
  void ModuleLeft(const Module& module);
  /// Makes real modules in the place of all placeholders of one identity, with what these kept,
  /// which is no step. False, and the rack as it was, if one of them cannot be made.
  bool ReplacePlaceholders(const ModuleIdentity& identity);

 private:
  /// The file that the rack belongs to, and what of it is missing.
  struct File {
    std::string path;
    bool fromChunk = false;
    PlaceholderPlans placeholders{};
  };
  struct Step {
    RackSnapshot before;
    RackSnapshot after;
    std::string name;
    File fileBefore;
    File fileAfter;
    bool loads = false;
    int stateBefore = 0;
    int stateAfter = 0;
    double time = 0.0;  ///< when it ended, in seconds of the frame's clock
    std::size_t bytes = 0;
  };

  struct Written {
    RackSnapshot rack;
    int state = 0;
  };

  bool IsBusy() const;
  double Now() const;
  File FileNow() const;
  void ForgetTouched();
  /// Without what changed by itself: the place where the step that ends now began.
  RackSnapshot Begin(const RackSnapshot& now) const;
  void Record(RackSnapshot before, RackSnapshot now);
  bool JoinsLast(const RackSnapshot& before, const RackSnapshot& now) const;
  void Move(std::deque<Step>& from, std::deque<Step>& to, bool back);
  void ForgetUndone();
  void Trim();

  SynEditor& editor_;
  RackSnapshots snapshots_;
  RackSnapshot present_;  ///< at the end of the last step
  File file_;
  std::deque<Step> done_;
  std::deque<Step> undone_;
  std::size_t bytes_ = 0;
  std::set<int> touched_;  ///< modules that the user changed since
  bool touchedAll_ = false;
  std::string replacement_;  ///< name of the step while the whole rack is replaced
  std::atomic<bool> edited_ = false;
  int gestures_ = 0;
  int state_ = 0;  ///< a number for each state of the rack that steps lead to
  int lastState_ = 0;
  std::map<std::string, int> savedStates_;  ///< by path
  std::optional<Written> written_;
};

/// The name of a step between two racks, for a menu.
std::string DescribeStep(const RackSnapshot& before, const RackSnapshot& after);

}  // namespace halveron
