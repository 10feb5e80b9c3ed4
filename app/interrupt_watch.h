// Interrupts of a running command by the user.
#pragma once

namespace halveron {

/// Turns an interrupt or a request to end into a flag while it lives. One at a time.
class InterruptWatch {
 public:
  InterruptWatch();
  ~InterruptWatch();
  InterruptWatch(const InterruptWatch&) = delete;
  InterruptWatch& operator=(const InterruptWatch&) = delete;

  bool IsInterrupted() const;

 private:
  void (*formerInterrupt_)(int);
  void (*formerTerminate_)(int);
};

}  // namespace halveron
