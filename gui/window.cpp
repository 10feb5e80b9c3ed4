#include "gui/window.h"

// The headers do not declare their C linkage themselves.
extern "C" {
#include <pugl/pugl.h>
#include <pugl/stub.h>
}

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <utility>

namespace halveron {

namespace {

constexpr std::uintptr_t kWakeTimer = 0;
constexpr double kDoubleClickSeconds = 0.4;
constexpr CCoord kDoubleClickPixels = 5;

CVirtualKey KeyOf(std::uint32_t key) {
  switch (key) {
    case PUGL_KEY_BACKSPACE:
      return kKeyBack;
    case '\t':
      return kKeyTab;
    case '\r':
    case '\n':
      return kKeyReturn;
    case PUGL_KEY_ESCAPE:
      return kKeyEscape;
    case ' ':
      return kKeySpace;
    case PUGL_KEY_END:
      return kKeyEnd;
    case PUGL_KEY_HOME:
      return kKeyHome;
    case PUGL_KEY_LEFT:
      return kKeyLeft;
    case PUGL_KEY_UP:
      return kKeyUp;
    case PUGL_KEY_RIGHT:
      return kKeyRight;
    case PUGL_KEY_DOWN:
      return kKeyDown;
    case PUGL_KEY_PAGE_UP:
      return kKeyPageUp;
    case PUGL_KEY_PAGE_DOWN:
      return kKeyPageDown;
    case PUGL_KEY_INSERT:
      return kKeyInsert;
    case PUGL_KEY_DELETE:
      return kKeyDelete;
    default:
      break;
  }
  if (key < PUGL_KEY_F1 || key > PUGL_KEY_F12) return kKeyNone;
  return static_cast<CVirtualKey>(kKeyF1 + static_cast<int>(key - PUGL_KEY_F1));
}

int ModifierBits(PuglMods mods) {
  return ((mods & PUGL_MOD_SHIFT) ? kShift : 0) | ((mods & PUGL_MOD_CTRL) ? kControl : 0) |
         ((mods & PUGL_MOD_ALT) ? kAlt : 0);
}

int ButtonBit(std::uint32_t button) {
  constexpr int kBits[] = {kLButton, kRButton, kMButton};
  return button < std::size(kBits) ? kBits[button] : 0;
}

PuglCursor CursorOf(CCursorType type) {
  switch (type) {
    case kCursorText:
      return PUGL_CURSOR_CARET;
    case kCursorCrosshair:
      return PUGL_CURSOR_CROSSHAIR;
    case kCursorHand:
      return PUGL_CURSOR_HAND;
    case kCursorNotAllowed:
      return PUGL_CURSOR_NO;
    case kCursorHSize:
      return PUGL_CURSOR_LEFT_RIGHT;
    case kCursorVSize:
      return PUGL_CURSOR_UP_DOWN;
    default:
      return PUGL_CURSOR_ARROW;
  }
}

const char* XNameOf(CVirtualKey key) {
  switch (key) {
    case kKeyTab:
      return "Tab";
    case kKeyPageUp:
      return "Prior";
    case kKeyPageDown:
      return "Next";
    case kKeyReturn:
      return "Return";
    case kKeyDelete:
      return "Delete";
    default:
      break;
  }
  constexpr const char* kFunctionKeys[] = {"F1", "F2", "F3", "F4",  "F5",  "F6",
                                           "F7", "F8", "F9", "F10", "F11", "F12"};
  const int number = key - kKeyF1;
  return number >= 0 && number < 12 ? kFunctionKeys[number] : "";
}

std::vector<platform::KeyChord> ChordsOf(const std::vector<Shortcut>& shortcuts) {
  std::vector<platform::KeyChord> chords;
  for (const Shortcut& shortcut : shortcuts) {
    platform::KeyChord chord;
    chord.shift = (shortcut.modifiers & kShift) != 0;
    chord.control = (shortcut.modifiers & kControl) != 0;
    chord.alt = (shortcut.modifiers & kAlt) != 0;
    if (shortcut.character == 0) {
      chord.key = XNameOf(shortcut.key);
    } else {
      chord.key = static_cast<char>(std::tolower(static_cast<unsigned char>(shortcut.character)));
    }
    chords.push_back(chord);
    if (!shortcut.IsSign()) continue;
    // Which signs need Shift depends on the keyboard.
    std::vector<std::string> keys{chord.key};
    if (shortcut.character == '+') keys.emplace_back("KP_Add");
    if (shortcut.character == '-') keys.emplace_back("KP_Subtract");
    for (const std::string& key : keys) {
      for (const bool shift : {false, true})
        chords.push_back({key, shift, chord.control, chord.alt});
    }
  }
  return chords;
}

std::string NoDisplayError() {
  const char* const name = std::getenv("DISPLAY");
  if (!name || !*name) return "there is no X display to open a window on; set DISPLAY";
  return "the X display \"" + std::string(name) +
         "\" does not answer; set DISPLAY to one that runs and that you may use";
}

}  // namespace

/// Turns the window library's events into the frame's.
struct Window::Translator {
  static PuglStatus OnEvent(PuglView* view, const PuglEvent* event) {
    auto& window = *static_cast<Window*>(puglGetHandle(view));
    // Exceptions must not pass through the C library.
    try {
      Handle(window, *event);
    } catch (...) {
      window.failure_ = std::current_exception();
    }
    return PUGL_SUCCESS;
  }

  static void Handle(Window& window, const PuglEvent& event) {
    switch (event.type) {
      case PUGL_EXPOSE:
        return Expose(window, event.expose);
      case PUGL_CONFIGURE:
        return Configure(window, event.configure);
      case PUGL_FOCUS_OUT:
        if (event.focus.mode == PUGL_CROSSING_NORMAL) window.frame_.onKeyboardLost();
        return;
      case PUGL_CLOSE:
        window.closeRequested_ = true;
        return;
      case PUGL_BUTTON_PRESS:
        return Press(window, event.button);
      case PUGL_BUTTON_RELEASE:
        return Release(window, event.button);
      case PUGL_MOTION:
        return Move(window, event.motion);
      case PUGL_POINTER_OUT:
        return Leave(window, event.crossing);
      case PUGL_SCROLL:
        return Scroll(window, event.scroll);
      case PUGL_KEY_PRESS:
        return KeyPress(window, event.key);
      case PUGL_KEY_RELEASE:
        return KeyRelease(window, event.key);
      case PUGL_TEXT:
        return Text(window, event.text);
      default:
        return;
    }
  }

  static void Configure(Window& window, const PuglConfigureEvent& event) {
    int width = event.width;
    int height = event.height;
    // The event may report a size that another request has replaced since, which must not come
    // back.
    platform::GetWindowSize(window.Native(), width, height);
    const CPoint size(width, height);
    if (!window.picture_ || size == window.size_ || size.x < 1 || size.y < 1) return;
    window.size_ = size;
    window.frame_.onWindowResized(size);
  }

  static void Expose(Window& window, const PuglExposeEvent& event) {
    window.surface_->Copy(window.picture_->getSurface(), event.x, event.y, event.width,
                          event.height);
    // Where nothing moves, no later paint brings it to the screen.
    window.surface_->Flush();
  }

  static void Press(Window& window, const PuglButtonEvent& event) {
    const int bit = ButtonBit(event.button);
    if (bit == 0) return;
    window.heldButtons_ |= bit;
    CPoint where(event.x, event.y);
    const CPoint moved = where - window.lastPressPoint_;
    const bool isDouble = window.lastPressButton_ == bit &&
                          event.time - window.lastPressTime_ <= kDoubleClickSeconds &&
                          std::abs(moved.x) <= kDoubleClickPixels &&
                          std::abs(moved.y) <= kDoubleClickPixels;
    // A third press starts over.
    window.lastPressButton_ = isDouble ? 0 : bit;
    window.lastPressTime_ = event.time;
    window.lastPressPoint_ = where;
    // The keyboard may have gone elsewhere since it was asked for.
    window.keyboardAsked_ = false;
    where = window.ToFrame(where.x, where.y);
    // Only the pressed button counts: what handles a press asks which button it was.
    window.frame_.onMouseDown(
        where, CButtonState(bit | ModifierBits(event.state) | (isDouble ? kDoubleClick : 0)));
  }

  static void Release(Window& window, const PuglButtonEvent& event) {
    const int bit = ButtonBit(event.button);
    if (bit == 0) return;
    window.heldButtons_ &= ~bit;
    const CPoint jumped = window.unbounded_.jumped;
    CPoint where = window.ToFrame(event.x + jumped.x, event.y + jumped.y);
    window.frame_.onMouseUp(where, CButtonState(bit | ModifierBits(event.state)));
    if (window.heldButtons_ == 0) window.EndUnbounded();
    // The mouse may have left while a button held it.
    where = window.ToFrame(event.x, event.y);
    if (window.heldButtons_ == 0 && !window.frame_.getViewSize().pointInside(where)) {
      window.frame_.onMouseExited(where, window.Buttons(event.state));
    }
  }

  static void Move(Window& window, const PuglMotionEvent& event) {
    CPoint where(event.x, event.y);
    if (window.unbounded_.active) {
      where = window.FollowUnbounded(where, CPoint(event.xRoot, event.yRoot));
    }
    where = window.ToFrame(where.x, where.y);
    window.frame_.onMouseMoved(where, window.Buttons(event.state));
  }

  static void Leave(Window& window, const PuglCrossingEvent& event) {
    if (event.mode != PUGL_CROSSING_NORMAL || window.heldButtons_ != 0) return;
    CPoint where = window.ToFrame(event.x, event.y);
    window.frame_.onMouseExited(where, window.Buttons(event.state));
  }

  static void Scroll(Window& window, const PuglScrollEvent& event) {
    if (event.dy == 0) return;
    window.frame_.onWheel(window.ToFrame(event.x, event.y), static_cast<float>(event.dy),
                          window.Buttons(event.state));
  }

  static void KeyPress(Window& window, const PuglKeyEvent& event) {
    if (event.key == PUGL_KEY_MENU) {
      window.frame_.onKeyDown({0, kKeyF10, CButtonState(kShift)});
      return;
    }
    const CVirtualKey key = KeyOf(event.key);
    const CButtonState modifiers(ModifierBits(event.state));
    const bool isShortcut = (event.state & (PUGL_MOD_CTRL | PUGL_MOD_ALT)) != 0;
    // Keys that make text arrive again as text events, which are used; so does Space, both a key
    // and a letter.
    if (key == kKeySpace && !isShortcut) return;
    const bool isLetter = event.key >= ' ' && event.key < PUGL_KEY_F1 && key == kKeyNone;
    if (key == kKeyNone && !(isLetter && isShortcut)) return;
    window.frame_.onKeyDown({isLetter ? event.key : 0, key, modifiers});
  }

  static void KeyRelease(Window& window, const PuglKeyEvent& event) {
    const CVirtualKey key = KeyOf(event.key);
    const bool isLetter = event.key >= ' ' && event.key < PUGL_KEY_F1;
    if (key == kKeyNone && !isLetter) return;
    window.frame_.onKeyUp({isLetter ? event.key : 0, key, CButtonState(ModifierBits(event.state))});
  }

  static void Text(Window& window, const PuglTextEvent& event) {
    const bool isControl = event.character < ' ' || event.character == PUGL_KEY_DELETE;
    const int modifiers = ModifierBits(event.state);
    if (isControl || (modifiers & kControl) || (modifiers & kAlt)) return;
    window.frame_.onKeyDown({event.character, KeyOf(event.character), CButtonState(modifiers)});
  }
};

std::unique_ptr<Window> Window::Open(CFrame& frame, void* parent, const char* title,
                                     std::string& error) {
  std::unique_ptr<Window> window(new Window(frame, parent != nullptr));
  return window->Create(parent, title, error) ? std::move(window) : nullptr;
}

bool Window::Create(void* parent, const char* title, std::string& error) {
  world_ = puglNewWorld(PUGL_MODULE, 0);
  if (!world_) {
    error = NoDisplayError();
    return false;
  }
  void* display = puglGetNativeWorld(world_);
  platform::X11ErrorScope errors(display);
  const auto parentId = reinterpret_cast<std::uintptr_t>(parent);
  if (parent && !platform::WindowExists(display, parentId)) {
    error = "the window to open in does not exist on this display";
    return false;
  }
  puglSetClassName(world_, "Halveron");
  view_ = puglNewView(world_);
  puglSetHandle(view_, this);
  puglSetEventFunc(view_, &Translator::OnEvent);
  puglSetBackend(view_, puglStubBackend());
  puglSetViewHint(view_, PUGL_IGNORE_KEY_REPEAT, PUGL_FALSE);
  puglSetViewHint(view_, PUGL_RESIZABLE, PUGL_TRUE);
  const int width = static_cast<int>(PixelSize().x);
  const int height = static_cast<int>(PixelSize().y);
  puglSetSize(view_, static_cast<unsigned>(width), static_cast<unsigned>(height));
  HintSize(width, height);
  if (parent && platform::HolderWindow::IsNeededIn({display, parentId})) {
    holder_ = std::make_unique<platform::HolderWindow>(platform::X11Window{display, parentId},
                                                       width, height);
  }
  if (parent) puglSetParentWindow(view_, holder_ ? holder_->Id() : parentId);
  if (title) puglSetWindowTitle(view_, title);
  if (puglRealize(view_) != PUGL_SUCCESS || errors.HasFailed()) {
    error = "the display refuses the window";
    return false;
  }
  TakePicture(width, height);
  surface_ = std::make_unique<platform::WindowSurface>(Native(), width, height);
  drops_ = std::make_unique<platform::FileDropTarget>(
      Native(), platform::FileDropTarget::Handler{
                    [this](int x, int y) { return frame_.onDragMove(ToFrame(x, y)); },
                    [this](const std::vector<std::string>& paths, int x, int y) {
                      return frame_.onDrop(paths, ToFrame(x, y));
                    }});
  clipboard_ = platform::DisplayClipboard();
  if (!clipboard_) clipboard_ = platform::PrivateClipboard();
  // Keys that no view wants are the host's.
  if (isEmbedded_) {
    platform::SetKeysWanted(Native(), false);
    platform::GrabKeys(Native(), ChordsOf(frame_.getShortcutsInHosts()));
  }
  puglShow(view_);
  puglUpdate(world_, 0);
  return true;
}

Window::~Window() {
  if (!world_) return;
  const platform::X11ErrorScope errors(puglGetNativeWorld(world_));
  if (view_) SetKeyboardWanted(false);
  drops_.reset();
  surface_.reset();
  if (view_) puglFreeView(view_);
  holder_.reset();
  puglFreeWorld(world_);
}

platform::X11Window Window::Native() const {
  return {puglGetNativeWorld(world_), puglGetNativeView(view_)};
}

void Window::SetTitle(const std::string& title) {
  const platform::X11ErrorScope errors(puglGetNativeWorld(world_));
  puglSetWindowTitle(view_, title.c_str());
}

void* Window::Handle() const { return reinterpret_cast<void*>(puglGetNativeView(view_)); }

int Window::EventDescriptor() {
  if (!wakesItself_) puglStartTimer(view_, kWakeTimer, CFrame::kIdlePeriod);
  wakesItself_ = true;
  return platform::EventDescriptor(puglGetNativeWorld(world_));
}

void Window::WaitForEvents(double seconds) {
  const platform::X11ErrorScope errors(puglGetNativeWorld(world_));
  platform::WaitForEvents(puglGetNativeWorld(world_), seconds);
}

CPoint Window::GetSize() const {
  const platform::X11ErrorScope errors(puglGetNativeWorld(world_));
  int width = 0;
  int height = 0;
  platform::GetWindowSize(Native(), width, height);
  return CPoint(width, height);
}

CPoint Window::PixelSize() const {
  return CPoint(std::max(std::round(frame_.getWidth() * frame_.zoom), 1.0),
                std::max(std::round(frame_.getHeight() * frame_.zoom), 1.0));
}

CPoint Window::ToFrame(double x, double y) const {
  return CPoint(x / frame_.zoom, y / frame_.zoom);
}

void Window::HintSize(int width, int height) {
  constexpr PuglSpan kLargest = 32767;
  const auto w = static_cast<PuglSpan>(width);
  const auto h = static_cast<PuglSpan>(height);
  const bool isResizable = frame_.leastSize.x > 0;
  puglSetSizeHint(view_, PUGL_DEFAULT_SIZE, w, h);
  puglSetSizeHint(view_, PUGL_MIN_SIZE, isResizable ? static_cast<PuglSpan>(frame_.leastSize.x) : w,
                  isResizable ? static_cast<PuglSpan>(frame_.leastSize.y) : h);
  puglSetSizeHint(view_, PUGL_MAX_SIZE, isResizable ? kLargest : w, isResizable ? kLargest : h);
}

void Window::TakePicture(int width, int height) {
  // The window's own picture has whole pixels, which units need not be.
  picture_ = std::make_unique<COffscreenContext>(static_cast<int>(std::ceil(width / frame_.zoom)),
                                                 static_cast<int>(std::ceil(height / frame_.zoom)),
                                                 frame_.zoom);
  size_ = CPoint(width, height);
}

void Window::FollowFrame() {
  const platform::X11ErrorScope errors(puglGetNativeWorld(world_));
  const int width = static_cast<int>(PixelSize().x);
  const int height = static_cast<int>(PixelSize().y);
  HintSize(width, height);
  if (holder_) holder_->Resize(width, height);
  if (GetSize() != CPoint(width, height)) {
    puglSetSize(view_, static_cast<unsigned>(width), static_cast<unsigned>(height));
  }
  TakePicture(width, height);
  surface_->Resize(width, height);
  surface_->Flush();
}

void Window::Hide() {
  const platform::X11ErrorScope errors(puglGetNativeWorld(world_));
  SetKeyboardWanted(false);
  puglHide(view_);
  surface_->Flush();
}

CButtonState Window::Buttons(unsigned modifiers) const {
  return CButtonState(heldButtons_ | ModifierBits(modifiers));
}

void Window::HandleEvents() {
  const platform::X11ErrorScope errors(puglGetNativeWorld(world_));
  drops_->Poll();
  puglUpdate(world_, 0);
  ReceiveClipboard();
  if (failure_) std::rethrow_exception(std::exchange(failure_, nullptr));
}

void Window::Draw() {
  // While the window is hidden, the dirty region is kept.
  if (!frame_.hasDirtyRegion() || !puglGetVisible(view_)) return;
  const platform::X11ErrorScope errors(puglGetNativeWorld(world_));
  const std::vector<CRect> rects = frame_.takeDirtyRegion();
  for (const CRect& dirty : rects) {
    const double zoom = frame_.zoom;
    const CRect pixels(std::floor(dirty.left * zoom), std::floor(dirty.top * zoom),
                       std::ceil(dirty.right * zoom), std::ceil(dirty.bottom * zoom));
    const CRect rect(pixels.left / zoom, pixels.top / zoom, pixels.right / zoom,
                     pixels.bottom / zoom);
    const DrawStateScope scope(*picture_);
    picture_->setClipRect(rect);
    // Where no view draws, nothing of what was drawn before may stay.
    picture_->setFillColor(kBlackCColor);
    picture_->fillRect(rect);
    frame_.drawRect(picture_.get(), rect);
    surface_->Copy(picture_->getSurface(), static_cast<int>(pixels.left),
                   static_cast<int>(pixels.top), static_cast<int>(pixels.getWidth()),
                   static_cast<int>(pixels.getHeight()));
  }
  surface_->Flush();
}

CPoint Window::GetScreenSize() const {
  int width = 0;
  int height = 0;
  platform::GetScreenSize(puglGetNativeWorld(world_), width, height);
  return CPoint(width, height);
}

CPoint Window::FollowUnbounded(const CPoint& where, const CPoint& onScreen) {
  UnboundedDrag& drag = unbounded_;
  if (drag.pending != CPoint()) {
    // Events that the pointer made before it jumped are near where it was then.
    const CPoint fromOld = onScreen - drag.lastOnScreen;
    const CPoint fromNew = fromOld - drag.pending;
    if (std::hypot(fromOld.x, fromOld.y) < std::hypot(fromNew.x, fromNew.y)) {
      return where + drag.jumped;
    }
    drag.jumped = drag.jumped - drag.pending;
    drag.pending = CPoint();
  }
  drag.lastOnScreen = onScreen;
  const CPoint screen = GetScreenSize();
  const auto jump = [](CCoord at, CCoord size) {
    return at <= 0 ? std::floor(size / 2) : at >= size - 1 ? -std::floor(size / 2) : 0.0;
  };
  drag.pending = CPoint(jump(onScreen.x, screen.x), jump(onScreen.y, screen.y));
  if (drag.pending != CPoint()) {
    platform::MovePointer(puglGetNativeWorld(world_), static_cast<int>(drag.pending.x),
                          static_cast<int>(drag.pending.y));
  }
  return where + drag.jumped;
}

void Window::EndUnbounded() {
  const UnboundedDrag ended = std::exchange(unbounded_, {});
  const CPoint back = CPoint() - ended.pending + ended.jumped;
  if (back == CPoint()) return;
  // To where the knob is.
  const platform::X11ErrorScope errors(puglGetNativeWorld(world_));
  platform::PutPointer(Native(), static_cast<int>(lastPressPoint_.x),
                       static_cast<int>(lastPressPoint_.y));
}

void Window::SetCursor(CCursorType type) {
  const platform::X11ErrorScope errors(puglGetNativeWorld(world_));
  puglSetCursor(view_, CursorOf(type));
}

void Window::SetKeyboardWanted(bool wanted) {
  // The window manager handles the keyboard of a free window.
  if (!isEmbedded_ || (wanted == keyboardWanted_ && (!wanted || keyboardAsked_))) return;
  const platform::X11ErrorScope errors(puglGetNativeWorld(world_));
  if (wanted != keyboardWanted_) {
    platform::SetKeysWanted(Native(), wanted);
    keyboardWanted_ = wanted;
    keyboardAsked_ = false;
    if (!wanted) platform::GiveKeyboardBack(Native(), std::exchange(keyboardBefore_, 0));
  }
  if (wanted && !keyboardAsked_ && puglGetVisible(view_)) {
    keyboardAsked_ = true;
    const std::uintptr_t before = platform::TakeKeyboard(Native());
    if (before != 0) keyboardBefore_ = before;
  }
}

void Window::SetClipboardText(std::string_view text) {
  clipboard_->Offer({{platform::kClipboardText, std::string(text)}});
}

void Window::RequestClipboardText(std::function<void(const std::string&)> callback) {
  const std::string type = platform::kClipboardText;
  clipboardCallback_ = std::move(callback);
  clipboardRequest_ = clipboard_->Ask({&type, 1});
}

void Window::ReceiveClipboard() {
  const auto answer = clipboardRequest_ ? clipboardRequest_->Take() : std::nullopt;
  if (!answer) return;
  clipboardRequest_.reset();
  const auto callback = std::exchange(clipboardCallback_, nullptr);
  if (!answer->type.empty() && callback) callback(answer->bytes);
}

}  // namespace halveron
