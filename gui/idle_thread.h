// A clock for hosts that offer none.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace halveron {

/// Calls `tick` on its own thread, `period` seconds apart, from its making to its end. The
/// tick must touch no view: it asks the host to call back on the window's thread, where
/// CFrame::idle is then called. For hosts that have neither idle calls nor timers.
class IdleThread {
 public:
  IdleThread(std::function<void()> tick, double period);
  /// Waits for a tick that is under way.
  ~IdleThread();
  IdleThread(const IdleThread&) = delete;
  IdleThread& operator=(const IdleThread&) = delete;

 private:
  std::mutex mutex_;
  std::condition_variable_any wake_;
  std::jthread thread_;
};

}  // namespace halveron
