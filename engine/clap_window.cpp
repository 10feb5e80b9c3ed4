#include "engine/clap_window.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "engine/clap_host_extension.h"

namespace halveron {

namespace {

constexpr std::uint32_t kMostPixels = 32767;  // of a window's side

}  // namespace

void ClapWindow::FindServices() {
  hostGui_ = FindHostExtension<clap_host_gui_t>(host_, CLAP_EXT_GUI);
  hostTimer_ = FindHostExtension<clap_host_timer_support_t>(host_, CLAP_EXT_TIMER_SUPPORT);
  hostDescriptor_ =
      FindHostExtension<clap_host_posix_fd_support_t>(host_, CLAP_EXT_POSIX_FD_SUPPORT);
}

bool ClapWindow::GetSize(std::uint32_t* width, std::uint32_t* height) const {
  ERect* rect = nullptr;
  if (!editor_ || !editor_->getRect(&rect) || !rect) return false;
  *width = static_cast<std::uint32_t>(std::max(rect->right - rect->left, 0));
  *height = static_cast<std::uint32_t>(std::max(rect->bottom - rect->top, 0));
  return true;
}

bool ClapWindow::SetScale(double scale) {
  if (!editor_ || !(scale > 0) || !std::isfinite(scale)) return false;
  editor_->setScale(scale);
  return true;
}

bool ClapWindow::CanResize() const {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  return GetSize(&width, &height) && AdjustSize(&width, &height);
}

bool ClapWindow::AdjustSize(std::uint32_t* width, std::uint32_t* height) const {
  if (!editor_ || *width > kMostPixels || *height > kMostPixels) return false;
  int nearestWidth = static_cast<int>(*width);
  int nearestHeight = static_cast<int>(*height);
  if (!editor_->nearestSize(nearestWidth, nearestHeight)) return false;
  *width = static_cast<std::uint32_t>(nearestWidth);
  *height = static_cast<std::uint32_t>(nearestHeight);
  return true;
}

bool ClapWindow::SetSize(std::uint32_t width, std::uint32_t height) {
  if (!editor_ || width == 0 || height == 0 || width > kMostPixels || height > kMostPixels) {
    return false;
  }
  return editor_->setSize(static_cast<int>(width), static_cast<int>(height));
}

bool ClapWindow::SetParent(clap_xwnd parent) {
  Hide();
  parent_ = parent;
  return Show();
}

bool ClapWindow::Show() {
  if (isOpen_ || parent_ == 0) return true;
  // The editor's interface passes a window id as a pointer.
  isOpen_ = editor_ && editor_->open(reinterpret_cast<void*>(parent_));
  if (isOpen_) StartWaking();
  return isOpen_;
}

void ClapWindow::Hide() {
  if (!std::exchange(isOpen_, false) || !editor_) return;
  StopWaking();
  editor_->close();
}

// A timer is enough for the window. The descriptor only reduces its latency; a window that is
// driven by its descriptor alone stays blank.
void ClapWindow::StartWaking() {
  const bool timed = hostTimer_ && hostTimer_->register_timer &&
                     hostTimer_->register_timer(host_, kPeriodMilliseconds, &timer_);
  if (!timed) timer_ = CLAP_INVALID_ID;
  // Reading the descriptor makes the window signal it, so there must be a listener.
  if (hostDescriptor_ && hostDescriptor_->register_fd) {
    descriptor_ = editor_->eventDescriptor();
    if (descriptor_ >= 0 && !hostDescriptor_->register_fd(host_, descriptor_, CLAP_POSIX_FD_READ)) {
      descriptor_ = -1;
    }
  }
  if (timed || !host_->request_callback) return;
  pulse_.emplace([this] { host_->request_callback(host_); }, kPeriodMilliseconds * 0.001);
}

void ClapWindow::StopWaking() {
  pulse_.reset();
  if (timer_ != CLAP_INVALID_ID && hostTimer_->unregister_timer) {
    hostTimer_->unregister_timer(host_, timer_);
  }
  timer_ = CLAP_INVALID_ID;
  if (descriptor_ >= 0 && hostDescriptor_ && hostDescriptor_->unregister_fd) {
    hostDescriptor_->unregister_fd(host_, descriptor_);
  }
  descriptor_ = -1;
}

void ClapWindow::OnTimer(clap_id timer) {
  if (timer == timer_) Idle();
}

void ClapWindow::OnDescriptor() { Idle(); }

void ClapWindow::OnMainThread() {
  if (pulse_) Idle();
}

void ClapWindow::Idle() {
  if (isOpen_ && editor_) editor_->idle();
}

bool ClapWindow::RequestResize(int width, int height) const {
  return hostGui_ && hostGui_->request_resize && width > 0 && height > 0 &&
         hostGui_->request_resize(host_, static_cast<std::uint32_t>(width),
                                  static_cast<std::uint32_t>(height));
}

}  // namespace halveron
