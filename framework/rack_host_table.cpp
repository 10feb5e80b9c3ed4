// The callbacks that modules reach their rack by.
#include "framework/module.h"
#include "framework/rack_model.h"

namespace halveron {

namespace {

bool GetTransportInfo(RackModel* rack, VstTimeInfo* target) {
  constexpr int kTransportMask = 0x3E00;
  const VstTimeInfo* info = rack->engine.HostTimeInfo(kTransportMask);
  if (!target || !info) return false;
  *target = *info;
  return true;
}

void SendToDAWValues(RackModel* rack, const float* values, int first, int last) {
  EngineContext& engine = rack->engine;
  for (int i = first; i <= last && i < engine.dawOutputChannels; i += 2) {
    engine.dawOutputsWritten |= 1u << i;
    if (float* channel = engine.dawOutputs[i]) channel[engine.blockPosition] = values[i];
  }
}

void ReceiveFromDAWValues(RackModel* rack, float* values, int first, int last) {
  EngineContext& engine = rack->engine;
  for (int i = first; i <= last && i < engine.dawInputChannels; i += 2) {
    if (const float* channel = engine.dawInputs[i]) values[i] = channel[engine.blockPosition];
  }
}

void SendToDAWPoints(RackModel* rack, PatchPoint** points, int first) {
  EngineContext& engine = rack->engine;
  float* const* const channels = engine.dawOutputs;
  const int count = engine.dawOutputChannels, position = engine.blockPosition;
  unsigned written = 0;
  for (int i = first; i < count && *points; ++i, ++points) {
    written |= 1u << i;
    if (float* channel = channels[i]) channel[position] = (*points)->in;
  }
  engine.dawOutputsWritten |= written;
}

void ReceiveFromDAWPoints(RackModel* rack, PatchPoint** points, int first) {
  const EngineContext& engine = rack->engine;
  const float* const* const channels = engine.dawInputs;
  const int count = engine.dawInputChannels, position = engine.blockPosition;
  for (int i = first; i < count && *points; ++i, ++points) {
    const float* channel = channels[i];
    (*points)->out = channel ? channel[position] : 0.0f;
  }
}

void SendStereoToDAW(RackModel* rack, float left, float right) {
  EngineContext& engine = rack->engine;
  engine.dawOutputsWritten |= 0b11;
  if (engine.currentOutL) *engine.currentOutL = left;
  if (engine.currentOutR) *engine.currentOutR = right;
}

void ReceiveStereoFromDAW(RackModel* rack, float* left, float* right) {
  EngineContext& engine = rack->engine;
  const auto channel = [&](int index) {
    const float* samples = index < engine.dawInputChannels ? engine.dawInputs[index] : nullptr;
    return samples ? samples[engine.blockPosition] : 0.0f;
  };
  *left = channel(0);
  *right = channel(1);
}

CMouseEventResult PatchPointMouseDown(RackModel* rack, PatchPoint* point, CPoint* where,
                                      const CButtonState* buttons) {
  (void)where;
  if (point->Owner()->place.isDragged || !buttons->isLeftButton()) return kMouseEventNotHandled;
  const bool crossVoice = point->firstCable && point->firstCable->voiceTag < 0 &&
                          point->type != kOutputPoint && point->direction != kActsAsOutput;
  if (rack->cables.isDraggingCable || crossVoice) return kMouseEventHandled;
  rack->cables.BeginCableDrag(point);
  rack->RequestRedraw();
  return kMouseEventHandled;
}

CMouseEventResult PatchPointMouseUp(RackModel* rack, PatchPoint*, CPoint*, const CButtonState*) {
  if (!rack->cables.isDraggingCable) return kMouseEventNotHandled;
  CView* view = rack->ViewUnderMouse();
  const bool taken = view && view != rack->cables.dragOrigin &&
                     view->notify(rack->cables.dragOrigin, kCableDropMessage) == kMessageNotified;
  if (!taken) rack->cables.AbortCableDrag();
  rack->RequestRedraw();
  return kMouseEventHandled;
}

int PatchPointNotify(RackModel* rack, PatchPoint* target, PatchPoint*) {
  if (rack->cables.CanConnect(target)) {
    rack->cables.DropCable(target);
  } else {
    rack->cables.AbortCableDrag();
  }
  return kMessageNotified;
}

}  // namespace

void RackModel::FillHostTable() {
  using Rack = RackModel;
  HostTable& t = hostTable;
  t = HostTable{};
  t.rack = this;
  t.GetHostVersion = [](Rack*) { return kHostInterfaceVersion; };
  t.GetEngine = [](Rack* rack) { return &rack->engine; };
  t.GetOversamplingSteps = [](Rack* rack) { return rack->engine.oversamplingSteps; };
  t.GetVoiceModule = [](Rack* rack, Module* module, int voice) {
    return rack->GetVoiceModule(module, voice);
  };
  t.GetVoiceCount = [](Rack* rack) { return rack->engine.voiceCount; };
  t.ReleaseFromTrash = [](Rack* rack, Module* module) { return rack->ReleaseFromTrash(module); };
  t.GetBlockSize = [](Rack* rack) { return rack->engine.HostBlockSize(); };
  t.GetSampleRate = [](Rack* rack) { return rack->engine.HostSampleRate(); };
  t.RectLeft = [](Rack*, const CRect* rect) { return rect->left; };
  t.RectTop = [](Rack*, const CRect* rect) { return rect->top; };
  t.RectRight = [](Rack*, const CRect* rect) { return rect->right; };
  t.RectBottom = [](Rack*, const CRect* rect) { return rect->bottom; };
  t.PointX = [](Rack*, const CPoint* point) { return point->x; };
  t.PointY = [](Rack*, const CPoint* point) { return point->y; };
  t.BitmapSize = [](Rack*, const CBitmap* bitmap) {
    return CPoint(bitmap->getWidth(), bitmap->getHeight());
  };
  t.SendEventsToHost = [](Rack* rack, VstEvents* events) {
    return rack->engine.SendEventsToHost(events);
  };
  t.GetTransportInfo = GetTransportInfo;
  t.PatchPointMouseDown = PatchPointMouseDown;
  t.PatchPointMouseUp = PatchPointMouseUp;
  t.PatchPointNotify = PatchPointNotify;
  t.ModuleKnobMouseDown = [](Rack* rack, ModuleKnob* knob, CPoint* where, const CButtonState*) {
    return rack->KnobContextClick(knob, *where);
  };
  t.ModuleKnobMouseMoved = [](Rack*, ModuleKnob* knob, CPoint* where, const CButtonState* buttons) {
    return knob->onMouseMoved(*where, *buttons);
  };
  t.LampMayRedraw = [](Rack* rack, const CMovieBitmap* lamp) {
    return rack->LampsMayRedraw(static_cast<const Module*>(lamp->getParentView()));
  };
  t.ModuleMouseDown = [](Rack* rack, Module* module, CPoint* where, const CButtonState* buttons) {
    return rack->ModuleMouseDown(module, *where, *buttons);
  };
  t.ModuleMouseUp = [](Rack* rack, Module* module, CPoint* where, const CButtonState* buttons) {
    return rack->ModuleMouseUp(module, *where, *buttons);
  };
  t.ModuleMouseMoved = [](Rack* rack, Module* module, CPoint* where, const CButtonState* buttons) {
    return rack->ModuleMouseMoved(module, *where, *buttons);
  };
  t.GetFreeTag = [](Rack* rack, Module* module) { return rack->parameters.GetFreeTag(module); };
  t.RegisterTag = [](Rack* rack, CControl* control, int tag) {
    return rack->parameters.RegisterTag(control, tag);
  };
  t.UnregisterTag = [](Rack* rack, CControl* control) {
    return rack->parameters.UnregisterTag(control);
  };
  t.RegisterForEvents = [](Rack* rack, Module* module) { return rack->RegisterForEvents(module); };
  t.RegisterForBlockStart = [](Rack* rack, Module* module) {
    return rack->RegisterForBlockStart(module);
  };
  t.RegisterForMouseMoved = [](Rack* rack, Module* module) {
    return rack->RegisterForMouseMoved(module);
  };
  t.ChangeTag = [](Rack* rack, CControl* control, int oldTag, int newTag) {
    rack->parameters.ChangeTag(control, oldTag, newTag);
  };
  t.SendStereoToDAW = SendStereoToDAW;
  t.ReceiveFromDAWValues = ReceiveFromDAWValues;
  t.SendToDAWValues = SendToDAWValues;
  t.ReceiveFromDAWPoints = ReceiveFromDAWPoints;
  t.SendToDAWPoints = SendToDAWPoints;
  t.ReceiveStereoFromDAW = ReceiveStereoFromDAW;
  t.GetDAWInputCount = [](Rack*) { return kDawInputs; };
  t.GetDAWOutputCount = [](Rack*) { return kDawOutputs; };
  t.EnterProcessingCriticalSection = [](Rack* rack) { rack->LockModules(); };
  t.LeaveProcessingCriticalSection = [](Rack* rack) { rack->engine.processingLock.unlock(); };
  t.BindNoteSlotToVoice = [](Rack* rack, int voice, int noteSlot) {
    rack->engine.BindNoteSlotToVoice(voice, noteSlot);
  };
  t.ReleaseVoiceNote = [](Rack* rack, int voice, int noteSlot) {
    return rack->engine.ReleaseVoiceNote(voice, noteSlot);
  };
  t.GetHostKind = [](Rack* rack) { return static_cast<int>(rack->engine.hostKind); };
}

}  // namespace halveron
