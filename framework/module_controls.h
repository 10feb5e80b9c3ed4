// The controls of a panel: at once what the user moves and the data that the DSP reads.
//
// The window thread or the host writes `value`; `smoothed_value` and `stepped_target` belong to the
// audio thread, except that setValue on a stepped knob stores `stepped_target`. Plain aligned
// stores are relied on, no lock.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

#include "dsp/counters.h"
#include "framework/knob_cell.h"
#include "framework/shared_bitmaps.h"
#include "gui/button.h"
#include "gui/knob.h"
#include "gui/movie_bitmap.h"
#include "gui/special_digit.h"
#include "gui/switch.h"

namespace halveron {

class KnobStore;
class Module;

/// Tags of controls that are no host parameter of that number.
inline constexpr int TAG_AUTOMATIC = 0x7FFFFFF6;   ///< to a factory: take a free parameter
inline constexpr int TAG_NONE = 0x7FFFFFF7;        ///< decoration: not counted, not saved
inline constexpr int TAG_UNASSIGNED = 0x7FFFFFF8;  ///< saved, but no host parameter

inline constexpr float kDefaultSmoothDelay = 35.0f;  ///< milliseconds

/// Counts the moves of a module's knobs, so that the audio thread need not look at each of them.
/// Any thread.
class KnobMoves {
 public:
  /// After the knob has its new value.
  void Add() { count_.fetch_add(1, std::memory_order_release); }
  /// Never 0 but after 2^32 moves.
  std::uint32_t Count() const { return count_.load(std::memory_order_acquire); }

 private:
  std::atomic<std::uint32_t> count_ = 1;
};

/// Panel knob, range 0..1. The values that sound live in a KnobCell of the rack's store.
class ModuleKnob : public CAnimKnob {
 public:
  /// `frames` positions of the strip; `stepped` knobs stand only on those. The knob keeps a
  /// reference to the store.
  ModuleKnob(const CRect& rect, CControlListener* listener, int tag, int frames, CBitmap* bitmap,
             KnobStore* store);
  ~ModuleKnob() override;

  HALVERON_TYPE_OF(ModuleKnob, CAnimKnob)

  /// Sets the target; a stepped knob snaps to its step. No clamp, no listener.
  void setValue(float newValue) override;
  void bounceValue() override;
  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
  /// A notch turns a stepped knob by a step.
  bool onWheel(const CPoint& where, float distance, const CButtonState& buttons) override;

  /// Stores the stepped target of the present value and returns the step's index. Truncates.
  int SnapToStep();
  /// The index that SnapToStep would store.
  int GetStepIndex() const;
  /// Sets value and smoothed value at once: no glide.
  void SetAtOnce(float newValue);
  /// Takes the value of the same knob in voice 0; a stepped target stays until SnapToStep.
  void TakeValue(float newValue);

  /// The value without the host's modulation.
  float BaseValue() const;
  /// Takes a value, 0..1, and on top of it as much of a modulation as fits into 0..1.
  void SetModulated(float base, float offset);

  /// Fraction of the distance covered each sample at `sampleRate` hertz. A delay in milliseconds
  /// of 0 or more replaces the present one.
  void SetSmoothing(float delay, float sampleRate);

  KnobCell& Cell() { return *cell_; }
  const KnobCell& Cell() const { return *cell_; }

  KnobMoves* moves = nullptr;  ///< of the module, if it counts them
  float hostOffset = 0.0f;     ///< share of value that the host's modulation added
  bool stepped = false;
  float smoothDelay = kDefaultSmoothDelay;

 protected:
  /// A stepped knob points at the step that sounds.
  float pointerShare() const override;

 private:
  int StepOf(float value) const;
  void CountMove() {
    if (moves) moves->Add();
  }

  SharedPointer<KnobStore> store_;
  KnobCell* cell_;
  // What SetModulated took and what came of it: a difference of floats would not give it back.
  float modulatedBase_ = 0.0f;
  float modulatedValue_ = 0.0f;
};

/// What a control holds without the host's modulation.
float BaseValueOf(const CControl& control);

/// Knob with a fine linear drag that does not jump when Shift changes under way.
class ModuleKnobEx : public ModuleKnob {
 public:
  using ModuleKnob::ModuleKnob;

  HALVERON_TYPE_OF(ModuleKnobEx, ModuleKnob)

  void invalid() override;

  static constexpr float kFineDragPixels = 400;

  bool redrawOnChange = true;   ///< false: a drag only marks the knob dirty
  void* userPointer = nullptr;  ///< free for the owning module
  int userValue = 0;            ///< free for the owning module
  bool fineByDefault = false;

 protected:
  float dragPixels(const CButtonState& buttons) const override;
  /// A jump of more than half the range is pinned at the end that it jumps to.
  float radialValue(const CPoint& where) override;
};

/// Push button: value 1 from the press to the release.
class CKickButtonEx : public CKickButton {
 public:
  using CKickButton::CKickButton;
  HALVERON_TYPE_OF(CKickButtonEx, CKickButton)

  /// Notes the move, since modules may follow a button that the mouse holds by its value alone.
  void setValue(float newValue) override;
  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseMoved(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseUp(CPoint& where, const CButtonState& buttons) override;

 private:
  float entryState_ = 0.0f;
};

/// Lamp, driven at audio rate without flooding the screen: dirty only on a change above 0.05 while
/// its module is visible.
class CMovieBitmapEx : public CMovieBitmap {
 public:
  using CMovieBitmap::CMovieBitmap;
  HALVERON_TYPE_OF(CMovieBitmapEx, CMovieBitmap)

  bool isDirty() const override;

 protected:
  void drawImage(CDrawContext& context) override;
};

/// Integer display with leading zeros blanked.
class CSpecialDigitEx : public CSpecialDigit {
 public:
  using CSpecialDigit::CSpecialDigit;
  HALVERON_TYPE_OF(CSpecialDigitEx, CSpecialDigit)

  static constexpr int kBlank = -1;

  /// The shown digits from left to right, kBlank for a leading zero; the last always shows.
  std::array<int, kMaxDigits> Places() const;
  /// Image of a leading zero; without one a 0 is drawn.
  void SetBlankBitmap(CBitmap* bitmap) { blank_ = SharedPointer<CBitmap>(bitmap); }

 protected:
  void drawImage(CDrawContext& context) override;

 private:
  SharedPointer<CBitmap> blank_;
};

/// A module's handle on a knob: the arithmetic reads `knob->smoothed_value`, the panel logic uses
/// the view.
class Knob {
 public:
  KnobCell* operator->() const { return cell_; }
  operator ModuleKnob*() const { return view_; }
  ModuleKnob& View() const { return *view_; }
  void Bind(ModuleKnob* view) {
    view_ = view;
    cell_ = &view->Cell();
  }

 private:
  KnobCell* cell_ = nullptr;
  ModuleKnob* view_ = nullptr;
};

/// A module's handle on a lamp: a plain store, cheap enough for every sample.
class Lamp {
 public:
  void Set(float level) { view_->StoreValue(level); }
  float Level() const { return view_->getValue(); }
  operator CMovieBitmap*() const { return view_; }
  CMovieBitmap& View() const { return *view_; }
  void Bind(CMovieBitmap* view) { view_ = view; }

 private:
  CMovieBitmap* view_ = nullptr;
};

/// A lamp that stays lit for a while after its last event.
class HeldLamp : public Lamp {
 public:
  /// Seconds are truncated to whole samples.
  void SetHold(float sampleRate, double seconds) {
    holdSamples_ = static_cast<int>(sampleRate * seconds);
  }
  void Light() {
    Set(1.0f);
    counter_.Start(holdSamples_);
  }
  /// Once per sample: goes dark when the hold is over.
  void Tick() {
    if (counter_.Tick()) Set(0.0f);
  }
  bool IsHeld() const { return counter_.IsRunning(); }
  /// Holds the light that a preset has given.
  void HoldLight() {
    if (Level() > 0.0f) counter_.Start(holdSamples_);
  }
  void Darken() {
    counter_.Cancel();
    Set(0.0f);
  }

 private:
  dsp::PulseCounter counter_;
  int holdSamples_ = 1;
};

}  // namespace halveron
