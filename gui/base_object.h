#pragma once

#include <cstring>
#include <utility>

namespace halveron {

/// Answers of CBaseObject::notify.
enum CMessageResult : int { kMessageUnknown = 0, kMessageNotified = 1 };

/// Reference counted base of everything that views share: views, bitmaps, fonts.
///
/// An object starts with one reference, which its maker owns. The call of `forget`
/// that takes the count to 0 deletes the object. Counting is safe from any thread; nothing else is.
class CBaseObject {
 public:
  CBaseObject() = default;
  virtual ~CBaseObject() = default;
  CBaseObject(const CBaseObject&) = delete;
  CBaseObject& operator=(const CBaseObject&) = delete;

  void remember();
  void forget();
  int getNbReference() const;

  /// True for the name of the object's class and of each of its bases.
  virtual bool isTypeOf(const char* name) const { return std::strcmp(name, "CBaseObject") == 0; }

  /// Takes a message, compared by its text; timers call this with themselves as sender.
  /// Returns a CMessageResult.
  virtual int notify(CBaseObject* /*sender*/, const char* /*message*/) { return kMessageUnknown; }

 private:
  mutable int references = 1;  // touched through std::atomic_ref only
};

/// For the public part of a class: makes `isTypeOf` answer true for its name.
#define HALVERON_TYPE_OF(Class, Base)                              \
  bool isTypeOf(const char* name) const override {                 \
    return std::strcmp(name, #Class) == 0 || Base::isTypeOf(name); \
  }

/// Holds one reference to a CBaseObject for as long as it lives.
template <class T>
class SharedPointer {
 public:
  SharedPointer() = default;
  /// Adds its own reference. Null is allowed.
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
