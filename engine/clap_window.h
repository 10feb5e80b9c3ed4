// The editor's window under a CLAP host: when it is open, and what drives it.
#pragma once

#include <cstdint>
#include <optional>

#include "engine/audio_effect.h"
#include "engine/clap_abi.h"
#include "gui/idle_thread.h"

namespace halveron {

/// Opens and closes an editor in the window that the host names, and calls the editor's
/// idle operation from the host's timer or its substitute. Main thread.
class ClapWindow {
 public:
  explicit ClapWindow(const clap_host_t* host) : host_(host) {}
  ~ClapWindow() { Hide(); }

  /// Finds the host's extensions. To be called once, before anything else.
  void FindServices();

  /// The editor to drive, not owned; null for none.
  void SetEditor(AEffGUIEditor* editor) { editor_ = editor; }
  bool HasEditor() const { return editor_ != nullptr; }

  /// False if there is no editor to have a size.
  bool GetSize(std::uint32_t* width, std::uint32_t* height) const;

  /// The scale that the host shows its windows in. False if it is no scale.
  bool SetScale(double scale);
  /// True if the editor has more than one size.
  bool CanResize() const;
  /// Changes a size to the nearest that the editor can have; false without an editor.
  bool AdjustSize(std::uint32_t* width, std::uint32_t* height) const;
  /// Gives the editor a size, open or not; false if it cannot have that.
  bool SetSize(std::uint32_t width, std::uint32_t height);

  /// Opens the editor in `parent`, closing it first where it is open. False if it cannot be opened,
  /// as without a display.
  bool SetParent(clap_xwnd parent);
  /// Opens the editor in the last parent. False if it cannot be opened; before there is a parent
  /// nothing happens, and it is true.
  bool Show();
  void Hide();

  /// Callbacks on the host's main thread that may concern the window.
  void OnTimer(clap_id timer);
  void OnDescriptor();
  void OnMainThread();

  /// Asks for another size of the host's window. Any thread.
  bool RequestResize(int width, int height) const;

 private:
  static constexpr std::uint32_t kPeriodMilliseconds = 16;

  void StartWaking();
  void StopWaking();
  void Idle();

  const clap_host_t* host_;
  const clap_host_gui_t* hostGui_ = nullptr;
  const clap_host_timer_support_t* hostTimer_ = nullptr;
  const clap_host_posix_fd_support_t* hostDescriptor_ = nullptr;
  AEffGUIEditor* editor_ = nullptr;
  clap_xwnd parent_ = 0;
  bool isOpen_ = false;

  clap_id timer_ = CLAP_INVALID_ID;
  int descriptor_ = -1;
  std::optional<IdleThread> pulse_;  // wakes the main thread where the host has no timer
};

}  // namespace halveron
