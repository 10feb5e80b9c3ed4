// A jack on a panel and, at the same time, the register through which signals pass.
#pragma once

#include <memory>

#include "framework/cable.h"
#include "framework/signal_store.h"
#include "gui/movie_bitmap.h"

namespace halveron {

class Module;
class RackModel;

/// Cells of the signal store as a module's arithmetic sees them.
struct InCell {
  float in;
};
struct OutCell {
  float out;
};
struct EitherCell {
  float in;
  float out;
};

/// One float in the signal store, used like a plain member.
class SignalRef {
 public:
  SignalRef() = default;
  SignalRef(const SignalRef&) = delete;
  /// Copies the value; the cell stays.
  SignalRef& operator=(const SignalRef& other) { return *this = *other.cell_; }
  operator float() const { return *cell_; }
  SignalRef& operator=(float value) {
    *cell_ = value;
    return *this;
  }
  SignalRef& operator-=(float value) {
    *cell_ -= value;
    return *this;
  }
  float* Address() const { return cell_; }

 private:
  friend class PatchPoint;
  float* cell_ = nullptr;
};

/// What a point is by make.
enum PatchPointType : int { kInputPoint = 0, kOutputPoint = 1, kEitherPoint = 2 };

/// What an either-way point is at present.
enum PatchDirection : int {
  kActsAsInput = 0,
  kActsAsOutput = 1,
  kActsAsBoth = 2,
  kUnconnected = 3
};

/// Message to a view on which a cable is dropped; the sender is the point where the drag began.
inline constexpr const char* kCableDropMessage = "Cable Draged In";

class PatchPoint : public CMovieBitmap {
 public:
  PatchPoint(const CRect& rect, CControlListener* listener, RackModel* editor, int type, int frames,
             CBitmap* bitmap, std::shared_ptr<SignalStore> store);
  ~PatchPoint() override;

  HALVERON_TYPE_OF(PatchPoint, CMovieBitmap)

  int notify(CBaseObject* sender, const char* message) override;
  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseUp(CPoint& where, const CButtonState& buttons) override;

  /// The module whose panel holds the point.
  Module* Owner() const;
  /// Whether voices of this point do not run along nextVoice: its module is mono, or it is poly.
  bool IsOnMonoSide() const;
  bool IsCabled() const { return cableCount > 0; }
  PatchPoint* NextVoice() const { return static_cast<PatchPoint*>(nextVoice); }

  int type;
  int direction = kUnconnected;
  bool twoState = false;          ///< shows whether it is plugged, takes one cable: MIDI
  SignalRef in;                   ///< value that the cables leave here
  SignalRef out;                  ///< value that the module leaves here
  Cable* firstCable = nullptr;    ///< feeds this point, or, on an output, was plugged last
  const float* source = nullptr;  ///< `out` at the far end of firstCable, on a destination only
  int cableCount = 0;             ///< cables on this point, in all lists
  signed char cableOffsetX = 0;   ///< where the cable sits, from the centre of the point
  signed char cableOffsetY = 0;
  PatchPoint* voiceLink;  ///< the point that the next voice meets on a mono side
  bool poly = false;      ///< exists per voice although the module is mono
  RackModel* editor;
  int patchIndex = 0;  ///< numbering for saved cables

 private:
  std::shared_ptr<SignalStore> store_;
  float idleCell_ = 0.0f;  // the side of a fixed point that no cable reaches
};

/// A module's handle on a point. The arithmetic reads and writes the cell (`pitch->in`,
/// `saw->out`), the panel logic uses the view.
template <class Cell>
class PointHandle {
 public:
  Cell* operator->() const { return cell_; }
  operator PatchPoint*() const { return view_; }
  PatchPoint& View() const { return *view_; }
  bool IsCabled() const { return view_->IsCabled(); }
  void Bind(PatchPoint* view, float* cell) {
    view_ = view;
    cell_ = reinterpret_cast<Cell*>(cell);
  }

 private:
  Cell* cell_ = nullptr;
  PatchPoint* view_ = nullptr;
};

using Input = PointHandle<InCell>;
using Output = PointHandle<OutCell>;
using Either = PointHandle<EitherCell>;

}  // namespace halveron
