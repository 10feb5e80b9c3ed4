// A timer of a module, which lives while its panel is in a window.
#pragma once

#include <functional>
#include <memory>

namespace halveron {

class CFrame;
class CVSTGUITimer;
class Module;

/// Calls back at regular intervals on the interface thread while it runs and the module stands in a
/// frame. Modules are made before a window opens and outlive it: a timer that was started waits for
/// the frame, and goes on when the next window opens. Member of its module.
///
/// A rack without a window has no interface thread, so nothing that sounds may depend on a timer.
class ModuleTimer {
 public:
  /// The period is in milliseconds, at least 1.
  ModuleTimer(Module& module, int period, std::function<void()> callback);
  ~ModuleTimer();
  ModuleTimer(const ModuleTimer&) = delete;
  ModuleTimer& operator=(const ModuleTimer&) = delete;

  void Start();
  void Stop();
  bool IsStarted() const { return started_; }
  /// A running timer begins a new period.
  void SetPeriod(int period);

 private:
  friend class Module;
  void EnterFrame(CFrame* frame);
  void LeaveFrame();

  Module& module_;
  int period_;
  std::function<void()> callback_;
  std::unique_ptr<CVSTGUITimer, void (*)(CVSTGUITimer*)> timer_;
  bool started_ = false;
};

}  // namespace halveron
