#include "gui/idle_thread.h"

#include <chrono>
#include <utility>

namespace halveron {

IdleThread::IdleThread(std::function<void()> tick, double period)
    : thread_([this, tick = std::move(tick), period](const std::stop_token& stop) {
        std::unique_lock lock(mutex_);
        const std::chrono::duration<double> pause(period);
        while (!wake_.wait_for(lock, stop, pause, [&stop] { return stop.stop_requested(); })) {
          tick();
        }
      }) {}

IdleThread::~IdleThread() = default;

}  // namespace halveron
