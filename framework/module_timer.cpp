#include "framework/module_timer.h"

#include <algorithm>
#include <utility>

#include "framework/module.h"
#include "gui/timer.h"

namespace halveron {

ModuleTimer::ModuleTimer(Module& module, int period, std::function<void()> callback)
    : module_(module),
      period_(std::max(period, 1)),
      callback_(std::move(callback)),
      timer_(nullptr, [](CVSTGUITimer* timer) { timer->forget(); }) {
  module_.timers_.push_back(this);
}

ModuleTimer::~ModuleTimer() {
  LeaveFrame();
  std::erase(module_.timers_, this);
}

void ModuleTimer::Start() {
  started_ = true;
  if (timer_) {
    timer_->start();
  } else if (CFrame* frame = module_.getFrame()) {
    EnterFrame(frame);
  }
}

void ModuleTimer::Stop() {
  started_ = false;
  if (timer_) timer_->stop();
}

void ModuleTimer::SetPeriod(int period) {
  period_ = std::max(period, 1);
  if (timer_) timer_->setFireTime(period_);
}

void ModuleTimer::EnterFrame(CFrame* frame) {
  timer_.reset(new CVSTGUITimer(
      frame, [this](CVSTGUITimer*) { callback_(); }, period_));
  if (started_) timer_->start();
}

void ModuleTimer::LeaveFrame() {
  if (timer_) timer_->stop();
  timer_.reset();
}

}  // namespace halveron
