#include "platform/file_drop_target.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstring>
#include <sstream>
#include <string_view>

namespace halveron::platform {

namespace {

constexpr long kProtocolVersion = 5;
constexpr long kMostListBytes = 1 << 20;

struct Atoms {
  explicit Atoms(Display* display) {
    const auto named = [display](const char* name) { return XInternAtom(display, name, False); };
    aware = named("XdndAware");
    proxy = named("XdndProxy");
    enter = named("XdndEnter");
    position = named("XdndPosition");
    leave = named("XdndLeave");
    drop = named("XdndDrop");
    status = named("XdndStatus");
    finished = named("XdndFinished");
    selection = named("XdndSelection");
    typeList = named("XdndTypeList");
    copy = named("XdndActionCopy");
    uriList = named("text/uri-list");
  }

  Atom aware, proxy, enter, position, leave, drop, status, finished, selection, typeList, copy,
      uriList;
};

void SetProperty(Display* display, Window window, Atom name, Atom type, unsigned long value) {
  XChangeProperty(display, window, name, type, 32, PropModeReplace,
                  reinterpret_cast<const unsigned char*>(&value), 1);
}

/// A property's bytes, or its longs as they lie in memory; empty if it is not there.
std::string ReadProperty(Display* display, Window window, Atom name, bool thenDelete) {
  Atom type = None;
  int format = 0;
  unsigned long count = 0;
  unsigned long rest = 0;
  unsigned char* data = nullptr;
  if (XGetWindowProperty(display, window, name, 0, kMostListBytes / 4, thenDelete ? True : False,
                         AnyPropertyType, &type, &format, &count, &rest, &data) != Success ||
      !data) {
    return {};
  }
  const std::size_t unit = format == 32 ? sizeof(long) : static_cast<std::size_t>(format) / 8;
  std::string bytes(reinterpret_cast<const char*>(data), count * unit);
  XFree(data);
  return bytes;
}

int HexDigit(char letter) {
  if (letter >= '0' && letter <= '9') return letter - '0';
  const int lower = std::tolower(static_cast<unsigned char>(letter));
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

std::string PercentDecoded(std::string_view text) {
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const int high = text[i] == '%' && i + 2 < text.size() ? HexDigit(text[i + 1]) : -1;
    const int low = high >= 0 ? HexDigit(text[i + 2]) : -1;
    if (low < 0) {
      plain += text[i];
      continue;
    }
    plain += static_cast<char>(high * 16 + low);
    i += 2;
  }
  return plain;
}

}  // namespace

std::vector<std::string> PathsInUriList(const std::string& list) {
  std::vector<std::string> paths;
  std::istringstream lines(list);
  for (std::string line; std::getline(lines, line);) {
    while (!line.empty() && (line.back() == '\r' || line.back() == '\0')) line.pop_back();
    constexpr std::string_view kScheme = "file://";
    if (!line.starts_with(kScheme)) continue;
    // The machine's name, usually left out, is between the scheme and the path.
    const std::size_t slash = line.find('/', kScheme.size());
    if (slash == std::string::npos) continue;
    std::string path = PercentDecoded(std::string_view(line).substr(slash));
    if (path.find('\0') == std::string::npos) paths.push_back(std::move(path));
  }
  return paths;
}

struct FileDropTarget::State {
  State(X11Window window, Handler h)
      : display(XOpenDisplay(DisplayString(static_cast<Display*>(window.display)))),
        target(window.id),
        handler(std::move(h)) {
    if (!display) return;
    const X11ErrorScope errors(display);
    atoms = std::make_unique<Atoms>(display);
    // The target's own messages go to whoever made it, so a window of ours stands in for it.
    proxy = XCreateSimpleWindow(display, DefaultRootWindow(display), -1, -1, 1, 1, 0, 0, 0);
    for (const Window w : {proxy, target}) {
      SetProperty(display, w, atoms->proxy, XA_WINDOW, proxy);
      SetProperty(display, w, atoms->aware, XA_ATOM, kProtocolVersion);
    }
    XFlush(display);
  }

  ~State() {
    if (!display) return;
    const X11ErrorScope errors(display);
    XDeleteProperty(display, target, atoms->proxy);
    XDeleteProperty(display, target, atoms->aware);
    XCloseDisplay(display);
  }

  void Enter(const XClientMessageEvent& message) {
    source = static_cast<Window>(message.data.l[0]);
    std::vector<Atom> types;
    if ((message.data.l[1] & 1) != 0) {
      const std::string bytes = ReadProperty(display, source, atoms->typeList, false);
      types.resize(bytes.size() / sizeof(Atom));
      std::memcpy(types.data(), bytes.data(), types.size() * sizeof(Atom));
    } else {
      for (int i = 2; i < 5; ++i) types.push_back(static_cast<Atom>(message.data.l[i]));
    }
    hasFiles = std::find(types.begin(), types.end(), atoms->uriList) != types.end();
  }

  void Reply(Atom type, bool accepted) {
    XClientMessageEvent reply{};
    reply.type = ClientMessage;
    reply.display = display;
    reply.window = source;
    reply.message_type = type;
    reply.format = 32;
    reply.data.l[0] = static_cast<long>(target);
    reply.data.l[1] = accepted ? 1 : 0;
    const long action = accepted ? static_cast<long>(atoms->copy) : 0;
    reply.data.l[type == atoms->status ? 4 : 2] = action;
    XSendEvent(display, source, False, NoEventMask, reinterpret_cast<XEvent*>(&reply));
    XFlush(display);
  }

  void Move(const XClientMessageEvent& message) {
    const auto packed = static_cast<unsigned long>(message.data.l[2]);
    Window child = None;
    XTranslateCoordinates(display, DefaultRootWindow(display), target,
                          static_cast<int>((packed >> 16) & 0xFFFF),
                          static_cast<int>(packed & 0xFFFF), &x, &y, &child);
    Reply(atoms->status, hasFiles && handler.wants(x, y));
  }

  void Drop(const XClientMessageEvent& message) {
    if (!hasFiles) return Reply(atoms->finished, false);
    XConvertSelection(display, atoms->selection, atoms->uriList, atoms->selection, proxy,
                      static_cast<Time>(message.data.l[2]));
    XFlush(display);
  }

  void Receive(const XSelectionEvent& event) {
    bool taken = false;
    if (event.property != None) {
      const auto paths = PathsInUriList(ReadProperty(display, proxy, event.property, true));
      taken = !paths.empty() && handler.take(paths, x, y);
    }
    Reply(atoms->finished, taken);
    hasFiles = false;
  }

  void Handle(const XEvent& event) {
    if (event.type == SelectionNotify) return Receive(event.xselection);
    if (event.type != ClientMessage) return;
    const XClientMessageEvent& message = event.xclient;
    if (message.message_type == atoms->enter) return Enter(message);
    // Whatever else speaks must be the one that entered.
    if (static_cast<Window>(message.data.l[0]) != source) return;
    if (message.message_type == atoms->position) return Move(message);
    if (message.message_type == atoms->drop) return Drop(message);
    if (message.message_type == atoms->leave) hasFiles = false;
  }

  Display* display;
  Window target;
  Handler handler;
  std::unique_ptr<Atoms> atoms;
  Window proxy = None;
  Window source = None;
  bool hasFiles = false;
  int x = 0;
  int y = 0;
};

FileDropTarget::FileDropTarget(X11Window window, Handler handler)
    : state_(std::make_unique<State>(window, std::move(handler))) {}

FileDropTarget::~FileDropTarget() = default;

void FileDropTarget::Poll() {
  if (!state_->display) return;
  const X11ErrorScope errors(state_->display);
  while (XPending(state_->display) > 0) {
    XEvent event;
    XNextEvent(state_->display, &event);
    state_->Handle(event);
  }
}

}  // namespace halveron::platform
