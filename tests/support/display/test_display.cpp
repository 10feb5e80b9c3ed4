#include "tests/support/display/test_display.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <thread>

extern char** environ;

namespace halveron {

namespace {

constexpr auto kPatience = std::chrono::seconds(15);

/// Starts the server and returns its process, with the display's name in `name`; 0 on failure.
pid_t StartServer(std::string& name, std::string& why) {
  int ends[2];
  if (pipe(ends) != 0) return 0;
  const std::string number = std::to_string(ends[1]);
  const char* arguments[] = {"Xvfb",         "-displayfd", number.c_str(), "-screen", "0",
                             "1280x1024x24", "-terminate", "-nolisten",    "tcp",     nullptr};
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addclose(&files, ends[0]);
  // It ends with its last client, also where this process ends badly; nothing of ours is held open.
  for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) {
    posix_spawn_file_actions_addopen(&files, stream, "/dev/null", O_WRONLY, 0);
  }
  pid_t process = 0;
  const int failure =
      posix_spawnp(&process, "Xvfb", &files, nullptr, const_cast<char**>(arguments), environ);
  posix_spawn_file_actions_destroy(&files);
  close(ends[1]);
  // The line comes in pieces, and a server that cannot write all of it ends.
  std::string line;
  for (char letter = 0; !failure && letter != '\n' && read(ends[0], &letter, 1) == 1;) {
    line += letter;
  }
  close(ends[0]);
  if (failure) {
    why = std::string("Xvfb cannot be started: ") + std::strerror(failure) +
          "; install the package xvfb";
    return 0;
  }
  if (line.empty()) {
    why = "Xvfb ended at once";
    waitpid(process, nullptr, 0);
    return 0;
  }
  line.pop_back();
  name = std::string(1, ':').append(line);
  return process;
}

}  // namespace

struct TestDisplay::State {
  ~State() {
    if (display) XCloseDisplay(display);
    if (server == 0) return;
    kill(server, SIGTERM);
    waitpid(server, nullptr, 0);
  }

  Window Root() const { return DefaultRootWindow(display); }
  Atom Named(const char* name) const { return XInternAtom(display, name, False); }

  /// Sends a message with five numbers to a window.
  void Send(Window to, Window about, const char* type, std::array<long, 5> numbers,
            long mask = NoEventMask) {
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = about;
    event.xclient.message_type = Named(type);
    event.xclient.format = 32;
    std::copy(numbers.begin(), numbers.end(), event.xclient.data.l);
    XSendEvent(display, to, False, mask, &event);
    XSync(display, False);
  }

  /// Answers a request for a selection with a text of a type.
  void Answer(const XSelectionRequestEvent& request, const char* type, const std::string& text) {
    const Atom targets = Named("TARGETS");
    const Atom offered = Named(type);
    XSelectionEvent note{};
    note.type = SelectionNotify;
    note.requestor = request.requestor;
    note.selection = request.selection;
    note.target = request.target;
    note.time = request.time;
    note.property = request.property;
    if (request.target == targets) {
      XChangeProperty(display, request.requestor, request.property, XA_ATOM, 32, PropModeReplace,
                      reinterpret_cast<const unsigned char*>(&offered), 1);
    } else if (request.target == offered) {
      XChangeProperty(display, request.requestor, request.property, offered, 8, PropModeReplace,
                      reinterpret_cast<const unsigned char*>(text.data()),
                      static_cast<int>(text.size()));
    } else {
      note.property = None;
    }
    XSendEvent(display, request.requestor, False, NoEventMask, reinterpret_cast<XEvent*>(&note));
    XSync(display, False);
  }

  /// The next event that the helper window got, if there is one.
  bool Next(XEvent& event) {
    if (XPending(display) == 0) return false;
    XNextEvent(display, &event);
    return true;
  }

  std::string ReadText(Window window, Atom property) {
    Atom type = None;
    int format = 0;
    unsigned long count = 0, rest = 0;
    unsigned char* data = nullptr;
    XGetWindowProperty(display, window, property, 0, 1 << 16, True, AnyPropertyType, &type, &format,
                       &count, &rest, &data);
    std::string text =
        data && format == 8 ? std::string(reinterpret_cast<char*>(data), count) : std::string();
    if (data) XFree(data);
    return text;
  }

  Display* display = nullptr;
  Window helper = None;  // what other programs would have
  pid_t server = 0;
};

TestDisplay* TestDisplay::Get(std::string& why) {
  static std::string cause;
  static const std::unique_ptr<TestDisplay> theDisplay = [] {
    auto state = std::make_unique<State>();
    std::string name;
    state->server = StartServer(name, cause);
    if (state->server == 0) return std::unique_ptr<TestDisplay>();
    setenv("DISPLAY", name.c_str(), 1);
    state->display = XOpenDisplay(nullptr);
    if (!state->display) {
      cause = "Xvfb does not answer";
      return std::unique_ptr<TestDisplay>();
    }
    state->helper = XCreateSimpleWindow(state->display, state->Root(), -10, -10, 1, 1, 0, 0, 0);
    XSetErrorHandler([](Display*, XErrorEvent*) { return 0; });
    return std::unique_ptr<TestDisplay>(new TestDisplay(std::move(state)));
  }();
  why = cause;
  return theDisplay.get();
}

TestDisplay::TestDisplay(std::unique_ptr<State> state) : state_(std::move(state)) {}

TestDisplay::~TestDisplay() = default;

void TestDisplay::MoveMouse(int x, int y) {
  XTestFakeMotionEvent(state_->display, -1, x, y, CurrentTime);
  XSync(state_->display, False);
}

void TestDisplay::Press(int button) {
  XTestFakeButtonEvent(state_->display, static_cast<unsigned>(button), True, CurrentTime);
  XSync(state_->display, False);
}

void TestDisplay::Release(int button) {
  XTestFakeButtonEvent(state_->display, static_cast<unsigned>(button), False, CurrentTime);
  XSync(state_->display, False);
}

void TestDisplay::Click(int x, int y, int button) {
  MoveMouse(x, y);
  Press(button);
  Release(button);
}

void TestDisplay::PressKey(const char* name) {
  const KeyCode code = XKeysymToKeycode(state_->display, XStringToKeysym(name));
  XTestFakeKeyEvent(state_->display, code, True, CurrentTime);
  XSync(state_->display, False);
}

void TestDisplay::ReleaseKey(const char* name) {
  const KeyCode code = XKeysymToKeycode(state_->display, XStringToKeysym(name));
  XTestFakeKeyEvent(state_->display, code, False, CurrentTime);
  XSync(state_->display, False);
}

void TestDisplay::TypeKey(const char* name) {
  PressKey(name);
  ReleaseKey(name);
}

void TestDisplay::TypeChord(const std::string& chord) {
  std::vector<std::string> held;
  std::size_t begin = 0;
  for (std::size_t end = 0; (end = chord.find('+', begin)) != std::string::npos; begin = end + 1) {
    const std::string name = chord.substr(begin, end - begin);
    held.push_back(name == "Ctrl" ? "Control_L" : name + "_L");
    PressKey(held.back().c_str());
  }
  TypeKey(chord.c_str() + begin);
  while (!held.empty()) {
    ReleaseKey(held.back().c_str());
    held.pop_back();
  }
}

std::vector<std::string> TestDisplay::TakeKeys(WindowId window) {
  std::vector<std::string> keys;
  XSelectInput(state_->display, window, KeyPressMask);
  XSync(state_->display, False);
  XEvent event{};
  while (XCheckWindowEvent(state_->display, window, KeyPressMask, &event)) {
    const KeySym symbol = XLookupKeysym(&event.xkey, 0);
    if (!IsModifierKey(symbol)) keys.emplace_back(XKeysymToString(symbol));
  }
  return keys;
}

void TestDisplay::TypeText(const std::string& text) {
  for (const char letter : text) {
    const char name[] = {letter, '\0'};
    TypeKey(letter == ' ' ? "space" : name);
  }
}

TestDisplay::WindowId TestDisplay::MakeWindow(int x, int y, int width, int height, bool hasAlpha) {
  Display* display = state_->display;
  const int screen = DefaultScreen(display);
  XVisualInfo kind{};
  if (!XMatchVisualInfo(display, screen, hasAlpha ? 32 : DefaultDepth(display, screen), TrueColor,
                        &kind)) {
    return 0;
  }
  XSetWindowAttributes attributes{};
  attributes.colormap = XCreateColormap(display, state_->Root(), kind.visual, AllocNone);
  const Window window = XCreateWindow(
      display, state_->Root(), x, y, static_cast<unsigned>(width), static_cast<unsigned>(height), 0,
      kind.depth, InputOutput, kind.visual, CWBackPixel | CWBorderPixel | CWColormap, &attributes);
  XMapWindow(display, window);
  XSync(display, False);
  return window;
}

void TestDisplay::DestroyWindow(WindowId window) {
  XDestroyWindow(state_->display, window);
  XSync(state_->display, False);
}

bool TestDisplay::GetGeometry(WindowId window, int* x, int* y, int* width, int* height) {
  XWindowAttributes attributes{};
  if (!XGetWindowAttributes(state_->display, window, &attributes)) return false;
  if (x) *x = attributes.x;
  if (y) *y = attributes.y;
  if (width) *width = attributes.width;
  if (height) *height = attributes.height;
  return true;
}

void TestDisplay::ResizeWindow(WindowId window, int width, int height) {
  XResizeWindow(state_->display, window, static_cast<unsigned>(width),
                static_cast<unsigned>(height));
  XSync(state_->display, False);
}

std::vector<TestDisplay::WindowId> TestDisplay::ChildrenOf(WindowId window) {
  Window root = None, parent = None;
  Window* children = nullptr;
  unsigned count = 0;
  if (!XQueryTree(state_->display, window, &root, &parent, &children, &count)) return {};
  std::vector<WindowId> found(children, children + count);
  if (children) XFree(children);
  return found;
}

TestDisplay::WindowId TestDisplay::FindByTitle(const std::string& title) {
  for (const WindowId window : ChildrenOf(state_->Root())) {
    if (TitleOf(window).ends_with(title)) return window;
  }
  return 0;
}

std::string TestDisplay::TitleOf(WindowId window) {
  char* name = nullptr;
  if (!XFetchName(state_->display, window, &name) || !name) return "";
  std::string title = name;
  XFree(name);
  return title;
}

TestDisplay::WindowId TestDisplay::FocusedWindow() {
  Window window = None;
  int revert = 0;
  XGetInputFocus(state_->display, &window, &revert);
  return window;
}

void TestDisplay::SetFocus(WindowId window) {
  XSetInputFocus(state_->display, window, RevertToPointerRoot, CurrentTime);
  XSync(state_->display, False);
}

void TestDisplay::AskToClose(WindowId window) {
  state_->Send(window, window, "WM_PROTOCOLS",
               {static_cast<long>(state_->Named("WM_DELETE_WINDOW")), 0, 0, 0, 0});
}

std::uint32_t TestDisplay::PixelAt(WindowId window, int x, int y) {
  const std::vector<std::uint32_t> pixels = PixelsOf(window, x, y, 1, 1);
  return pixels.empty() ? 0 : pixels[0];
}

std::uint32_t TestDisplay::MarkPixel(WindowId window) {
  constexpr std::uint32_t kMark = 0xFF00FE;
  Display* display = state_->display;
  const GC context = XCreateGC(display, window, 0, nullptr);
  XSetForeground(display, context, 0xFF000000 | kMark);
  XDrawPoint(display, window, context, 0, 0);
  XFreeGC(display, context);
  XEvent event{};
  event.xexpose.type = Expose;
  event.xexpose.window = window;
  event.xexpose.width = event.xexpose.height = 1;
  XSendEvent(display, window, False, ExposureMask, &event);
  XSync(display, False);
  return kMark;
}

std::vector<std::uint32_t> TestDisplay::PixelsOf(WindowId window, int x, int y, int width,
                                                 int height) {
  XImage* image = XGetImage(state_->display, window, x, y, static_cast<unsigned>(width),
                            static_cast<unsigned>(height), AllPlanes, ZPixmap);
  std::vector<std::uint32_t> pixels;
  if (!image) return pixels;
  for (int row = 0; row < height; ++row) {
    for (int column = 0; column < width; ++column) {
      pixels.push_back(static_cast<std::uint32_t>(XGetPixel(image, column, row) & 0xFFFFFF));
    }
  }
  XDestroyImage(image);
  return pixels;
}

bool TestDisplay::PumpUntil(const Pump& pump, const std::function<bool()>& done) {
  const auto end = std::chrono::steady_clock::now() + kPatience;
  while (!done()) {
    if (std::chrono::steady_clock::now() > end) return false;
    pump();
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

bool TestDisplay::OfferClipboard(const std::string& text, const Pump& pump,
                                 const std::function<bool()>& done) {
  XSetSelectionOwner(state_->display, state_->Named("CLIPBOARD"), state_->helper, CurrentTime);
  XSync(state_->display, False);
  const auto serve = [&] {
    pump();
    XEvent event;
    while (state_->Next(event)) {
      if (event.type == SelectionRequest) {
        state_->Answer(event.xselectionrequest, "UTF8_STRING", text);
      }
    }
  };
  return PumpUntil(serve, done);
}

std::string TestDisplay::ReadClipboard(const Pump& pump) {
  XConvertSelection(state_->display, state_->Named("CLIPBOARD"), state_->Named("UTF8_STRING"),
                    XA_PRIMARY, state_->helper, CurrentTime);
  XSync(state_->display, False);
  std::string text;
  bool answered = false;
  const auto listen = [&] {
    pump();
    XEvent event;
    while (state_->Next(event)) {
      if (event.type != SelectionNotify) continue;
      answered = true;
      if (event.xselection.property != None) text = state_->ReadText(state_->helper, XA_PRIMARY);
    }
  };
  PumpUntil(listen, [&answered] { return answered; });
  return text;
}

bool TestDisplay::DropFiles(WindowId window, int x, int y, const std::string& uriList,
                            const Pump& pump) {
  State& state = *state_;
  // As any source does, by the window in place of the target.
  Atom type = None;
  int format = 0;
  unsigned long count = 0, rest = 0;
  unsigned char* data = nullptr;
  XGetWindowProperty(state.display, window, state.Named("XdndProxy"), 0, 1, False, XA_WINDOW, &type,
                     &format, &count, &rest, &data);
  if (!data) return false;
  const Window proxy = *reinterpret_cast<Window*>(data);
  XFree(data);

  const auto source = static_cast<long>(state.helper);
  const Atom selection = state.Named("XdndSelection");
  XSetSelectionOwner(state.display, selection, state.helper, CurrentTime);
  int rootX = 0, rootY = 0;
  Window child = None;
  XTranslateCoordinates(state.display, window, state.Root(), x, y, &rootX, &rootY, &child);
  state.Send(proxy, window, "XdndEnter",
             {source, 5L << 24, static_cast<long>(state.Named("text/uri-list")), 0, 0});
  state.Send(proxy, window, "XdndPosition",
             {source, 0, (static_cast<long>(rootX) << 16) | rootY, CurrentTime,
              static_cast<long>(state.Named("XdndActionCopy"))});
  bool accepted = false, taken = false, finished = false;
  const auto converse = [&] {
    pump();
    XEvent event;
    while (state.Next(event)) {
      if (event.type == SelectionRequest) {
        state.Answer(event.xselectionrequest, "text/uri-list", uriList);
      } else if (event.type == ClientMessage &&
                 event.xclient.message_type == state.Named("XdndStatus")) {
        accepted = (event.xclient.data.l[1] & 1) != 0;
        finished = !accepted;
        state.Send(proxy, window, accepted ? "XdndDrop" : "XdndLeave",
                   {source, 0, CurrentTime, 0, 0});
      } else if (event.type == ClientMessage &&
                 event.xclient.message_type == state.Named("XdndFinished")) {
        finished = true;
        taken = (event.xclient.data.l[1] & 1) != 0;
      }
    }
  };
  PumpUntil(converse, [&finished] { return finished; });
  return taken;
}

}  // namespace halveron
