// Calls at regular intervals on the interface thread.
#pragma once

#include <functional>

#include "gui/base_object.h"

namespace halveron {

class CFrame;

/// Fires again and again while it runs, from within its frame's idle call; so never on a thread of
/// its own, never while the frame is not driven, and at most once per idle call however late that
/// comes.
///
/// The owner of a timer stops or forgets it before what it calls is deleted. Once its frame has
/// gone it never fires.
class CVSTGUITimer : public CBaseObject {
 public:
  /// The message that `notify` of the listener gets, with the timer as its sender.
  static constexpr char kMsgTimer[] = "timer fired";

  /// Does not run until `start`. The period is in milliseconds, at least 1.
  CVSTGUITimer(CFrame* frame, CBaseObject* listener, int fireTime = 100);
  CVSTGUITimer(CFrame* frame, std::function<void(CVSTGUITimer*)> callback, int fireTime = 100);
  ~CVSTGUITimer() override;

  /// Begins a period; a timer that runs already keeps its own. True if it runs.
  virtual bool start();
  /// True if it ran.
  virtual bool stop();
  bool isRunning() const { return running; }
  /// A running timer begins a new period.
  virtual bool setFireTime(int milliseconds);
  int getFireTime() const { return fireTime; }

  HALVERON_TYPE_OF(CVSTGUITimer, CBaseObject)

 protected:
  /// Notifies the listener or calls the callback.
  virtual void fire();

 private:
  friend class CFrame;
  void runIfDue(double now);
  void frameGone() { frame = nullptr; }

  CFrame* frame;
  CBaseObject* listener = nullptr;
  std::function<void(CVSTGUITimer*)> callback;
  int fireTime;
  double due = 0;  // seconds of the frame's clock
  bool running = false;
};

}  // namespace halveron
