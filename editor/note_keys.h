// Notes by the letters of the computer's keyboard, where the program has the keyboard to itself.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "gui/view.h"

namespace halveron {

/// Two rows of letters, each an octave and more: Z is C and S its sharp, Q is the C above. PageUp
/// and PageDown shift both by an octave, with Shift they change the velocity; a letter with Shift
/// plays at full velocity. A repeat of a held key is no new note: the window system releases and
/// presses it again at once, so that a release counts only when no press has followed it.
class NoteKeys {
 public:
  static constexpr double kReleaseTime = 0.02;  ///< seconds until a release counts

  using Send = std::function<void(std::span<const std::uint8_t> message)>;
  explicit NoteKeys(Send send) : send_(std::move(send)) {}
  ~NoteKeys() { AllOff(); }
  NoteKeys(const NoteKeys&) = delete;
  NoteKeys& operator=(const NoteKeys&) = delete;

  /// `now` is in seconds. True if the key was used.
  bool Down(const CKeyEvent& event);
  bool Up(const CKeyEvent& event, double now);
  /// To be called regularly: ends the notes whose keys stayed released.
  void Settle(double now);
  /// The keyboard is gone, or a menu is up.
  void AllOff();

  int Octave() const { return octave_; }
  int Velocity() const { return velocity_; }

 private:
  struct Held {
    char32_t letter;
    int note;
    double releasedAt;  // negative while it is down
  };

  void SendNote(int note, int velocity);
  bool Adjust(const CKeyEvent& event);

  Send send_;
  std::vector<Held> held_;
  int octave_ = 3;  // of the lower row; 4 begins at middle C, note 60
  int velocity_ = 100;
};

}  // namespace halveron
