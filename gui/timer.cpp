#include "gui/timer.h"

#include <algorithm>
#include <utility>

#include "gui/frame.h"

namespace halveron {

CVSTGUITimer::CVSTGUITimer(CFrame* frame_, CBaseObject* listener_, int fireTime_)
    : frame(frame_), listener(listener_), fireTime(std::max(fireTime_, 1)) {}

CVSTGUITimer::CVSTGUITimer(CFrame* frame_, std::function<void(CVSTGUITimer*)> callback_,
                           int fireTime_)
    : frame(frame_), callback(std::move(callback_)), fireTime(std::max(fireTime_, 1)) {}

CVSTGUITimer::~CVSTGUITimer() { CVSTGUITimer::stop(); }

bool CVSTGUITimer::start() {
  if (running || !frame) return running;
  running = true;
  due = frame->getTime() + fireTime * 0.001;
  frame->addTimer(this);
  return true;
}

bool CVSTGUITimer::stop() {
  if (!running) return false;
  running = false;
  if (frame) frame->removeTimer(this);
  return true;
}

bool CVSTGUITimer::setFireTime(int milliseconds) {
  fireTime = std::max(milliseconds, 1);
  if (running && frame) due = frame->getTime() + fireTime * 0.001;
  return true;
}

void CVSTGUITimer::fire() {
  if (callback) callback(this);
  if (listener) listener->notify(this, kMsgTimer);
}

void CVSTGUITimer::runIfDue(double now) {
  // Half an idle period early is nearer to the time than the next call would be.
  if (!running || now + CFrame::kIdlePeriod * 0.5 < due) return;
  // Periods follow each other without drift, unless calls came too late to keep up.
  due = std::max(due + fireTime * 0.001, now);
  fire();
}

}  // namespace halveron
