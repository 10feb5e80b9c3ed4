// The callbacks through which a module reaches its rack.
#pragma once

#include "framework/host_events.h"
#include "gui/geometry.h"
#include "gui/view.h"

namespace halveron {

class CBitmap;
class CControl;
class CMovieBitmap;
class EngineContext;
class Module;
class ModuleKnob;
class PatchPoint;
class RackModel;

/// Version of the interface between a rack and its modules.
inline constexpr int kHostInterfaceVersion = 200;

/// 53 pointers, held by value in each module: a module never calls its rack directly, so a module
/// of an external library works like a built-in one. Every function takes entry 0 first. The order
/// is the contract with external libraries.
struct HostTable {
  RackModel* rack;                                            // 0
  int (*GetHostVersion)(RackModel*);                          // 1
  EngineContext* (*GetEngine)(RackModel*);                    // 2
  int (*GetOversamplingSteps)(RackModel*);                    // 3
  Module* (*GetVoiceModule)(RackModel*, Module*, int voice);  // 4
  int (*GetVoiceCount)(RackModel*);                           // 5
  bool (*ReleaseFromTrash)(RackModel*, Module*);              // 6
  int (*GetBlockSize)(RackModel*);                            // 7
  float (*GetSampleRate)(RackModel*);                         // 8
  CCoord (*RectLeft)(RackModel*, const CRect*);               // 9
  CCoord (*RectTop)(RackModel*, const CRect*);                // 10
  CCoord (*RectRight)(RackModel*, const CRect*);              // 11
  CCoord (*RectBottom)(RackModel*, const CRect*);             // 12
  CCoord (*PointX)(RackModel*, const CPoint*);                // 13
  CCoord (*PointY)(RackModel*, const CPoint*);                // 14
  CPoint (*BitmapSize)(RackModel*, const CBitmap*);           // 15
  bool (*SendEventsToHost)(RackModel*, VstEvents*);           // 16
  bool (*GetTransportInfo)(RackModel*, VstTimeInfo*);         // 17
  CMouseEventResult (*PatchPointMouseDown)(RackModel*, PatchPoint*, CPoint*,
                                           const CButtonState*);  // 18
  CMouseEventResult (*PatchPointMouseUp)(RackModel*, PatchPoint*, CPoint*,
                                         const CButtonState*);           // 19
  void* reserved20;                                                      // 20
  int (*PatchPointNotify)(RackModel*, PatchPoint*, PatchPoint* origin);  // 21
  CMouseEventResult (*ModuleKnobMouseDown)(RackModel*, ModuleKnob*, CPoint*,
                                           const CButtonState*);  // 22
  void* reserved23;                                               // 23
  CMouseEventResult (*ModuleKnobMouseMoved)(RackModel*, ModuleKnob*, CPoint*,
                                            const CButtonState*);                            // 24
  bool (*LampMayRedraw)(RackModel*, const CMovieBitmap*);                                    // 25
  CMouseEventResult (*ModuleMouseDown)(RackModel*, Module*, CPoint*, const CButtonState*);   // 26
  CMouseEventResult (*ModuleMouseUp)(RackModel*, Module*, CPoint*, const CButtonState*);     // 27
  CMouseEventResult (*ModuleMouseMoved)(RackModel*, Module*, CPoint*, const CButtonState*);  // 28
  int (*GetFreeTag)(RackModel*, Module*);                                                    // 29
  bool (*RegisterTag)(RackModel*, CControl*, int tag);                                       // 30
  bool (*UnregisterTag)(RackModel*, CControl*);                                              // 31
  bool (*RegisterForEvents)(RackModel*, Module*);                                            // 32
  bool (*RegisterForBlockStart)(RackModel*, Module*);                                        // 33
  bool (*RegisterForMouseMoved)(RackModel*, Module*);                                        // 34
  void (*ChangeTag)(RackModel*, CControl*, int oldTag, int newTag);                          // 35
  void (*SendStereoToDAW)(RackModel*, float left, float right);                              // 36
  void (*ReceiveFromDAWValues)(RackModel*, float* values, int first, int last);              // 37
  void (*SendToDAWValues)(RackModel*, const float* values, int first, int last);             // 38
  void (*ReceiveFromDAWPoints)(RackModel*, PatchPoint** points, int first);                  // 39
  void (*SendToDAWPoints)(RackModel*, PatchPoint** points, int first);                       // 40
  void (*ReceiveStereoFromDAW)(RackModel*, float* left, float* right);                       // 41
  void* reserved42[4];                                               // 42 to 45
  int (*GetDAWInputCount)(RackModel*);                               // 46
  int (*GetDAWOutputCount)(RackModel*);                              // 47
  void (*EnterProcessingCriticalSection)(RackModel*);                // 48
  void (*LeaveProcessingCriticalSection)(RackModel*);                // 49
  void (*BindNoteSlotToVoice)(RackModel*, int voice, int noteSlot);  // 50
  bool (*ReleaseVoiceNote)(RackModel*, int voice, int noteSlot);     // 51
  int (*GetHostKind)(RackModel*);                                    // 52
};

static_assert(sizeof(HostTable) == 53 * sizeof(void*));

}  // namespace halveron
