#pragma once

#include <atomic>
#include <cstring>
#include <utility>

namespace halveron {

/// Answers of CBaseObject::notify.
enum CMessageResult : int { kMessageUnknown = 0, kMessageNotified = 1 };

/// Reference counted base of everything that views share: views, bitmaps, fonts.
///
/// An object is born with one reference, which belongs to whoever made it. The call of `forget`
/// that takes the count to 0 deletes the object. Counting is safe from any thread; nothing else is.
class CBaseObject {
 public:
  CBaseObject() = default;
  virtual ~CBaseObject() = default;
  CBaseObject(const CBaseObject&) = delete;
  CBaseObject& operator=(const CBaseObject&) = delete;

  void remember() { references.fetch_add(1, std::memory_order_relaxed); }
  void forget() {
    if (references.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
  }
  int getNbReference() const { return references.load(std::memory_order_relaxed); }

  /// True for the name of the object's class and of each of its bases.
  virtual bool isTypeOf(const char* name) const { return std::strcmp(name, "CBaseObject") == 0; }

  /// Takes a message, compared by its text; timers call this with themselves as sender.
  /// Returns a CMessageResult.
  virtual int notify(CBaseObject* /*sender*/, const char* /*message*/) { return kMessageUnknown; }

 private:
  std::atomic<int> references{1};
};

/// Stands in the public part of a class and makes it answer `isTypeOf` to its own name.
#define HALVERON_TYPE_OF(Class, Base)                              \
  bool isTypeOf(const char* name) const override {                 \
    return std::strcmp(name, #Class) == 0 || Base::isTypeOf(name); \
  }

/// Holds one reference to a CBaseObject for as long as it lives.
template <class T>
class SharedPointer {
 public:
  SharedPointer() = default;
  /// Adds a reference of its own. Null is allowed.
  SharedPointer(T* object) : pointer(object) {
    if (pointer) pointer->remember();
  }
  SharedPointer(const SharedPointer& other) : SharedPointer(other.pointer) {}
  SharedPointer(SharedPointer&& other) noexcept : pointer(std::exchange(other.pointer, nullptr)) {}
  ~SharedPointer() {
    if (pointer) pointer->forget();
  }
  SharedPointer& operator=(SharedPointer other) noexcept {
    std::swap(pointer, other.pointer);
    return *this;
  }

  /// Takes over the reference that the caller holds, as of an object fresh from `new`.
  static SharedPointer Adopt(T* object) {
    SharedPointer result;
    result.pointer = object;
    return result;
  }

  T* get() const { return pointer; }
  T* operator->() const { return pointer; }
  T& operator*() const { return *pointer; }
  operator T*() const { return pointer; }
  explicit operator bool() const { return pointer != nullptr; }

 private:
  T* pointer = nullptr;
};

}  // namespace halveron
