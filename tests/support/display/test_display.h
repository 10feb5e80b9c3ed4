// A display of the tests' own, with a mouse and a keyboard that send real events.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace halveron {

/// An Xvfb server, 1280 by 1024, without a window manager. Coordinates are the screen's unless a
/// window is named. Everything happens at the server when a call returns; the program under test
/// still has to read its events.
class TestDisplay {
 public:
  using WindowId = std::uintptr_t;

  /// The process's one display, started at the first call, named by DISPLAY from then on, and ended
  /// with the process. Null, with the cause in `why`, where it cannot be had.
  static TestDisplay* Get(std::string& why);
  ~TestDisplay();
  TestDisplay(const TestDisplay&) = delete;
  TestDisplay& operator=(const TestDisplay&) = delete;

  void MoveMouse(int x, int y);
  /// Buttons are 1 left, 2 middle, 3 right, 4 wheel up, 5 wheel down.
  void Press(int button = 1);
  void Release(int button = 1);
  void Click(int x, int y, int button = 1);
  /// By the key's name in X11 ("Return", "a", "Control_L").
  void PressKey(const char* name);
  void ReleaseKey(const char* name);
  void TypeKey(const char* name);
  /// A key with Ctrl, Shift or Alt held, as "Ctrl+Shift+s".
  void TypeChord(const std::string& chord);
  /// The names of the keys, modifiers left out, whose presses the window has got since the last
  /// call; the first call, which begins to count, answers with none.
  std::vector<std::string> TakeKeys(WindowId window);
  /// Small letters, digits and blanks.
  void TypeText(const std::string& text);

  /// A window of the kind that a host makes for a plug-in, on the screen when the call returns.
  /// With alpha it has a channel for that, as the windows of some hosts do; 0 if there are none
  /// such.
  WindowId MakeWindow(int x, int y, int width, int height, bool hasAlpha = false);
  void DestroyWindow(WindowId window);
  /// True if the window is there, with its place and size if these are wanted.
  bool GetGeometry(WindowId window, int* x = nullptr, int* y = nullptr, int* width = nullptr,
                   int* height = nullptr);
  /// As a user who drags its border.
  void ResizeWindow(WindowId window, int width, int height);
  std::vector<WindowId> ChildrenOf(WindowId window);
  /// The free window whose title ends so, 0 if there is none.
  WindowId FindByTitle(const std::string& title);
  std::string TitleOf(WindowId window);
  WindowId FocusedWindow();
  void SetFocus(WindowId window);
  /// Asks the window to close, as a window manager does.
  void AskToClose(WindowId window);
  /// A pixel as 0xRRGGBB.
  std::uint32_t PixelAt(WindowId window, int x, int y);
  /// Gives the pixel in the upper left corner another colour, which is returned, and asks the
  /// program to paint it again: once it has, it has read all events that were sent before.
  std::uint32_t MarkPixel(WindowId window);
  /// The pixels of a part of a window, row by row; empty if it does not lie within the screen.
  std::vector<std::uint32_t> PixelsOf(WindowId window, int x, int y, int width, int height);

  /// What other programs do, which takes turns with the program under test: `pump` runs that once.
  using Pump = std::function<void()>;
  /// Puts text on the clipboard, and gives it to programs that ask for it while `pump` is called
  /// until `done`.
  bool OfferClipboard(const std::string& text, const Pump& pump, const std::function<bool()>& done);
  /// The clipboard's text, empty if there is no answer.
  std::string ReadClipboard(const Pump& pump);
  /// Drags files onto a point of a window and lets them go. True if they were taken.
  bool DropFiles(WindowId window, int x, int y, const std::string& uriList, const Pump& pump);

  /// Calls `pump` until `done`, for two seconds at most; what `done` says at the end.
  static bool PumpUntil(const Pump& pump, const std::function<bool()>& done);

 private:
  struct State;
  explicit TestDisplay(std::unique_ptr<State> state);
  std::unique_ptr<State> state_;
};

/// Goes first in a test that needs a display: skips it with a message where there is none.
#define HALVERON_NEEDS_DISPLAY(display)                        \
  std::string display##Why;                                    \
  TestDisplay* const display = TestDisplay::Get(display##Why); \
  if (!display) GTEST_SKIP() << "no display: " << display##Why

}  // namespace halveron
