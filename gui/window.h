// The window under a frame.
#pragma once

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "gui/draw_context.h"
#include "gui/frame.h"
#include "platform/clipboard.h"
#include "platform/file_drop_target.h"
#include "platform/x11_window.h"

struct PuglViewImpl;
struct PuglWorldImpl;

namespace halveron {

/// A window with its own connection to the display. It keeps a picture of what it shows, into
/// which only what changed is drawn and from which what was covered is brought back.
class Window {
 public:
  /// Null, with the cause in `error`, if it cannot be made. See CFrame::open.
  static std::unique_ptr<Window> Open(CFrame& frame, void* parent, const char* title,
                                      std::string& error);
  ~Window();
  Window(const Window&) = delete;
  Window& operator=(const Window&) = delete;

  void* Handle() const;
  int EventDescriptor();
  void WaitForEvents(double seconds);
  bool IsCloseRequested() const { return closeRequested_; }
  void RefuseClose() { closeRequested_ = false; }
  void SetTitle(const std::string& title);
  CPoint GetSize() const;
  CPoint GetScreenSize() const;
  /// Takes the frame's size and zoom.
  void FollowFrame();
  void Hide();

  /// Takes what has come in and hands it to the frame.
  void HandleEvents();
  /// Draws the frame's dirty region and shows it.
  void Draw();

  /// See CFrame::setDragUnbounded.
  void SetDragUnbounded() { unbounded_.active = heldButtons_ != 0; }
  void SetCursor(CCursorType type);
  /// Whether a view wants the keys.
  void SetKeyboardWanted(bool wanted);
  void SetClipboardText(std::string_view text);
  void RequestClipboardText(std::function<void(const std::string&)> callback);

 private:
  struct Translator;
  friend struct Translator;

  Window(CFrame& frame, bool isEmbedded) : frame_(frame), isEmbedded_(isEmbedded) {}
  bool Create(void* parent, const char* title, std::string& error);
  /// The frame's size in pixels.
  CPoint PixelSize() const;
  void HintSize(int width, int height);
  void TakePicture(int width, int height);
  CPoint ToFrame(double x, double y) const;
  platform::X11Window Native() const;
  CButtonState Buttons(unsigned modifiers) const;
  /// The point of an unbounded drag, for a pointer at `where` in the window and at `onScreen`.
  CPoint FollowUnbounded(const CPoint& where, const CPoint& onScreen);
  void EndUnbounded();
  void ReceiveClipboard();

  CFrame& frame_;
  bool isEmbedded_;
  PuglWorldImpl* world_ = nullptr;
  PuglViewImpl* view_ = nullptr;
  std::unique_ptr<platform::HolderWindow> holder_;  // null unless the parent needs one
  std::unique_ptr<COffscreenContext> picture_;
  std::unique_ptr<platform::WindowSurface> surface_;
  std::unique_ptr<platform::FileDropTarget> drops_;
  std::shared_ptr<platform::Clipboard> clipboard_;
  std::shared_ptr<platform::ClipboardRequest> clipboardRequest_;
  std::function<void(const std::string&)> clipboardCallback_;
  std::exception_ptr failure_;
  std::uintptr_t keyboardBefore_ = 0;
  bool keyboardWanted_ = false;
  bool keyboardAsked_ = false;
  bool wakesItself_ = false;
  bool closeRequested_ = false;
  CPoint size_;  // of the window in pixels, as it was last known
  /// A drag that goes on beyond the screen's edges.
  struct UnboundedDrag {
    bool active = false;
    CPoint jumped;   // from the pointer to the point that the drag has reached
    CPoint pending;  // a jump of which events from before it may still come in
    CPoint lastOnScreen;
  };
  UnboundedDrag unbounded_;
  // What the mouse does, where the window system does not report it.
  int heldButtons_ = 0;
  int lastPressButton_ = 0;
  CPoint lastPressPoint_;
  double lastPressTime_ = -1;
};

}  // namespace halveron
