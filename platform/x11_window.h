// What a window needs of X11 beyond the window library: error handling, keyboard focus, pictures.
#pragma once

#include <cstdint>
#include <span>
#include <string>

typedef struct _cairo_surface cairo_surface_t;

namespace halveron::platform {

/// A window of a connection to an X server. The connection stays its owner's.
struct X11Window {
  void* display = nullptr;  ///< the library's `Display*`
  std::uintptr_t id = 0;
};

/// While alive, errors that arrive for one connection on this thread are noted instead of ending
/// the process, which is what happens by default. A host may destroy our parent at any time, so
/// all reads from the connection are within such a scope.
class X11ErrorScope {
 public:
  explicit X11ErrorScope(void* display);
  ~X11ErrorScope();
  X11ErrorScope(const X11ErrorScope&) = delete;
  X11ErrorScope& operator=(const X11ErrorScope&) = delete;

  /// Waits for the server to have done all that was asked so far; true if an error came since the
  /// scope began.
  bool HasFailed();

 private:
  friend struct X11ErrorHandling;
  void* display_;
  X11ErrorScope* outer_;
  bool failed_ = false;
};

/// Errors of a connection are ignored until it is closed. Unlike an X11ErrorScope, this leaves the
/// process's handler alone, which belongs to the host while none of its calls is under way.
void IgnoreErrors(void* display);

/// The connection's file descriptor.
int EventDescriptor(void* display);
/// Waits until events have come, `seconds` at most.
void WaitForEvents(void* display, double seconds);

/// True, with width and height in pixels, if the window exists.
bool GetWindowSize(X11Window window, int& width, int& height);
/// True if a window of that id exists at the server of the connection.
bool WindowExists(void* display, std::uintptr_t id);

/// Size in pixels of the connection's screen.
void GetScreenSize(void* display, int& width, int& height);
/// Moves the pointer by a distance in pixels.
void MovePointer(void* display, int x, int y);
/// Moves the pointer to a point of a window.
void PutPointer(X11Window window, int x, int y);

/// A window between a parent whose pixels are of another kind than the screen's (with alpha, say)
/// and a child that can only be of the screen's. It is on the screen as long as the parent is.
class HolderWindow {
 public:
  HolderWindow(X11Window parent, int width, int height);
  ~HolderWindow();
  HolderWindow(const HolderWindow&) = delete;
  HolderWindow& operator=(const HolderWindow&) = delete;

  /// True if the window cannot be the direct parent of a child of the screen's kind.
  static bool IsNeededIn(X11Window parent);

  std::uintptr_t Id() const { return window_.id; }
  void Resize(int width, int height);

 private:
  X11Window window_;
  unsigned long colours_;
};

/// A key with modifiers held.
struct KeyChord {
  std::string key;  ///< a Latin-1 character, letters in small, or a name of X11's such as "Prior"
  bool shift = false, control = false, alt = false;
};
/// Has keys come to the window although another one has the keyboard: while the pointer is over it
/// and a window around it has the keyboard. Whether Caps Lock, Num Lock and Scroll Lock are on
/// makes no difference. Keys that the keyboard does not have, or that another program has taken
/// there, are left out. Ends with the window.
void GrabKeys(X11Window window, std::span<const KeyChord> keys);

/// Whether key events come to the window, or pass by to its parent.
void SetKeysWanted(X11Window window, bool wanted);
/// Asks for the keyboard, and returns the window that had it before, 0 for none. Nothing happens
/// while the window is not on the screen.
std::uintptr_t TakeKeyboard(X11Window window);
/// Gives the keyboard to another window, if this one has it and the other one exists.
void GiveKeyboardBack(X11Window window, std::uintptr_t to);

/// A window's pixels, to copy pictures to. One at a time for a connection.
class WindowSurface {
 public:
  /// The size may differ from the window's; what does not fit is cut.
  WindowSurface(X11Window window, int width, int height);
  ~WindowSurface();
  WindowSurface(const WindowSurface&) = delete;
  WindowSurface& operator=(const WindowSurface&) = delete;

  void Resize(int width, int height);
  /// Copies a rectangle of a picture, an image with alpha, to the same place of the window.
  void Copy(cairo_surface_t* picture, int x, int y, int width, int height);
  /// Sends what was copied.
  void Flush();

 private:
  X11Window window_;
  cairo_surface_t* surface_;
};

}  // namespace halveron::platform
