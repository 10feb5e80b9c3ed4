#include "platform/x11_window.h"

#include <X11/Xlib.h>
#include <X11/keysym.h>
#include <cairo-xlib.h>
#include <poll.h>

#include <atomic>
#include <iterator>
#include <mutex>

namespace halveron::platform {

namespace {

// The handler is one for the whole process, so it is ours only while some scope is alive.
std::mutex handlerMutex;
int scopeCount = 0;
std::atomic<XErrorHandler> former = nullptr;
thread_local X11ErrorScope* innermost = nullptr;

Display* DisplayOf(X11Window window) { return static_cast<Display*>(window.display); }

}  // namespace

struct X11ErrorHandling {
  static int Note(Display* display, XErrorEvent* event) {
    for (X11ErrorScope* scope = innermost; scope; scope = scope->outer_) {
      if (scope->display_ != display) continue;
      scope->failed_ = true;
      return 0;
    }
    const XErrorHandler other = former;
    return other ? other(display, event) : 0;
  }
};

X11ErrorScope::X11ErrorScope(void* display) : display_(display), outer_(innermost) {
  innermost = this;
  const std::lock_guard lock(handlerMutex);
  if (scopeCount++ == 0) former = XSetErrorHandler(&X11ErrorHandling::Note);
}

X11ErrorScope::~X11ErrorScope() {
  innermost = outer_;
  const std::lock_guard lock(handlerMutex);
  if (--scopeCount == 0) XSetErrorHandler(former);
}

bool X11ErrorScope::HasFailed() {
  XSync(static_cast<Display*>(display_), False);
  return failed_;
}

int EventDescriptor(void* display) { return ConnectionNumber(static_cast<Display*>(display)); }

void WaitForEvents(void* display, double seconds) {
  auto* connection = static_cast<Display*>(display);
  if (XPending(connection) > 0) return;
  pollfd wait{ConnectionNumber(connection), POLLIN, 0};
  poll(&wait, 1, static_cast<int>(seconds * 1000));
}

bool GetWindowSize(X11Window window, int& width, int& height) {
  XWindowAttributes attributes{};
  if (!XGetWindowAttributes(DisplayOf(window), window.id, &attributes)) return false;
  width = attributes.width;
  height = attributes.height;
  return true;
}

bool WindowExists(void* display, std::uintptr_t id) {
  int width = 0;
  int height = 0;
  return id != 0 && GetWindowSize({display, id}, width, height);
}

void GetScreenSize(void* display, int& width, int& height) {
  auto* connection = static_cast<Display*>(display);
  width = DisplayWidth(connection, DefaultScreen(connection));
  height = DisplayHeight(connection, DefaultScreen(connection));
}

void MovePointer(void* display, int x, int y) {
  auto* connection = static_cast<Display*>(display);
  XWarpPointer(connection, None, None, 0, 0, 0, 0, x, y);
  XFlush(connection);
}

void PutPointer(X11Window window, int x, int y) {
  XWarpPointer(DisplayOf(window), None, window.id, 0, 0, 0, 0, x, y);
  XFlush(DisplayOf(window));
}

HolderWindow::HolderWindow(X11Window parent, int width, int height)
    : window_{parent.display, 0}, colours_(None) {
  Display* display = DisplayOf(parent);
  const int screen = DefaultScreen(display);
  Visual* visual = DefaultVisual(display, screen);
  XSetWindowAttributes attributes{};
  // The border has to be set, too: by default it is the parent's, of the wrong kind.
  attributes.border_pixel = 0;
  attributes.colormap = colours_ = XCreateColormap(display, parent.id, visual, AllocNone);
  window_.id = XCreateWindow(display, parent.id, 0, 0, static_cast<unsigned>(width),
                             static_cast<unsigned>(height), 0, DefaultDepth(display, screen),
                             InputOutput, visual, CWBorderPixel | CWColormap, &attributes);
  XMapWindow(display, window_.id);
}

HolderWindow::~HolderWindow() {
  XDestroyWindow(DisplayOf(window_), window_.id);
  XFreeColormap(DisplayOf(window_), colours_);
}

bool HolderWindow::IsNeededIn(X11Window parent) {
  XWindowAttributes attributes{};
  if (!XGetWindowAttributes(DisplayOf(parent), parent.id, &attributes)) return false;
  return attributes.depth != DefaultDepth(DisplayOf(parent), DefaultScreen(DisplayOf(parent)));
}

void HolderWindow::Resize(int width, int height) {
  XResizeWindow(DisplayOf(window_), window_.id, static_cast<unsigned>(width),
                static_cast<unsigned>(height));
}

namespace {

/// The modifier bit of a key such as Num Lock; 0 if it is none.
unsigned ModifierOf(Display* display, KeySym symbol) {
  const KeyCode code = XKeysymToKeycode(display, symbol);
  if (code == 0) return 0;
  constexpr int kModifiers = 8;
  XModifierKeymap* map = XGetModifierMapping(display);
  unsigned bit = 0;
  for (int i = 0; i < kModifiers * map->max_keypermod; ++i) {
    if (map->modifiermap[i] == code) bit = 1u << (i / map->max_keypermod);
  }
  XFreeModifiermap(map);
  return bit;
}

KeySym SymbolOf(const std::string& key) {
  return key.size() == 1 ? static_cast<unsigned char>(key[0]) : XStringToKeysym(key.c_str());
}

}  // namespace

void GrabKeys(X11Window window, std::span<const KeyChord> keys) {
  Display* display = DisplayOf(window);
  const unsigned locks[] = {LockMask, ModifierOf(display, XK_Num_Lock),
                            ModifierOf(display, XK_Scroll_Lock)};
  constexpr unsigned kLockStates = 1u << std::size(locks);
  for (const KeyChord& chord : keys) {
    const KeyCode code = XKeysymToKeycode(display, SymbolOf(chord.key));
    if (code == 0) continue;
    const unsigned held = (chord.shift ? ShiftMask : 0u) | (chord.control ? ControlMask : 0u) |
                          (chord.alt ? Mod1Mask : 0u);
    for (unsigned state = 0; state < kLockStates; ++state) {
      unsigned modifiers = held;
      for (std::size_t i = 0; i < std::size(locks); ++i) {
        if ((state >> i & 1u) != 0) modifiers |= locks[i];
      }
      XGrabKey(display, code, modifiers, window.id, False, GrabModeAsync, GrabModeAsync);
    }
  }
}

void SetKeysWanted(X11Window window, bool wanted) {
  XWindowAttributes attributes{};
  if (!XGetWindowAttributes(DisplayOf(window), window.id, &attributes)) return;
  constexpr long kKeys = KeyPressMask | KeyReleaseMask;
  const long others = attributes.your_event_mask & ~kKeys;
  XSelectInput(DisplayOf(window), window.id, wanted ? others | kKeys : others);
}

std::uintptr_t TakeKeyboard(X11Window window) {
  XWindowAttributes attributes{};
  if (!XGetWindowAttributes(DisplayOf(window), window.id, &attributes)) return 0;
  if (attributes.map_state != IsViewable) return 0;
  Window before = None;
  int revert = 0;
  XGetInputFocus(DisplayOf(window), &before, &revert);
  if (before != window.id) {
    XSetInputFocus(DisplayOf(window), window.id, RevertToParent, CurrentTime);
  }
  // The pseudo window for "wherever the mouse is" is restored as any other.
  return before == window.id ? 0 : before;
}

void GiveKeyboardBack(X11Window window, std::uintptr_t to) {
  Window holder = None;
  int revert = 0;
  XGetInputFocus(DisplayOf(window), &holder, &revert);
  if (holder != window.id || to == None) return;
  if (to == PointerRoot || WindowExists(window.display, to)) {
    XSetInputFocus(DisplayOf(window), to, RevertToParent, CurrentTime);
  }
}

WindowSurface::WindowSurface(X11Window window, int width, int height) : window_(window) {
  XWindowAttributes attributes{};
  XGetWindowAttributes(DisplayOf(window), window.id, &attributes);
  surface_ =
      cairo_xlib_surface_create(DisplayOf(window), window.id, attributes.visual, width, height);
}

WindowSurface::~WindowSurface() {
  // Copies that the server has not confirmed are forgotten, and leak, unless they are looked
  // through once more, as happens when room for another picture is taken.
  XSync(DisplayOf(window_), False);
  constexpr int kLargeEnough = 256;
  cairo_surface_destroy(
      cairo_surface_create_similar_image(surface_, CAIRO_FORMAT_RGB24, kLargeEnough, kLargeEnough));
  cairo_device_t* device = cairo_device_reference(cairo_surface_get_device(surface_));
  cairo_surface_destroy(surface_);
  cairo_device_finish(device);
  cairo_device_destroy(device);
}

void WindowSurface::Resize(int width, int height) {
  cairo_xlib_surface_set_size(surface_, width, height);
}

void WindowSurface::Copy(cairo_surface_t* picture, int x, int y, int width, int height) {
  // The same pixels without their alpha are laid out as the window's are and go there as they
  // stand.
  cairo_surface_flush(picture);
  cairo_surface_t* opaque = cairo_image_surface_create_for_data(
      cairo_image_surface_get_data(picture), CAIRO_FORMAT_RGB24,
      cairo_image_surface_get_width(picture), cairo_image_surface_get_height(picture),
      cairo_image_surface_get_stride(picture));
  cairo_t* cairo = cairo_create(surface_);
  cairo_set_operator(cairo, CAIRO_OPERATOR_SOURCE);
  cairo_set_source_surface(cairo, opaque, 0, 0);
  cairo_rectangle(cairo, x, y, width, height);
  cairo_fill(cairo);
  cairo_destroy(cairo);
  cairo_surface_destroy(opaque);
}

void WindowSurface::Flush() {
  cairo_surface_flush(surface_);
  XFlush(DisplayOf(window_));
}

}  // namespace halveron::platform
