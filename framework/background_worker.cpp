#include "framework/background_worker.h"

#include <exception>
#include <system_error>
#include <utility>

#include "platform/thread_priority.h"

namespace halveron {

bool BackgroundWorker::Start(Work work) { return !IsBusy() && Launch(std::move(work)); }

bool BackgroundWorker::Restart(Work work) {
  std::stop_source stop;
  {
    const std::lock_guard lock(mutex_);
    if (!IsBusy()) return Launch(std::move(work));
    next_ = std::move(work);
    stop = stop_;
  }
  stop.request_stop();
  return true;
}

bool BackgroundWorker::Launch(Work work) {
  if (thread_.joinable()) thread_.join();
  stop_ = {};
  error_.clear();
  busy_.store(true, std::memory_order_relaxed);
  try {
    thread_ = std::thread(&BackgroundWorker::Run, this, std::move(work), stop_.get_token());
  } catch (const std::system_error& failure) {
    error_ = failure.what();
    busy_.store(false, std::memory_order_relaxed);
    return false;
  }
  return true;
}

void BackgroundWorker::Run(Work work, std::stop_token stop) {
  platform::LowerThreadPriority();
  for (;;) {
    std::string error;
    try {
      work(stop);
    } catch (const std::exception& failure) {
      error = failure.what();
    } catch (...) {
      error = "unknown failure";
    }
    work = nullptr;  // what it holds goes before anybody may think that the work is over
    const std::lock_guard lock(mutex_);
    error_ = std::move(error);
    if (!next_) {
      busy_.store(false, std::memory_order_release);
      return;
    }
    work = std::exchange(next_, nullptr);
    stop_ = {};
    stop = stop_.get_token();
  }
}

void BackgroundWorker::RequestStop() {
  std::stop_source stop;
  {
    const std::lock_guard lock(mutex_);
    next_ = nullptr;
    stop = stop_;
  }
  // Outside the lock: the request runs the callbacks that the work has registered.
  stop.request_stop();
}

void BackgroundWorker::Stop() {
  RequestStop();
  if (thread_.joinable()) thread_.join();
}

std::string BackgroundWorker::TakeError() {
  const std::lock_guard lock(mutex_);
  return std::exchange(error_, {});
}

}  // namespace halveron
