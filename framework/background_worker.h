// Work of a module that takes longer than a moment: loading, downloading, building tables.
#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <stop_token>
#include <string>
#include <thread>

namespace halveron {

/// Runs one piece of work at a time on a thread of its own, below the priority of others.
///
/// Belongs to one thread, the interface thread. The work polls its stop token; the destructor asks
/// it to stop and waits. So it must never wait for the processing lock, which may be held by
/// whoever removes the module: results go through a Handover, or lie in the work's own memory until
/// IsBusy is false.
class BackgroundWorker {
 public:
  using Work = std::function<void(std::stop_token stop)>;

  BackgroundWorker() = default;
  ~BackgroundWorker() { Stop(); }
  BackgroundWorker(const BackgroundWorker&) = delete;
  BackgroundWorker& operator=(const BackgroundWorker&) = delete;

  /// False while other work runs, and if the system has no thread to give.
  bool Start(Work work);
  /// Asks what runs to stop and, without waiting, has `work` follow it in place of anything else
  /// that was to. False if the system has no thread to give.
  bool Restart(Work work);
  /// Asks what runs to stop, and forgets what was to follow.
  void RequestStop();
  /// The same, and waits for the end.
  void Stop();
  /// While true, work runs or follows. Once false, all that the work wrote is seen.
  bool IsBusy() const { return busy_.load(std::memory_order_acquire); }
  /// What the last work threw, empty if it threw nothing; forgets it.
  std::string TakeError();

 private:
  bool Launch(Work work);
  void Run(Work work, std::stop_token stop);

  std::mutex mutex_;
  std::atomic<bool> busy_ = false;  // stored under the mutex
  std::stop_source stop_;
  Work next_;
  std::string error_;
  std::thread thread_;
};

}  // namespace halveron
