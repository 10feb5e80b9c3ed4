#include "app/interrupt_watch.h"

#include <csignal>

namespace halveron {

namespace {

volatile std::sig_atomic_t isInterrupted = 0;

}  // namespace

InterruptWatch::InterruptWatch() {
  isInterrupted = 0;
  formerInterrupt_ = std::signal(SIGINT, [](int) { isInterrupted = 1; });
  formerTerminate_ = std::signal(SIGTERM, [](int) { isInterrupted = 1; });
}

InterruptWatch::~InterruptWatch() {
  std::signal(SIGINT, formerInterrupt_);
  std::signal(SIGTERM, formerTerminate_);
}

bool InterruptWatch::IsInterrupted() const { return isInterrupted != 0; }

}  // namespace halveron
