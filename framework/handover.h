// Objects that are made on one thread and used on the audio thread.
#pragma once

#include <atomic>
#include <memory>
#include <utility>

namespace halveron {

/// Hands objects to the audio thread one after another and brings each back for deletion.
///
/// The audio thread never allocates, frees or waits; it goes over to the newest object when it
/// calls Take. Publish and Collect belong to one other thread at a time. An object that was
/// replaced before the audio thread saw it goes at once; one that the audio thread let go of goes
/// with the next Publish or Collect.
template <class T>
class Handover {
 public:
  Handover() = default;
  ~Handover() {
    delete incoming_.load(std::memory_order_acquire);
    delete returned_.load(std::memory_order_acquire);
    delete current_;
  }
  Handover(const Handover&) = delete;
  Handover& operator=(const Handover&) = delete;

  /// Null is handed over like any other: from then on there is no object.
  void Publish(std::unique_ptr<T> object) {
    Collect();
    delete incoming_.exchange(new Parcel{std::move(object)}, std::memory_order_acq_rel);
  }
  /// Deletes what came back. True if something did.
  bool Collect() {
    const std::unique_ptr<Parcel> back(returned_.exchange(nullptr, std::memory_order_acquire));
    return back != nullptr;
  }

  /// Audio thread: goes over to the newest object; true if that is another one than before. While
  /// an earlier object still waits to be collected, the present one stays.
  bool Take() {
    if (!incoming_.load(std::memory_order_relaxed)) return false;
    if (returned_.load(std::memory_order_relaxed)) return false;
    Parcel* const newest = incoming_.exchange(nullptr, std::memory_order_acquire);
    if (!newest) return false;
    if (current_) returned_.store(current_, std::memory_order_release);
    current_ = newest;
    object_ = newest->object.get();
    return true;
  }
  /// Audio thread: the object that was taken last, null if there is none.
  T* Current() const { return object_; }

 private:
  struct Parcel {
    std::unique_ptr<T> object;
  };

  std::atomic<Parcel*> incoming_ = nullptr;
  std::atomic<Parcel*> returned_ = nullptr;
  Parcel* current_ = nullptr;
  T* object_ = nullptr;
};

}  // namespace halveron
