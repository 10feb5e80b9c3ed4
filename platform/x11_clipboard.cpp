// The clipboard of an X server: a thread with a connection of its own serves what we offer and
// fetches what others do, by the conventions between clients (ICCCM), large contents in pieces.
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/extensions/Xfixes.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <deque>
#include <list>
#include <mutex>
#include <new>
#include <string_view>
#include <thread>
#include <utility>

#include "platform/clipboard.h"
#include "platform/x11_window.h"

namespace halveron::platform {

namespace {

using Moment = std::chrono::steady_clock::time_point;

constexpr std::size_t kPiece = std::size_t{256} << 10;
constexpr std::size_t kMostReceived = std::size_t{1} << 30;
constexpr std::size_t kMostText = std::size_t{16} << 20;
constexpr auto kPatience = std::chrono::seconds(4);  // with another program that stops answering
constexpr auto kAnnouncementTime = std::chrono::milliseconds(300);
constexpr int kWakePeriod = 500;  // milliseconds, for what waits too long

Moment Now() { return std::chrono::steady_clock::now(); }

/// The names by which text is asked for, the safest first.
constexpr const char* kTextTargets[] = {"UTF8_STRING", "text/plain;charset=utf-8", "text/plain"};

using Bytes = std::shared_ptr<const std::string>;

struct Form {
  std::string type;
  Bytes bytes;
};

class Request final : public ClipboardRequest {
 public:
  explicit Request(std::span<const std::string> wanted) : types(wanted.begin(), wanted.end()) {}
  std::optional<ClipboardForm> Take() override {
    const std::lock_guard lock(mutex_);
    return std::exchange(answer_, std::nullopt);
  }
  void Answer(ClipboardForm form) {
    const std::lock_guard lock(mutex_);
    answer_ = std::move(form);
  }

  const std::vector<std::string> types;

 private:
  std::mutex mutex_;
  std::optional<ClipboardForm> answer_;
};

/// The thread's side. All of it is called on the thread, but for what `shared` holds.
class Server {
 public:
  struct Shared {
    std::mutex mutex;
    std::vector<Form> forms;         // ours, while isOurs
    std::vector<std::string> types;  // of the owner, while that is another one
    std::uint64_t offered = 0;
    std::uint64_t announced = 0;  // the last offer that the server knows of
    std::condition_variable announcement;
    bool isOurs = false;
    bool mustOwn = false;  // an offer that the server does not know of
    bool ends = false;
    std::deque<std::weak_ptr<Request>> requests;
  };

  Server(Display* display, Shared& shared, int wake)
      : shared_(shared), display_(display), wake_(wake) {
    IgnoreErrors(display_);
    // Without it the process would end with its X server.
    XSetIOErrorExitHandler(
        display_, [](Display*, void* self) { static_cast<Server*>(self)->isBroken_ = true; }, this);
    clipboard_ = Named("CLIPBOARD");
    targets_ = Named("TARGETS");
    incremental_ = Named("INCR");
    for (std::size_t i = 0; i < properties_.size(); ++i) {
      properties_[i] = Named(("HALVERON_CLIPBOARD_" + std::to_string(i)).c_str());
    }
    window_ = XCreateSimpleWindow(display_, DefaultRootWindow(display_), 0, 0, 1, 1, 0, 0, 0);
    XSelectInput(display_, window_, PropertyChangeMask);
    int error = 0;
    if (XFixesQueryExtension(display_, &fixes_, &error)) {
      XFixesSelectSelectionInput(display_, window_, clipboard_,
                                 XFixesSetSelectionOwnerNotifyMask |
                                     XFixesSelectionWindowDestroyNotifyMask |
                                     XFixesSelectionClientCloseNotifyMask);
    } else {
      fixes_ = -1;
    }
    if (XGetSelectionOwner(display_, clipboard_) != None) asksTypes_ = true;
  }

  void Run() {
    while (!isBroken_ && !TakeOrders()) {
      bool hasEvents = false;
      try {
        while (!isBroken_ && XPending(display_) > 0) {
          XEvent event;
          XNextEvent(display_, &event);
          Handle(event);
        }
        if (!isBroken_) Drive();
      } catch (const std::bad_alloc&) {
        // What another program offers may be of any size.
        if (incoming_) EndIncoming({});
      }
      if (!isBroken_) hasEvents = XPending(display_) > 0;
      if (hasEvents || isBroken_) continue;
      pollfd waits[] = {{ConnectionNumber(display_), POLLIN, 0}, {wake_, POLLIN, 0}};
      poll(waits, 2, kWakePeriod);
      std::uint64_t count = 0;
      if (waits[1].revents && read(wake_, &count, sizeof count) < 0) continue;
    }
    GiveUp();
    // A broken connection cannot be closed in order.
    if (!isBroken_) XCloseDisplay(display_);
  }

 private:
  /// What another program fetches from us, piece by piece.
  struct Outgoing {
    ::Window window;
    Atom property;
    Atom type;
    Bytes bytes;
    std::size_t sent;
    Moment since;
  };
  /// What we fetch from another program.
  struct Incoming {
    std::shared_ptr<Request> request;  // null: only the types are asked for
    std::string type;                  // empty while the types are
    std::string bytes;
    bool isInPieces;
    Moment since;
  };

  Atom Named(const char* name) { return XInternAtom(display_, name, False); }
  std::string NameOf(Atom atom) {
    char* name = XGetAtomName(display_, atom);
    std::string text = name ? name : "";
    if (name) XFree(name);
    return text;
  }

  /// True at the end.
  bool TakeOrders() {
    bool mustOwn = false;
    std::uint64_t offered = 0;
    {
      const std::lock_guard lock(shared_.mutex);
      offered = shared_.offered;
      if (shared_.ends) return true;
      mustOwn = std::exchange(shared_.mustOwn, false);
      while (!shared_.requests.empty()) {
        if (auto request = shared_.requests.front().lock()) waiting_.push_back(std::move(request));
        shared_.requests.pop_front();
      }
    }
    if (!mustOwn) return false;
    XSetSelectionOwner(display_, clipboard_, window_, CurrentTime);
    if (XGetSelectionOwner(display_, clipboard_) != window_) Lose();
    const std::lock_guard lock(shared_.mutex);
    shared_.announced = offered;
    shared_.announcement.notify_all();
    return false;
  }

  /// Somebody else has the clipboard.
  void Lose() {
    const std::lock_guard lock(shared_.mutex);
    if (shared_.mustOwn) return;  // it will be ours again
    shared_.isOurs = false;
    shared_.forms.clear();
    shared_.types.clear();
  }

  void OwnerChanged(::Window owner) {
    if (owner == window_ || XGetSelectionOwner(display_, clipboard_) == window_) return;
    Lose();
    // The former owner may never answer.
    if (incoming_ && incoming_->request) waiting_.push_front(incoming_->request);
    incoming_.reset();
    asksTypes_ = owner != None;
  }

  void GiveUp() {
    if (incoming_ && incoming_->request) incoming_->request->Answer({});
    for (const auto& request : waiting_) request->Answer({});
    const std::lock_guard lock(shared_.mutex);
    for (const auto& each : shared_.requests) {
      if (const auto request = each.lock()) request->Answer({});
    }
    shared_.requests.clear();
    shared_.announced = ~std::uint64_t{0};
    shared_.announcement.notify_all();
  }

  void Handle(const XEvent& event) {
    if (fixes_ >= 0 && event.type == fixes_ + XFixesSelectionNotify) {
      const auto& change = reinterpret_cast<const XFixesSelectionNotifyEvent&>(event);
      return OwnerChanged(change.subtype == XFixesSetSelectionOwnerNotify ? change.owner : None);
    }
    switch (event.type) {
      case SelectionClear:
        // It may report a loss from before we took the clipboard again.
        if (XGetSelectionOwner(display_, clipboard_) != window_) Lose();
        return;
      case SelectionRequest:
        return Serve(event.xselectionrequest);
      case SelectionNotify:
        return Receive(event.xselection);
      case PropertyNotify:
        return event.xproperty.window == window_ ? ReceivePiece(event.xproperty)
                                                 : SendPiece(event.xproperty);
      default:
        return;
    }
  }

  // Others ask us.

  void Serve(const XSelectionRequestEvent& request) {
    XSelectionEvent answer{};
    answer.type = SelectionNotify;
    answer.requestor = request.requestor;
    answer.selection = request.selection;
    answer.target = request.target;
    answer.time = request.time;
    // Old programs leave the property to us.
    const Atom property = request.property != None ? request.property : request.target;
    if (request.selection == clipboard_ && Put(request.requestor, property, request.target)) {
      answer.property = property;
    }
    XSendEvent(display_, request.requestor, False, NoEventMask, reinterpret_cast<XEvent*>(&answer));
    XFlush(display_);
  }

  bool Put(::Window window, Atom property, Atom target) {
    std::vector<Form> forms;
    {
      const std::lock_guard lock(shared_.mutex);
      if (!shared_.isOurs) return false;
      forms = shared_.forms;
    }
    std::vector<Atom> atoms{targets_};
    for (const Form& form : forms) {
      for (const Atom atom : TargetsOf(form.type)) {
        atoms.push_back(atom);
        if (atom == target) return PutBytes(window, property, target, form.bytes);
      }
    }
    if (target != targets_) return false;
    XChangeProperty(display_, window, property, XA_ATOM, 32, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(atoms.data()),
                    static_cast<int>(atoms.size()));
    return true;
  }

  std::vector<Atom> TargetsOf(const std::string& type) {
    if (type != kClipboardText) return {Named(type.c_str())};
    std::vector<Atom> atoms;
    for (const char* target : kTextTargets) atoms.push_back(Named(target));
    return atoms;
  }

  bool PutBytes(::Window window, Atom property, Atom type, const Bytes& bytes) {
    if (bytes->size() <= kPiece) {
      PutPiece({window, property, type, bytes, 0, Now()}, bytes->size());
      return true;
    }
    XSelectInput(display_, window, PropertyChangeMask);
    const auto size = static_cast<long>(bytes->size());
    XChangeProperty(display_, window, property, incremental_, 32, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(&size), 1);
    outgoing_.push_back({window, property, type, bytes, 0, Now()});
    return true;
  }

  void PutPiece(const Outgoing& to, std::size_t size) {
    XChangeProperty(display_, to.window, to.property, to.type, 8, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(to.bytes->data()) + to.sent,
                    static_cast<int>(size));
  }

  /// The last piece was taken.
  void SendPiece(const XPropertyEvent& event) {
    if (event.state != PropertyDelete) return;
    const auto to = std::find_if(outgoing_.begin(), outgoing_.end(), [&](const Outgoing& each) {
      return each.window == event.window && each.property == event.atom;
    });
    if (to == outgoing_.end()) return;
    const std::size_t size = std::min(kPiece, to->bytes->size() - to->sent);
    PutPiece(*to, size);
    XFlush(display_);
    to->sent += size;
    to->since = Now();
    if (size == 0) EndOutgoing(to);
  }

  void EndOutgoing(std::list<Outgoing>::iterator to) {
    const ::Window window = to->window;
    outgoing_.erase(to);
    const bool isLast = std::none_of(outgoing_.begin(), outgoing_.end(),
                                     [&](const Outgoing& each) { return each.window == window; });
    if (isLast) XSelectInput(display_, window, NoEventMask);
  }

  // We ask others.

  void Drive() {
    for (auto to = outgoing_.begin(); to != outgoing_.end();) {
      const auto next = std::next(to);
      if (Now() - to->since > kPatience) EndOutgoing(to);
      to = next;
    }
    if (incoming_ && Now() - incoming_->since > kPatience) EndIncoming({});
    // Whoever asked may have dropped the request.
    if (incoming_ && incoming_->request && incoming_->request.use_count() == 1) incoming_.reset();
    std::erase_if(waiting_, [](const auto& request) { return request.use_count() == 1; });
    std::erase_if(waiting_, [this](const auto& request) { return AnswerFromOurs(*request); });
    // A user who waits goes first.
    if (incoming_ && !incoming_->request && !waiting_.empty()) incoming_.reset();
    if (incoming_) return;
    if (!waiting_.empty()) {
      const std::shared_ptr<Request> request = std::move(waiting_.front());
      waiting_.pop_front();
      AskTypes(request);
    } else if (std::exchange(asksTypes_, false)) {
      AskTypes(nullptr);
    }
  }

  bool AnswerFromOurs(Request& request) {
    std::vector<Form> forms;
    {
      const std::lock_guard lock(shared_.mutex);
      if (!shared_.isOurs) return false;
      forms = shared_.forms;
    }
    ClipboardForm answer;
    for (const std::string& type : request.types) {
      for (const Form& form : forms) {
        if (answer.type.empty() && form.type == type) answer = {type, *form.bytes};
      }
    }
    request.Answer(std::move(answer));
    return true;
  }

  void AskTypes(const std::shared_ptr<Request>& request) {
    incoming_ = Incoming{request, "", "", false, Now()};
    Convert(targets_);
  }

  void Convert(Atom target) {
    incoming_->since = Now();
    // An answer that comes too late must not be taken for this one's.
    property_ = properties_[++conversions_ % properties_.size()];
    XDeleteProperty(display_, window_, property_);
    XConvertSelection(display_, clipboard_, target, property_, window_, CurrentTime);
    XFlush(display_);
  }

  void EndIncoming(ClipboardForm form) {
    if (incoming_->request) incoming_->request->Answer(std::move(form));
    incoming_.reset();
  }

  void Receive(const XSelectionEvent& event) {
    if (!incoming_ || event.selection != clipboard_) return;
    if (event.property != None && event.property != property_) return;
    if (incoming_->type.empty()) return ReceiveTypes(event);
    if (event.property == None) return EndIncoming({});
    Atom type = None;
    if (!TakeProperty(type)) return EndIncoming({});
    incoming_->since = Now();
    incoming_->isInPieces = type == incremental_;
    if (incoming_->isInPieces) {
      incoming_->bytes.clear();
    } else {
      EndIncoming({incoming_->type, std::move(incoming_->bytes)});
    }
  }

  void ReceiveTypes(const XSelectionEvent& event) {
    std::vector<Atom> atoms;
    if (event.property != None) atoms = TakeAtoms();
    std::vector<std::string> types;
    for (const Atom atom : atoms) types.push_back(NameOf(atom));
    const auto has = [&types](std::string_view name) {
      return std::find(types.begin(), types.end(), name) != types.end();
    };
    const char* text = nullptr;
    for (const char* target : kTextTargets) {
      if (!text && has(target)) text = target;
    }
    if (text && !has(kClipboardText)) types.emplace_back(kClipboardText);
    if (!text) std::erase(types, kClipboardText);
    {
      const std::lock_guard lock(shared_.mutex);
      if (!shared_.isOurs) shared_.types = types;
    }
    if (!incoming_->request) return EndIncoming({});
    for (const std::string& wanted : incoming_->request->types) {
      if (!has(wanted)) continue;
      incoming_->type = wanted;
      return Convert(Named(wanted == kClipboardText ? text : wanted.c_str()));
    }
    EndIncoming({});
  }

  std::vector<Atom> TakeAtoms() {
    Atom type = None;
    int format = 0;
    unsigned long count = 0, rest = 0;
    unsigned char* data = nullptr;
    constexpr long kMostWords = 4096;
    std::vector<Atom> atoms;
    if (XGetWindowProperty(display_, window_, property_, 0, kMostWords, True, AnyPropertyType,
                           &type, &format, &count, &rest, &data) == Success &&
        data && format == 32) {
      const auto* first = reinterpret_cast<const Atom*>(data);
      atoms.assign(first, first + count);
    }
    if (data) XFree(data);
    return atoms;
  }

  /// Adds the property to what has come, and removes it. False if there is none.
  bool TakeProperty(Atom& type) {
    for (long offset = 0;;) {
      int format = 0;
      unsigned long count = 0, rest = 0;
      unsigned char* data = nullptr;
      constexpr long kWords = static_cast<long>(kPiece / 4);
      if (XGetWindowProperty(display_, window_, property_, offset, kWords, False, AnyPropertyType,
                             &type, &format, &count, &rest, &data) != Success) {
        return false;
      }
      if (data && format == 8) incoming_->bytes.append(reinterpret_cast<char*>(data), count);
      if (data) XFree(data);
      const std::size_t most = incoming_->type == kClipboardText ? kMostText : kMostReceived;
      if (type == None || incoming_->bytes.size() > most) return false;
      if (rest == 0 || format != 8) break;
      offset += kWords;
    }
    XDeleteProperty(display_, window_, property_);
    XFlush(display_);
    return true;
  }

  void ReceivePiece(const XPropertyEvent& event) {
    if (!incoming_ || !incoming_->isInPieces) return;
    if (event.atom != property_ || event.state != PropertyNewValue) return;
    const std::size_t before = incoming_->bytes.size();
    Atom type = None;
    if (!TakeProperty(type)) return EndIncoming({});
    incoming_->since = Now();
    // An empty piece is the end.
    if (incoming_->bytes.size() > before) return;
    EndIncoming({incoming_->type, std::move(incoming_->bytes)});
  }

  Shared& shared_;
  Display* display_;
  int wake_;
  bool isBroken_ = false;
  int fixes_ = -1;  // number of the extension's first event
  ::Window window_ = 0;
  Atom clipboard_ = None, targets_ = None, incremental_ = None;
  std::array<Atom, 8> properties_{};
  Atom property_ = None;  // for what is asked now
  std::size_t conversions_ = 0;
  std::list<Outgoing> outgoing_;
  std::optional<Incoming> incoming_;
  std::deque<std::shared_ptr<Request>> waiting_;
  bool asksTypes_ = false;
};

class X11Clipboard final : public Clipboard {
 public:
  static std::shared_ptr<Clipboard> Open(const std::string& name) {
    Display* display = XOpenDisplay(name.c_str());
    const int wake = display ? eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK) : -1;
    if (wake >= 0) return std::make_shared<X11Clipboard>(display, wake);
    if (display) XCloseDisplay(display);
    return nullptr;
  }

  X11Clipboard(Display* display, int wake)
      : wake_(wake), thread_([this, display] { Server(display, shared_, wake_).Run(); }) {}
  ~X11Clipboard() override {
    {
      const std::lock_guard lock(shared_.mutex);
      shared_.ends = true;
    }
    Wake();
    thread_.join();
    close(wake_);
  }

  std::uint64_t Offer(std::vector<ClipboardForm> forms) override {
    std::uint64_t offered = 0;
    {
      const std::lock_guard lock(shared_.mutex);
      shared_.forms.clear();
      for (ClipboardForm& form : forms) {
        shared_.forms.push_back(
            {std::move(form.type), std::make_shared<const std::string>(std::move(form.bytes))});
      }
      shared_.isOurs = shared_.mustOwn = true;
      offered = ++shared_.offered;
    }
    Wake();
    // Whoever looks next finds it there.
    std::unique_lock lock(shared_.mutex);
    shared_.announcement.wait_for(lock, kAnnouncementTime,
                                  [&] { return shared_.announced >= offered; });
    return offered;
  }

  bool Holds(std::uint64_t offered) const override {
    const std::lock_guard lock(shared_.mutex);
    return shared_.isOurs && offered == shared_.offered;
  }

  bool Has(const std::string& type) const override {
    const std::lock_guard lock(shared_.mutex);
    const auto isIt = [&](const Form& form) { return form.type == type; };
    return shared_.isOurs
               ? std::any_of(shared_.forms.begin(), shared_.forms.end(), isIt)
               : std::find(shared_.types.begin(), shared_.types.end(), type) != shared_.types.end();
  }

  std::shared_ptr<ClipboardRequest> Ask(std::span<const std::string> types) override {
    auto request = std::make_shared<Request>(types);
    {
      const std::lock_guard lock(shared_.mutex);
      shared_.requests.push_back(request);
    }
    Wake();
    return request;
  }

 private:
  void Wake() const {
    const std::uint64_t one = 1;
    // It fails only where the thread is awake already.
    [[maybe_unused]] const auto written = write(wake_, &one, sizeof one);
  }

  mutable Server::Shared shared_;
  const int wake_;
  std::thread thread_;  // the last member: it uses the others
};

}  // namespace

std::shared_ptr<Clipboard> DisplayClipboard() {
  static std::mutex mutex;
  static std::weak_ptr<Clipboard> shared;
  static std::string sharedName;
  const char* const name = std::getenv("DISPLAY");
  if (!name || !*name) return nullptr;
  const std::lock_guard lock(mutex);
  std::shared_ptr<Clipboard> clipboard = sharedName == name ? shared.lock() : nullptr;
  if (!clipboard) clipboard = X11Clipboard::Open(name);
  shared = clipboard;
  sharedName = name;
  return clipboard;
}

}  // namespace halveron::platform
