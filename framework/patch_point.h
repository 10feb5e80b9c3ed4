// A jack on a panel and, at the same time, the register through which signals pass.
#pragma once

#include <array>

#include "framework/cable.h"
#include "gui/movie_bitmap.h"

namespace halveron {

class Module;
class RackModel;

/// Signal cells as a module's arithmetic sees them.
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

/// One float, used like a plain member, wherever it lies.
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

/// What a module's handle holds of a point, kept up to date by it.
struct PointLink {
  float* cell = nullptr;
  bool isCabled = false;
};

class PatchPoint : public CMovieBitmap {
 public:
  PatchPoint(const CRect& rect, CControlListener* listener, RackModel* rack, int pointType,
             int frames, CBitmap* bitmap);

  HALVERON_TYPE_OF(PatchPoint, CMovieBitmap)

  int notify(CBaseObject* sender, const char* message) override;
  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseUp(CPoint& where, const CButtonState& buttons) override;

  /// The module whose panel holds the point.
  Module* Owner() const;
  /// Whether voices of this point do not run along nextVoice: its module is mono, or it is poly.
  bool IsOnMonoSide() const;
  bool IsCabled() const { return cableCount > 0; }
  /// A cable came (1) or went (-1), and the module's handle shows it at once.
  void CountCable(int change);
  /// What the module's handle answers to IsCabled. Inside the processing lock.
  void ShowCabled(bool isCabled);
  PatchPoint* NextVoice() const { return static_cast<PatchPoint*>(nextVoice); }

  int type;
  int direction = kUnconnected;
  bool twoState = false;         ///< shows whether it is plugged, takes one cable: MIDI
  SignalRef in;                  ///< value that the cables leave here
  SignalRef out;                 ///< value that the module leaves here
  Cable* firstCable = nullptr;   ///< feeds this point, or, on an output, was plugged last
  PatchPoint* source = nullptr;  ///< the far end of firstCable, on a destination only
  int cableCount = 0;            ///< cables on this point, in all lists
  signed char cableOffsetX = 0;  ///< where the cable sits, from the centre of the point
  signed char cableOffsetY = 0;
  PatchPoint* voiceLink;  ///< the point that the next voice meets on a mono side
  bool poly = false;      ///< exists per voice although the module is mono
  RackModel* editor;
  int patchIndex = 0;  ///< numbering for saved cables

  // Where the signals lie. They begin in the point itself; the sample plan gives those that sound
  // a place among its own, and the module's handle follows. Inside the processing lock.

  /// Keeps a handle's cell on `out` of an output, on `in` of any other.
  void AttachHandle(PointLink* handle);
  /// Moves the signals, with their values, to other cells. An either-way point's lie side by side.
  void PlaceIn(float* cell);
  void PlaceOut(float* cell);
  void PlaceBoth(float* pair);
  /// Moves the signals back into the point.
  void Withdraw() { PlaceBoth(resting_.data()); }
  /// Reads `in` in a cell of another point; the own one rests.
  void ReadAt(float* cell);
  /// Reads the own cell again, which takes over the value that was read.
  void ReadOwn();
  int planIndex = 0;  ///< the sample plan's numbering, meaningful only while it is made
  /// Where the handle's cell lies in the newest sample plan, which may not be in use yet.
  float* plannedCell = nullptr;

 private:
  void MoveHandle() const;

  std::array<float, 2> resting_{};
  float* own_ = nullptr;  // `in` where cables are carried into this point
  PointLink* handle_ = nullptr;
};

/// A module's handle on a point, which stays where it is. The arithmetic reads and writes the cell
/// (`pitch->in`, `saw->out`), the panel logic uses the view.
template <class Cell>
class PointHandle {
 public:
  PointHandle() = default;
  PointHandle(const PointHandle&) = delete;
  PointHandle& operator=(const PointHandle&) = delete;

  Cell* operator->() const { return reinterpret_cast<Cell*>(link_.cell); }
  operator PatchPoint*() const { return view_; }
  PatchPoint& View() const { return *view_; }
  /// Where the signal lies in the sample plan that is being made, for what will run in it.
  float* PlannedAddress() const { return view_->plannedCell; }
  /// Cheap enough for every sample.
  bool IsCabled() const { return link_.isCabled; }
  void Bind(PatchPoint* view) {
    view_ = view;
    view->AttachHandle(&link_);
  }

 private:
  PointLink link_;
  PatchPoint* view_ = nullptr;
};

using Input = PointHandle<InCell>;
using Output = PointHandle<OutCell>;
using Either = PointHandle<EitherCell>;

}  // namespace halveron
